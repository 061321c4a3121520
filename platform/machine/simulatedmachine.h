#pragma once

#include <mutex>

#include "callfaults.h"
#include "machine.h"
#include "simulateddevicetree.h"
#include "simulatedsession.h"

/// The machine of tests and of the bench: a clock of one's choice, and parts to be scripted.
class SimulatedMachine : public Machine
{
public:
    /// With @p ownClock null the clock is the real one; otherwise it is borrowed.
    explicit SimulatedMachine(Clock* ownClock);

    // How to script it.

    /// Replaces the real processes by a scripted table, which is borrowed.
    void setProcessTable(ProcessTable& table) { processes = &table; }
    /// Makes the @p nth call of @p call from the start (1 is the first) fail with @p error.
    void failCall(SystemCall call, int nth, DWORD error);

    // What it recorded.

    int callCount(SystemCall call) const;

    // What it serves.

    Clock& clock() override { return *activeClock; }
    SimulatedDeviceTree& deviceTree() override { return tree; }
    SimulatedServiceManager& serviceManager() override { return services; }
    SimulatedAudioEndpoints& audioEndpoints() override { return endpoints; }
    ProcessTable& processTable() override { return *processes; }
    SimulatedSession& session() override { return userSession; }
    DWORD admit(SystemCall call) override;

private:
    RealClock realClock;
    RealProcessTable realProcesses;
    Clock* activeClock;
    ProcessTable* processes;
    SimulatedDeviceTree tree;
    SimulatedServiceManager services;
    SimulatedAudioEndpoints endpoints;
    SimulatedSession userSession;
    mutable std::mutex mutex; ///< guards the faults
    CallFaults<SystemCall, DWORD> faults;
};
