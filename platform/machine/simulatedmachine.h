#pragma once

#include "callfaults.h"
#include "machine.h"
#include "simulateddevicetree.h"
#include "simulatedsession.h"

/// The machine of tests and of the bench: any clock, and parts that can be scripted.
class SimulatedMachine : public Machine
{
public:
    /// @param ownClock  borrowed; null for real time.
    explicit SimulatedMachine(Clock* ownClock)
        : activeClock(ownClock ? ownClock : &realClock)
    {
    }

    // How to script it.

    /// Replaces the real processes by @p table, which is borrowed.
    void setProcessTable(ProcessTable& table) { processes = &table; }
    CallFaults<SystemCall, DWORD> faults;

    // What it serves.

    Clock& clock() override { return *activeClock; }
    SimulatedDeviceTree& deviceTree() override { return tree; }
    SimulatedServiceManager& serviceManager() override { return services; }
    SimulatedAudioEndpoints& audioEndpoints() override { return endpoints; }
    ProcessTable& processTable() override { return *processes; }
    SimulatedSession& session() override { return userSession; }
    DWORD admit(SystemCall call) override { return faults.count(call).value_or(ERROR_SUCCESS); }

private:
    Clock realClock;
    ProcessTable realProcesses;
    Clock* const activeClock;
    ProcessTable* processes = &realProcesses;
    SimulatedDeviceTree tree{*activeClock};
    SimulatedServiceManager services{*activeClock};
    SimulatedAudioEndpoints endpoints{services};
    SimulatedSession userSession;
};
