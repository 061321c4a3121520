#include "simulatedservicemanager.h"

#include <algorithm>
#include <cwchar>

namespace {

bool areSame(const std::wstring& a, const std::wstring& b)
{
    return wcscasecmp(a.c_str(), b.c_str()) == 0;
}

bool isPending(DWORD state)
{
    return state == SERVICE_START_PENDING || state == SERVICE_STOP_PENDING;
}

/// The transition of a service that is in a pending state.
const SimulatedServiceManager::Transition& transitionOf(const SimulatedServiceManager::Service& service)
{
    return service.state == SERVICE_START_PENDING ? service.starting : service.stopping;
}

DWORD checkPointAfter(DWORD elapsedMs, const SimulatedServiceManager::Transition& transition)
{
    constexpr DWORD first = 1;
    if (transition.checkPointEveryMs == 0)
        return first;
    return first + std::min(elapsedMs, transition.stallsAfterMs) / transition.checkPointEveryMs;
}

} // namespace

SimulatedServiceManager::SimulatedServiceManager(Clock& machineClock, CallFaults& machineFaults)
    : clock(machineClock)
    , faults(machineFaults)
{
}

void SimulatedServiceManager::add(Service service)
{
    const std::lock_guard<std::mutex> guard(mutex);
    entries.push_back({std::move(service), clock.tickCount()});
}

std::vector<SimulatedServiceManager::Call> SimulatedServiceManager::calls() const
{
    const std::lock_guard<std::mutex> guard(mutex);
    return recorded;
}

DWORD SimulatedServiceManager::state(const std::wstring& name)
{
    const std::lock_guard<std::mutex> guard(mutex);
    Entry* const entry = find(name);
    if (!entry)
        return 0;
    settle(*entry);
    return entry->service.state;
}

DWORD SimulatedServiceManager::openManager(DWORD access)
{
    return serve("OpenSCManagerW", {}, access, [] { return ERROR_SUCCESS; });
}

DWORD SimulatedServiceManager::openService(const std::wstring& name, DWORD access)
{
    return serveService("OpenServiceW", name, access, [&](const Entry& entry) {
        return access & entry.service.deniedAccess ? ERROR_ACCESS_DENIED : ERROR_SUCCESS;
    });
}

DWORD SimulatedServiceManager::queryStatus(const std::wstring& name, SERVICE_STATUS_PROCESS& status)
{
    return serveService("QueryServiceStatusEx", name, 0, [&](const Entry& entry) {
        status = statusOf(entry);
        return ERROR_SUCCESS;
    });
}

DWORD SimulatedServiceManager::stop(const std::wstring& name, SERVICE_STATUS_PROCESS& status)
{
    return serveService("ControlService", name, 0, [&](Entry& entry) -> DWORD {
        const Service& service = entry.service;
        if (service.state == SERVICE_STOPPED)
            return ERROR_SERVICE_NOT_ACTIVE;
        if (isPending(service.state))
            return ERROR_SERVICE_CANNOT_ACCEPT_CTRL;
        if (!runningDependentsOf(service.name).empty())
            return ERROR_DEPENDENT_SERVICES_RUNNING;
        if (service.stopping.refusal != ERROR_SUCCESS)
            return service.stopping.refusal;
        begin(entry, SERVICE_STOP_PENDING);
        status = statusOf(entry);
        return ERROR_SUCCESS;
    });
}

DWORD SimulatedServiceManager::start(const std::wstring& name)
{
    return serveService("StartServiceW", name, 0, [&](Entry& entry) {
        if (entry.service.state != SERVICE_STOPPED)
            return DWORD(ERROR_SERVICE_ALREADY_RUNNING);
        const DWORD refusal = entry.service.starting.refusal;
        if (refusal == ERROR_SUCCESS)
            begin(entry, SERVICE_START_PENDING);
        return refusal;
    });
}

DWORD SimulatedServiceManager::runningDependents(const std::wstring& name, std::vector<std::wstring>& names)
{
    return serveService("EnumDependentServicesW", name, 0, [&](const Entry& entry) {
        names = runningDependentsOf(entry.service.name);
        return ERROR_SUCCESS;
    });
}

template <typename Operation>
DWORD SimulatedServiceManager::serve(const char* function, const std::wstring& name, DWORD access,
                                     Operation operation)
{
    const std::lock_guard<std::mutex> guard(mutex);
    for (Entry& entry : entries)
        settle(entry);
    recorded.push_back({function, name, access});
    const auto fault = faults.count(function);
    return fault ? *fault : operation();
}

template <typename Operation>
DWORD SimulatedServiceManager::serveService(const char* function, const std::wstring& name, DWORD access,
                                            Operation operation)
{
    return serve(function, name, access, [&]() -> DWORD {
        Entry* const entry = find(name);
        return entry ? operation(*entry) : ERROR_SERVICE_DOES_NOT_EXIST;
    });
}

void SimulatedServiceManager::settle(Entry& entry) const
{
    Service& service = entry.service;
    if (!isPending(service.state))
        return;
    const Transition& transition = transitionOf(service);
    if (transition.durationMs == INFINITE || clock.tickCount() - entry.beginTick < transition.durationMs)
        return;
    const bool runs = service.state == SERVICE_START_PENDING && transition.exitCode == ERROR_SUCCESS;
    entry.exitCode = transition.exitCode;
    service.state = runs ? SERVICE_RUNNING : SERVICE_STOPPED;
}

void SimulatedServiceManager::begin(Entry& entry, DWORD pendingState) const
{
    entry.service.state = pendingState;
    entry.beginTick = clock.tickCount();
    entry.exitCode = ERROR_SUCCESS;
    settle(entry);
}

SimulatedServiceManager::Entry* SimulatedServiceManager::find(const std::wstring& name)
{
    const auto it = std::find_if(entries.begin(), entries.end(),
                                 [&](const Entry& entry) { return areSame(entry.service.name, name); });
    return it == entries.end() ? nullptr : &*it;
}

SERVICE_STATUS_PROCESS SimulatedServiceManager::statusOf(const Entry& entry) const
{
    const Service& service = entry.service;
    SERVICE_STATUS_PROCESS status = {};
    status.dwCurrentState = service.state;
    status.dwWin32ExitCode = entry.exitCode;
    if (isPending(service.state)) {
        const Transition& transition = transitionOf(service);
        status.dwCheckPoint = checkPointAfter(clock.tickCount() - entry.beginTick, transition);
        status.dwWaitHint = transition.waitHintMs;
    }
    return status;
}

std::vector<std::wstring> SimulatedServiceManager::runningDependentsOf(const std::wstring& name) const
{
    std::vector<std::wstring> found;
    const auto append = [&found](const std::wstring& dependent) {
        if (std::find(found.begin(), found.end(), dependent) == found.end())
            found.push_back(dependent);
    };
    for (const Entry& entry : entries) {
        const Service& service = entry.service;
        if (std::none_of(service.dependsOn.begin(), service.dependsOn.end(),
                         [&](const std::wstring& needed) { return areSame(needed, name); }))
            continue;
        for (const std::wstring& indirect : runningDependentsOf(service.name))
            append(indirect);
        if (service.state != SERVICE_STOPPED)
            append(service.name);
    }
    return found;
}
