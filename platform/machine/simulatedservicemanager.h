#pragma once

#include <map>
#include <mutex>
#include <string>
#include <vector>

#include <windows.h>

#include "callfaults.h"
#include "clock.h"

/// What a list of services tells of each.
struct ServiceEntry
{
    std::wstring name;
    SERVICE_STATUS_PROCESS status = {};
};

/// The computer's services, none at first; they take their time, on the machine's clock. Service names are
/// compared without regard to case. Every operation may be called on any thread.
class SimulatedServiceManager
{
public:
    explicit SimulatedServiceManager(Clock& clock);

    // How to script it.

    /// How a service gets from running to stopped, or back.
    struct Transition
    {
        DWORD durationMs = 0;           ///< in the pending state; INFINITE: it never gets any further
        DWORD waitHintMs = 0;           ///< what it reports meanwhile
        DWORD checkPointEveryMs = 0;    ///< the check point, 1 at first, grows by 1 that often; 0: never
        DWORD stallsAfterMs = INFINITE; ///< from then on the check point stays
        DWORD exitCode = ERROR_SUCCESS; ///< other than that, a start ends in the stopped state with it
        DWORD refusal = ERROR_SUCCESS;  ///< other than that, the control or start call fails with it
    };
    struct Service
    {
        std::wstring name;
        DWORD state = SERVICE_RUNNING; ///< when it is added; a pending one begins its transition then
        std::vector<std::wstring> dependsOn = {};
        Transition stopping = {};
        Transition starting = {};
        DWORD deniedAccess = 0; ///< rights that the user does not have
    };
    enum class Function { OpenManager, OpenService, QueryStatus, Stop, Start, Dependents };

    void add(Service service);
    CallFaults<Function, DWORD> faults;

    // What it recorded.

    struct Call
    {
        Function function;
        std::wstring service; ///< as the caller named it; empty for the manager
        DWORD argument;       ///< access or states asked for
    };
    std::vector<Call> calls() const;
    DWORD state(const std::wstring& name); ///< 0 where there is no such service

    // What it serves. Whether a handle carries the right that an operation needs is the caller's business.
    // All return a Windows error code, ERROR_SUCCESS where they succeeded.

    /// The user may have any @p access to the manager.
    DWORD openManager(DWORD access);

    /// Whether the service exists and the user may have @p access to it.
    DWORD openService(const std::wstring& name, DWORD access);

    DWORD queryStatus(const std::wstring& name, SERVICE_STATUS_PROCESS& status);

    /// Sends the stop control; @p status is then the service's, also where it refuses.
    DWORD stop(const std::wstring& name, SERVICE_STATUS_PROCESS& status);

    DWORD start(const std::wstring& name);

    /// The services that depend on @p name, directly or not, each before those it depends on itself.
    /// @param states  SERVICE_ACTIVE, SERVICE_INACTIVE, or both.
    DWORD dependents(const std::wstring& name, DWORD states, std::vector<ServiceEntry>& entries);

private:
    struct Entry
    {
        Service service; ///< its state is the present one
        DWORD beginTick; ///< of the transition that it is in
        DWORD exitCode = ERROR_SUCCESS;
    };

    template <typename Operation>
    DWORD serve(Function function, const std::wstring& name, DWORD argument, Operation operation);
    template <typename Operation>
    DWORD serveService(Function function, const std::wstring& name, DWORD argument, Operation operation);

    void settle(Entry& entry) const;
    void begin(Entry& entry, DWORD pendingState) const;
    Entry* find(const std::wstring& name);
    SERVICE_STATUS_PROCESS statusOf(const Entry& entry) const;
    std::vector<const Entry*> dependentsOf(const std::wstring& name) const;
    DWORD stopRefusal(const Entry& entry) const;
    DWORD startRefusal(const Entry& entry) const;

    Clock& clock;
    mutable std::mutex mutex; ///< guards everything below
    std::vector<Entry> entries;
    std::vector<Call> recorded;
};
