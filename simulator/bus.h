#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

/// The outcome of a feature-report transfer.
enum class [[nodiscard]] Transfer{
    Done,
    Failed, ///< the device remains connected, but the report was lost
    Gone,   ///< the device went away during the transfer
};

/// Serves the feature reports of one HID interface. Several threads may call it at the same time.
struct FeatureReports
{
    /// Receives one report from the computer; @p report[0] is the report ID.
    std::function<Transfer(const std::uint8_t* report, std::size_t size)> set;

    /// Replaces @p report, whose first byte is the report ID, by the answer. The answer has at most @p size
    /// bytes including the report ID; @p received is set to their number.
    std::function<Transfer(std::uint8_t* report, std::size_t size, std::size_t& received)> get;
};

/// A feature report as a report descriptor declares it.
struct FeatureReportFormat
{
    std::uint8_t id = 0;
    std::uint16_t dataBytes = 0; ///< number of bytes without the report ID
};

/// A USB interface of the HID class with its one top-level collection.
struct HidInterface
{
    std::optional<int> number;   ///< empty unless the device is composite (USB 2.0 section 5.2.3)
    std::uint16_t usagePage = 0; ///< usage page of the top-level collection (HID Usage Tables)
    std::uint16_t usage = 0;
    std::vector<FeatureReportFormat> featureReports;
    std::shared_ptr<FeatureReports> serves; ///< null if there are no feature reports
};

/// A device as a bus shows it to the computer.
struct BusDevice
{
    std::uint16_t vendorId = 0;
    std::uint16_t productId = 0;
    std::string name;         ///< name that users see
    int port = 0;             ///< each port takes one device
    bool refusesOpen = false; ///< no program may open it
    std::vector<HidInterface> interfaces;
};

/// What a simulated device is plugged into: the simulated computer, or the HID stack of a real computer.
/// Every operation may be called on any thread. Every operation except requestRemoval() may also be called
/// from inside a transfer of the device.
class Bus
{
public:
    virtual ~Bus() = default;

    /// Connects the device. Returns when the computer knows the device.
    virtual void attach(const BusDevice& device) = 0;

    /// Disconnects the device at @p port, even if programs have it open. No transfer starts after that.
    /// Returns when the computer knows of the removal, and, on a bus that can find this out, when every
    /// listener has handled the removal.
    virtual void detach(int port) = 0;

    /// Asks the computer to remove the device at @p port in an orderly way. Returns when every program that
    /// is asked has answered. Must not be called from inside a transfer on the same thread, because a program
    /// answers only when its transfer in progress has ended.
    /// @param isHeld  whether another program keeps the device open, so that the computer refuses the
    ///                removal.
    /// @return whether the device is removed; always false on a bus that has no such request.
    virtual bool requestRemoval(int /*port*/, bool /*isHeld*/) { return false; }
};
