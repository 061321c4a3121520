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

/// Serves the feature reports of one HID interface. Several threads may call the functions at the same time.
struct FeatureReports
{
    /// Receives one report from the computer; @p report[0] is the report ID.
    std::function<Transfer(const std::uint8_t* report, std::size_t size)> set;

    /// Answers the request for the report whose ID is @p report[0]. Overwrites @p report with the answer of
    /// at most @p size bytes, including the ID. Stores the answer's length in @p received.
    std::function<Transfer(std::uint8_t* report, std::size_t size, std::size_t& received)> get;
};

/// A feature report as a report descriptor declares it.
struct FeatureReportFormat
{
    std::uint8_t id = 0;
    std::uint16_t dataBytes = 0; ///< number of bytes without the report ID
};

/// A USB interface of the HID class. The interface has one top-level collection.
struct HidInterface
{
    std::optional<int> number;   ///< empty if the device is not composite (USB 2.0 section 5.2.3)
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
    bool refusesOpen = false; ///< if true, no program can open the device
    std::vector<HidInterface> interfaces;
};

/// Connects simulated devices to a computer: to the simulated computer, or to the HID stack of a real one.
/// Any thread may call every operation. The functions of FeatureReports may call every operation except
/// requestRemoval().
class Bus
{
public:
    virtual ~Bus() = default;

    /// Connects the device. Returns when the computer knows the device.
    virtual void attach(const BusDevice& device) = 0;

    /// Disconnects the device at @p port, even if programs have it open. No transfer starts after the
    /// disconnection. Returns when the computer knows of the removal. The simulated computer's bus also waits
    /// until every listener has handled the removal.
    virtual void detach(int port) = 0;

    /// Asks the computer to remove the device at @p port in an orderly way. Returns when every program that
    /// is asked has answered. Do not call requestRemoval() on a thread that serves a transfer: if a program
    /// answers only after the transfer, requestRemoval() never returns.
    /// @param isHeld  if true, the bus acts as another program that keeps the device open. The computer then
    ///                refuses the removal.
    /// @return whether the device was removed; always false on a bus without orderly removal.
    virtual bool requestRemoval(int /*port*/, bool /*isHeld*/) { return false; }
};
