#pragma once

#include <functional>
#include <string>

#include <QMap>

#include "archivebuilder.h"
#include "computer.h"
#include "simulatedpair.h"

constexpr DeviceType bothTypes[] = {DeviceType::Transmitter, DeviceType::Headset};

/// A computer with an audio service, audio endpoints, and two devices that are not plugged in yet: a
/// transmitter and a headset.
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
    std::function<void(const std::string&)> onReport; ///< called with each report of a device, on any thread
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
