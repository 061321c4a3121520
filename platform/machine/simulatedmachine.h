#pragma once

#include <memory>

#include "callfaults.h"
#include "clock.h"
#include "machine.h"
#include "processtable.h"
#include "session.h"
#include "simulateddevicetree.h"
#include "simulatedservicemanager.h"

/// The machine that tests and the bench use. It can have any clock, and its parts can be scripted.
class SimulatedMachine
{
public:
    /// @param ownClock  the machine's clock, or null for real time. The machine does not own the clock.
    explicit SimulatedMachine(Clock* ownClock);
    ~SimulatedMachine();
    SimulatedMachine(const SimulatedMachine&) = delete;
    SimulatedMachine& operator=(const SimulatedMachine&) = delete;

    operator Machine&() { return machine; }

    CallFaults faults;

    ProcessTable& processes() { return *machine.processes; } ///< ownProcesses() at first
    Clock& clock() { return *machine.clock; }
    SimulatedDeviceTree& deviceTree() { return tree; }
    SimulatedServiceManager& serviceManager() { return services; }
    SimulatedAudioEndpoints& audioEndpoints() { return *endpoints; }
    Session& session() { return userSession; }

private:
    Clock realClock;
    ProcessTable processTable = ownProcesses();
    SimulatedDeviceTree tree;
    SimulatedServiceManager services;
    /// A pointer, because the header of the class takes long to compile.
    const std::unique_ptr<SimulatedAudioEndpoints> endpoints;
    Session userSession;
    Machine machine;
};
