#pragma once

#include <memory>

#include "machine.h"
#include "simulatedaudioendpoints.h"
#include "simulateddevicetree.h"
#include "simulatedservicemanager.h"

/// The machine of tests and of the bench: a virtual or a real clock, and parts to be scripted.
class SimulatedMachine : public Machine
{
public:
    /// With @p virtualClock null the clock is the real one; otherwise it is borrowed.
    explicit SimulatedMachine(VirtualClock* virtualClock);

    Clock& clock() override { return *activeClock; }
    SimulatedDeviceTree& deviceTree() override { return tree; }
    SimulatedServiceManager& serviceManager() override { return services; }
    SimulatedAudioEndpoints& audioEndpoints() override { return endpoints; }
    ProcessTable& processTable() override { return *processes; }

    /// Replaces the real processes by a scripted table, which is borrowed.
    void setProcessTable(ProcessTable& table) { processes = &table; }

private:
    RealClock realClock;
    RealProcessTable realProcesses;
    Clock* activeClock;
    ProcessTable* processes;
    SimulatedDeviceTree tree;
    SimulatedServiceManager services;
    SimulatedAudioEndpoints endpoints;
};
