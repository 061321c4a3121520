#pragma once

#include <mutex>
#include <string>
#include <vector>

#include <windows.h>

#include "callfaults.h"
#include "clock.h"

/// The computer's services, none at first. Their transitions take time on the machine's clock. Names are
/// compared without regard to case. Every operation may be called on any thread.
class SimulatedServiceManager
{
public:
    SimulatedServiceManager(Clock& machineClock, CallFaults& machineFaults);

    // How to script the services.

    /// How a service changes from running to stopped, or from stopped to running.
    struct Transition
    {
        DWORD durationMs = 0;           ///< time in the pending state; INFINITE: forever
        DWORD waitHintMs = 0;           ///< wait hint that the service reports meanwhile
        DWORD checkPointEveryMs = 0;    ///< interval at which the check point grows by 1; 0: it stays at 1
        DWORD stallsAfterMs = INFINITE; ///< time after which the check point no longer grows
        DWORD exitCode = ERROR_SUCCESS; ///< if not ERROR_SUCCESS, a start leaves the service stopped
        DWORD refusal = ERROR_SUCCESS;  ///< if not ERROR_SUCCESS, the stop or start call fails with it
    };
    struct Service
    {
        std::wstring name;
        DWORD state = SERVICE_RUNNING; ///< initial state; a pending service starts its transition at once
        std::vector<std::wstring> dependsOn = {};
        Transition stopping = {};
        Transition starting = {};
        DWORD deniedAccess = 0; ///< rights that the user does not have
    };
    void add(Service service);

    // What the manager recorded.

    struct Call
    {
        std::string function; ///< the Windows function that was called
        std::wstring service; ///< the name that the caller used; empty for OpenSCManagerW
        DWORD access;         ///< access that the call requests
    };
    std::vector<Call> calls() const;
    DWORD state(const std::wstring& name); ///< 0 if there is no such service

    // Called by the Windows functions. Each operation returns a Windows error code. The caller checks the
    // access rights of the handle to the service.

    /// Succeeds with any @p access: the user has every right to the manager.
    DWORD openManager(DWORD access);

    /// Checks that the service exists and that the user may have @p access to it.
    DWORD openService(const std::wstring& name, DWORD access);

    DWORD queryStatus(const std::wstring& name, SERVICE_STATUS_PROCESS& status);

    /// Sends the stop control. If the service accepts the control, sets @p status to the service's status.
    DWORD stop(const std::wstring& name, SERVICE_STATUS_PROCESS& status);

    DWORD start(const std::wstring& name);

    /// Sets @p names to the services that depend on @p name, directly or indirectly, and are not stopped.
    /// Each service comes before the services that it depends on.
    DWORD runningDependents(const std::wstring& name, std::vector<std::wstring>& names);

private:
    struct Entry
    {
        Service service; ///< `state` is the current state
        DWORD beginTick; ///< tick at which the current transition started
        DWORD exitCode = ERROR_SUCCESS;
    };

    template <typename Operation>
    DWORD serve(const char* function, const std::wstring& name, DWORD access, Operation operation);
    template <typename Operation>
    DWORD serveService(const char* function, const std::wstring& name, DWORD access, Operation operation);

    void settle(Entry& entry) const;
    void begin(Entry& entry, DWORD pendingState) const;
    Entry* find(const std::wstring& name);
    SERVICE_STATUS_PROCESS statusOf(const Entry& entry) const;
    std::vector<std::wstring> runningDependentsOf(const std::wstring& name) const;

    Clock& clock;
    CallFaults& faults;
    mutable std::mutex mutex; ///< guards the members below
    std::vector<Entry> entries;
    std::vector<Call> recorded;
};
