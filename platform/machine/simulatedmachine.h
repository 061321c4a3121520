#pragma once

#include <memory>

#include "machine.h"
#include "simulatedaudioendpoints.h"
#include "simulateddevicetree.h"
#include "simulatedservicemanager.h"
#include "simulatedsession.h"

/// The machine of tests and of the bench: a clock of one's choice, and parts to be scripted.
class SimulatedMachine : public Machine
{
public:
    /// With @p ownClock null the clock is the real one; otherwise it is borrowed.
    explicit SimulatedMachine(Clock* ownClock);

    Clock& clock() override { return *activeClock; }
    SimulatedDeviceTree& deviceTree() override { return tree; }
    SimulatedServiceManager& serviceManager() override { return services; }
    SimulatedAudioEndpoints& audioEndpoints() override { return endpoints; }
    ProcessTable& processTable() override { return *processes; }
    SimulatedSession& session() override { return userSession; }

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
    SimulatedSession userSession;
};
