#pragma once

#include <functional>
#include <string>

#include <QByteArray>

#include "simulateddevice.h"
#include "simulatedmachine.h"

/// A transmitter and a headset on the ports of a simulated computer, which gets an audio service and audio
/// endpoints with them. What uses the devices has to be gone before.
class SimulatedPair
{
public:
    struct Setup
    {
        int generation = 1; ///< of the installed transmitter firmware, 1 or 2
        int chipId = 12;
        int revision = 2;
        QByteArray transmitterImage; ///< the devices are built with the memory that these two are for
        QByteArray headsetImage;
        std::function<void(const std::string&)> report; ///< as SimulatedDevice::Setup::report
    };

    /// Both devices hold an older firmware and are not plugged in.
    SimulatedPair(SimulatedMachine& machine, const Setup& setup);

    SimulatedDevice& device(DeviceType type)
    {
        return type == DeviceType::Transmitter ? transmitter : headset;
    }
    void plugIn();

private:
    SimulatedDevice transmitter;
    SimulatedDevice headset;
};
