#pragma once

#include <functional>
#include <string>

#include <QMap>

#include "archivebuilder.h"
#include "computer.h"
#include "simulatedpair.h"

constexpr DeviceType bothTypes[] = {DeviceType::Transmitter, DeviceType::Headset};

/// A computer with an audio service and audio endpoints, and a transmitter and a headset, not plugged in yet.
class PairedComputer : public Computer
{
public:
    ~PairedComputer() { letThreadsEnd(); }

    bool isUpdated(DeviceType type)
    {
        return toByteArray(pair.device(type).memory()).startsWith(images[type]);
    }

    DWORD audioServiceState() { return machine.serviceManager().state(L"audiosrv"); }

    /// The images that an update must write into the devices.
    const QMap<DeviceType, QByteArray> images{
        {DeviceType::Transmitter, toByteArray(ImageBuilder::build(ImageBuilder::transmitter()))},
        {DeviceType::Headset, toByteArray(ImageBuilder::build(ImageBuilder::headset()))}};
    std::function<void(const std::string&)> onReport; ///< called on any thread with each report of a device
    SimulatedPair pair{machine, setup()};

private:
    SimulatedPair::Setup setup()
    {
        SimulatedPair::Setup result;
        result.transmitterImage = bytesOf(images[DeviceType::Transmitter]);
        result.headsetImage = bytesOf(images[DeviceType::Headset]);
        result.report = [this](const std::string& report) {
            if (onReport)
                onReport(report);
        };
        return result;
    }
};
