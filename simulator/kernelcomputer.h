#pragma once

#include <functional>
#include <string>

#include "linuxdevicetree.h"
#include "loginsession.h"
#include "simulatedmachine.h"
#include "uhidbus.h"

/// A simulated computer with the devices and the user's session of the Linux system that the program runs on.
/// Its bus plugs devices into the kernel.
class KernelComputer : public Machine
{
public:
    /// @param otherwise  everything but the devices and the session; borrowed.
    /// @param log        see LinuxDeviceTree and LoginSession.
    KernelComputer(SimulatedMachine& otherwise, const std::function<void(const std::string&)>& log)
        : model(otherwise)
        , devices(log)
        , userSession(log)
    {
    }

    Bus& bus() { return kernelBus; }

    Clock& clock() override { return model.clock(); }
    DeviceTree& deviceTree() override { return devices; }
    SimulatedServiceManager& serviceManager() override { return model.serviceManager(); }
    SimulatedAudioEndpoints& audioEndpoints() override { return model.audioEndpoints(); }
    ProcessTable& processTable() override { return model.processTable(); }
    Session& session() override { return userSession; }

private:
    SimulatedMachine& model;
    LinuxDeviceTree devices;
    LoginSession userSession;
    UhidBus kernelBus;
};
