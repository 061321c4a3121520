#pragma once

#include <functional>
#include <string>

#include "layerbus.h"
#include "simulateddevice.h"
#include "simulatedmachine.h"

/// A transmitter and a headset for the ports of a simulated computer. The constructor also gives the computer
/// an audio service and audio endpoints. Nothing may use the devices when the pair is destroyed.
class SimulatedPair
{
public:
    struct Setup
    {
        int generation = 1; ///< generation of the installed transmitter firmware; 1 is the first
        int chipId = 12;
        int revision = 2;
        /// The images with which the update programs the devices. Each device gets a memory of the size that
        /// its image needs.
        std::vector<std::uint8_t> transmitterImage;
        std::vector<std::uint8_t> headsetImage;
        std::function<void(const std::string&)> report; ///< see SimulatedDevice::Setup::report
        Bus* bus = nullptr; ///< must outlive the pair; null for the bus of the simulated computer
    };

    /// Both devices hold an older firmware and are not plugged in at first.
    SimulatedPair(SimulatedMachine& machine, const Setup& setup);

    SimulatedDevice& device(DeviceType type)
    {
        return type == DeviceType::Transmitter ? transmitter : headset;
    }
    void plugIn();

    /// The path that opens a device's vendor-defined interface; empty if the device is unplugged or on
    /// another bus.
    std::wstring channelPath(DeviceType type) { return layerBus.channelPath(device(type).port()); }

private:
    LayerBus layerBus;
    Bus& bus;
    SimulatedDevice transmitter;
    SimulatedDevice headset;
};
