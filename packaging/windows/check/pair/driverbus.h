#pragma once

#include <array>
#include <memory>
#include <mutex>
#include <thread>

#include <windows.h>

#include "bus.h"
#include "busprotocol.h"

/// Plugs devices into the simulated bus of a Windows system, so that every program of that system sees the
/// devices. The driver of the bus must be installed. Ignores `BusDevice::refusesOpen`, since the HID class
/// driver decides who may open a device.
class DriverBus final : public Bus
{
public:
    DriverBus();
    ~DriverBus() override;
    DriverBus(const DriverBus&) = delete;
    DriverBus& operator=(const DriverBus&) = delete;

    [[nodiscard]] bool isOpen() const { return handle != INVALID_HANDLE_VALUE; }

    /// Returns when the system has started the HID class driver for every interface of the device. The system
    /// notifies programs a little later.
    void attach(const BusDevice& device) override;

    /// Returns when the system has removed every interface of the device.
    void detach(int port) override;

private:
    /// What this program knows of one port of the bus.
    struct Slot
    {
        bool isTaken = false;
        std::shared_ptr<FeatureReports> serves;
        std::thread server;
    };

    using Event = std::unique_ptr<void, decltype(&CloseHandle)>;

    static Event makeEvent();
    bool request(const Event& done, std::uint32_t code, const void* input, DWORD inputSize,
                 void* output = nullptr, DWORD outputSize = 0) const;
    void serve(std::uint32_t number);
    BusProtocol::Answer serveOne(std::uint32_t number, const BusProtocol::Request& wanted);

    const HANDLE handle;
    std::mutex mutex; ///< guards slots
    std::array<Slot, BusProtocol::ports> slots;
};
