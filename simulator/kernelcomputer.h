#pragma once

#include <functional>
#include <memory>
#include <string>

#include "linuxdevicetree.h"
#include "loginsession.h"
#include "simulatedpair.h"
#include "uhidbus.h"

/// A simulated computer but for its devices and its user's session, which are those of the Linux system that
/// the program really runs on: the pair is plugged into the kernel.
class KernelComputer : public PairComputer, private Machine
{
public:
    /// For SimulatedPair::Setup::computer.
    /// @param log  as for LinuxDeviceTree.
    static std::function<std::unique_ptr<PairComputer>(SimulatedMachine&)>
    maker(std::function<void(const std::string&)> log);

    KernelComputer(SimulatedMachine& otherwise, const std::function<void(const std::string&)>& log);

    Machine& machine() override { return *this; }
    Bus& bus() override { return kernelBus; }

private:
    Clock& clock() override { return model.clock(); }
    DeviceTree& deviceTree() override { return devices; }
    SimulatedServiceManager& serviceManager() override { return model.serviceManager(); }
    SimulatedAudioEndpoints& audioEndpoints() override { return model.audioEndpoints(); }
    ProcessTable& processTable() override { return model.processTable(); }
    Session& session() override { return userSession; }

    SimulatedMachine& model;
    LinuxDeviceTree devices;
    LoginSession userSession;
    UhidBus kernelBus;
};
