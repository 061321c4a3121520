#pragma once

#include "audioendpoints.h"
#include "clock.h"
#include "devicetree.h"
#include "processtable.h"
#include "servicemanager.h"
#include "session.h"

/// A model of the computer that the program runs on, behind the functions of the Windows interface.
class Machine
{
public:
    virtual ~Machine() = default;

    virtual Clock& clock() = 0;
    virtual DeviceTree& deviceTree() = 0;
    virtual ServiceManager& serviceManager() = 0;
    virtual AudioEndpoints& audioEndpoints() = 0;
    virtual ProcessTable& processTable() = 0;
    virtual Session& session() = 0;
};

/// The machine in force: the innermost ScopedMachine's, or the plain one (real clock and processes; no
/// devices, services, endpoints or session). Callable on any thread.
Machine& currentMachine();

/// Makes a machine the current one for its own lifetime. Everything opened on the machine is to be closed,
/// and every thread that uses it ended, before the scope ends.
class ScopedMachine
{
public:
    explicit ScopedMachine(Machine& machine);
    ~ScopedMachine();
    ScopedMachine(const ScopedMachine&) = delete;
    ScopedMachine& operator=(const ScopedMachine&) = delete;

private:
    Machine* previous;
};

/// The number of handles of every kind (events, threads, files, snapshots, services, device sets,
/// notifications, windows) that are open in this process. A test compares it before and after.
std::size_t openHandleCount();
