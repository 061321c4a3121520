#pragma once

#include <memory>

#include "clock.h"
#include "devicetree.h"
#include "processtable.h"
#include "session.h"
#include "simulatedaudioendpoints.h"
#include "simulatedservicemanager.h"

/// Calls of the Windows interface that fail only if resources run out. A test may simulate such a failure.
enum class SystemCall {
    CreateEventW,
    CreateThread,
    WaitForMultipleObjects, ///< if it waits for more than one object
    RegisterClassW,
    CreateWindowExW,
    RegisterDeviceNotificationW,
    SetupDiGetClassDevsW,
    SetupDiGetDeviceInterfaceDetailW,
    SetupDiGetDeviceInstanceIdW,
    SetupDiGetDeviceRegistryPropertyW,
    CMP_WaitNoPendingInstallEvents,
};

/// A model of the computer that the program runs on; the functions of the Windows interface use it.
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

    /// Called before each of the listed calls.
    /// @return ERROR_SUCCESS, or the error with which the call must fail.
    virtual DWORD admit(SystemCall) { return ERROR_SUCCESS; }
};

/// The machine of the innermost ScopedMachine; without one, the plain machine. The plain machine has the real
/// clock and the real processes, but no services and no audio endpoints. It has devices and a session only
/// after equipPlainMachine(). Callable on any thread.
Machine& currentMachine();

/// Gives the plain machine its devices and its session. Call it before the program uses either.
void equipPlainMachine(std::unique_ptr<DeviceTree> devices, std::unique_ptr<Session> session);

/// Makes a machine the current one for its own lifetime. Before that ends, everything that was opened on the
/// machine must be closed, and every thread that uses it must have ended.
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
