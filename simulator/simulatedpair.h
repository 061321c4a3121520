#pragma once

#include <functional>
#include <string>

#include <QByteArray>

#include "simulateddevice.h"
#include "simulatedmachine.h"

/// A simulated computer with an audio service, audio endpoints, and a transmitter and a headset on its ports.
/// It is the current machine while it lives; what uses the devices has to be gone before.
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
        bool isTimeVirtual = true;
        double speed = 1;                               ///< otherwise: as setSpeed()
        std::function<void(const std::string&)> report; ///< as SimulatedDevice::Setup::report
    };

    /// Both devices hold an older firmware and are not plugged in.
    explicit SimulatedPair(const Setup& setup);

    SimulatedDevice& device(DeviceType type)
    {
        return type == DeviceType::Transmitter ? transmitter : headset;
    }
    void plugIn();

    /// Lets time that is not virtual run @p speed times as fast as on the wall. Any thread.
    void setSpeed(double speed) { scaledClock.setSpeed(speed); }

private:
    VirtualClock virtualClock;
    ScaledClock scaledClock;

public:
    SimulatedMachine machine;

private:
    ScopedMachine scope;
    SimulatedDevice transmitter;
    SimulatedDevice headset;
};
