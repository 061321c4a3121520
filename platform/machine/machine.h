#pragma once

#include <memory>

#include "clock.h"
#include "devicetree.h"
#include "processtable.h"
#include "session.h"
#include "simulatedaudioendpoints.h"
#include "simulatedservicemanager.h"

/// Calls of the Windows interface that fail for want of resources only, which a machine may lack.
enum class SystemCall {
    CreateEventW,
    CreateThread,
    WaitForMultipleObjects, ///< of several objects
    RegisterClassW,
    CreateWindowExW,
    RegisterDeviceNotificationW,
    SetupDiGetClassDevsW,
    SetupDiGetDeviceInterfaceDetailW,
    SetupDiGetDeviceInstanceIdW,
    SetupDiGetDeviceRegistryPropertyW,
    CMP_WaitNoPendingInstallEvents,
};

/// A model of the computer that the program runs on, behind the functions of the Windows interface.
class Machine
{
public:
    virtual ~Machine() = default;

    virtual Clock& clock() = 0;
    virtual DeviceTree& deviceTree() = 0;
    virtual SimulatedServiceManager& serviceManager() = 0;
    virtual SimulatedAudioEndpoints& audioEndpoints() = 0;
    virtual ProcessTable& processTable() = 0;
    virtual Session& session() = 0;

    /// Asked before each such call. @return ERROR_SUCCESS, and the call is served; else what it fails with.
    virtual DWORD admit(SystemCall) { return ERROR_SUCCESS; }
};

/// The machine in force: the innermost ScopedMachine's, or the plain one (real clock and processes; no
/// services or endpoints; devices and a session only where equipPlainMachine() gave it some). For any thread.
Machine& currentMachine();

/// Gives the plain machine its devices and its session. To be called before anything is asked of them.
void equipPlainMachine(std::unique_ptr<DeviceTree> devices, std::unique_ptr<Session> session);

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
