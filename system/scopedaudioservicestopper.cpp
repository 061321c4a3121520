#include "scopedaudioservicestopper.h"

#include <algorithm>
#include <memory>
#include <type_traits>
#include <vector>

#include <QtDebug>

#include <windows.h>

#include <winsvc.h>

namespace {

using ServiceHandle = std::shared_ptr<std::remove_pointer_t<SC_HANDLE>>;

constexpr const wchar_t* audioService = L"audiosrv";
constexpr DWORD stopLimitMs = 30000;

ServiceHandle owned(SC_HANDLE handle)
{
    return handle ? ServiceHandle(handle, CloseServiceHandle) : ServiceHandle();
}

int lastError()
{
    return static_cast<int>(GetLastError());
}

/// The milliseconds since @p sinceTick. The unsigned difference is right even if the tick count wraps at
/// 2^32.
DWORD elapsedMs(DWORD sinceTick)
{
    return GetTickCount() - sinceTick;
}

/// The service's wait hint in milliseconds. INFINITE counts as stopLimitMs, so that no wait lasts for ever.
DWORD waitHintMs(const SERVICE_STATUS_PROCESS& status)
{
    return status.dwWaitHint == INFINITE ? stopLimitMs : status.dwWaitHint;
}

/// A tenth of the wait hint, but at least 1 s and at most 10 s, as the Windows documentation advises.
DWORD clampedWaitMs(const SERVICE_STATUS_PROCESS& status)
{
    constexpr DWORD shortestMs = 1000;
    constexpr DWORD longestMs = 10000;
    return std::clamp(waitHintMs(status) / 10, shortestMs, longestMs);
}

/// Opens the service control manager as @p manager, then the audio service.
/// @return the audio service; null if it or the manager cannot be opened.
ServiceHandle openAudioService(DWORD access, ServiceHandle& manager)
{
    manager = owned(OpenSCManagerW(nullptr, nullptr, SC_MANAGER_ALL_ACCESS));
    if (!manager) {
        qDebug("OpenSCManager failed (%d)", lastError());
        return nullptr;
    }
    ServiceHandle service = owned(OpenServiceW(manager.get(), audioService, access));
    if (!service)
        qDebug("OpenService failed (%d)", lastError());
    return service;
}

[[nodiscard]] bool queryStatus(const ServiceHandle& service, SERVICE_STATUS_PROCESS& status)
{
    DWORD bytesNeeded = 0;
    return QueryServiceStatusEx(service.get(), SC_STATUS_PROCESS_INFO, reinterpret_cast<LPBYTE>(&status),
                                sizeof(status), &bytesNeeded) != FALSE;
}

[[nodiscard]] bool queryAudioStatus(const ServiceHandle& service, SERVICE_STATUS_PROCESS& status)
{
    if (queryStatus(service, status))
        return true;
    qDebug("QueryServiceStatusEx failed (%d)", lastError());
    return false;
}

/// Sends the stop control. On success @p status gets the state and the wait hint of the reply.
[[nodiscard]] bool sendStop(const ServiceHandle& service, SERVICE_STATUS_PROCESS& status)
{
    SERVICE_STATUS reply = {};
    if (!ControlService(service.get(), SERVICE_CONTROL_STOP, &reply))
        return false;
    status.dwCurrentState = reply.dwCurrentState;
    status.dwWaitHint = reply.dwWaitHint;
    return true;
}

/// Waits while a stop is already in progress.
/// @return true if the caller must still stop the service; false if the service has stopped, or if the wait
///         failed or took too long.
bool outlastPendingStop(const ServiceHandle& service, SERVICE_STATUS_PROCESS& status)
{
    const DWORD startTick = GetTickCount();
    while (status.dwCurrentState == SERVICE_STOP_PENDING) {
        qDebug("Service stop pending...");
        Sleep(clampedWaitMs(status));
        if (!queryAudioStatus(service, status))
            return false;
        if (status.dwCurrentState == SERVICE_STOPPED) {
            qDebug("Service stopped successfully.");
            return false;
        }
        if (elapsedMs(startTick) > stopLimitMs) {
            qDebug("Service stop timed out.");
            return false;
        }
    }
    return true;
}

/// All dependent services share one time limit.
/// @param startTick  the tick count at which the time limit started.
/// @return whether the service has stopped.
bool stopDependent(const ServiceHandle& manager, LPCWSTR name, DWORD startTick)
{
    const ServiceHandle service =
        owned(OpenServiceW(manager.get(), name, SERVICE_STOP | SERVICE_QUERY_STATUS));
    SERVICE_STATUS_PROCESS status = {};
    if (!service || !sendStop(service, status))
        return false;
    while (status.dwCurrentState != SERVICE_STOPPED) {
        Sleep(waitHintMs(status));
        if (!queryStatus(service, status) || elapsedMs(startTick) > stopLimitMs)
            return false;
    }
    return true;
}

/// @return whether all services that depend on @p service have stopped.
bool stopDependentServices(const ServiceHandle& manager, const ServiceHandle& service)
{
    const DWORD startTick = GetTickCount();
    DWORD bytes = 0;
    DWORD count = 0;
    if (EnumDependentServicesW(service.get(), SERVICE_ACTIVE, nullptr, 0, &bytes, &count))
        return true;
    if (GetLastError() != ERROR_MORE_DATA)
        return false;
    std::vector<BYTE> buffer(bytes);
    auto* const dependents = reinterpret_cast<LPENUM_SERVICE_STATUSW>(buffer.data());
    if (!EnumDependentServicesW(service.get(), SERVICE_ACTIVE, dependents, bytes, &bytes, &count))
        return false;
    return std::all_of(dependents, dependents + count, [&](const ENUM_SERVICE_STATUSW& dependent) {
        return stopDependent(manager, dependent.lpServiceName, startTick);
    });
}

void stopAudioService(const ServiceHandle& service)
{
    const DWORD startTick = GetTickCount();
    SERVICE_STATUS_PROCESS status = {};
    if (!sendStop(service, status)) {
        qDebug("ControlService failed (%d)", lastError());
        return;
    }
    while (status.dwCurrentState != SERVICE_STOPPED) {
        Sleep(waitHintMs(status));
        if (!queryAudioStatus(service, status))
            return;
        if (status.dwCurrentState == SERVICE_STOPPED)
            break;
        if (elapsedMs(startTick) > stopLimitMs) {
            qDebug("Wait timed out");
            return;
        }
    }
    qDebug("Service stopped successfully");
}

/// Detects that a service in a pending state stalls: its check point does not grow within its wait hint.
class ProgressWatch
{
public:
    explicit ProgressWatch(const SERVICE_STATUS_PROCESS& status)
        : tick(GetTickCount())
        , checkPoint(status.dwCheckPoint)
    {
    }

    bool hasStalled(const SERVICE_STATUS_PROCESS& status)
    {
        if (status.dwCheckPoint <= checkPoint)
            return elapsedMs(tick) > waitHintMs(status);
        *this = ProgressWatch(status);
        return false;
    }

private:
    DWORD tick;
    DWORD checkPoint;
};

/// Waits while a stop is in progress.
/// @return false if the stop stalls or the service's status cannot be queried.
bool awaitPendingStop(const ServiceHandle& service, SERVICE_STATUS_PROCESS& status)
{
    ProgressWatch watch(status);
    while (status.dwCurrentState == SERVICE_STOP_PENDING) {
        Sleep(clampedWaitMs(status));
        if (!queryAudioStatus(service, status))
            return false;
        // A stopped service is not checked, because its wait hint is 0, which would look like a stall.
        if (status.dwCurrentState == SERVICE_STOP_PENDING && watch.hasStalled(status)) {
            qDebug("Timeout waiting for service to stop");
            return false;
        }
    }
    return true;
}

/// Waits while the service is starting and makes progress.
/// @return false if the service's status cannot be queried.
bool awaitPendingStart(const ServiceHandle& service, SERVICE_STATUS_PROCESS& status)
{
    ProgressWatch watch(status);
    while (status.dwCurrentState == SERVICE_START_PENDING) {
        Sleep(clampedWaitMs(status));
        if (!queryAudioStatus(service, status))
            return false;
        if (watch.hasStalled(status))
            break;
    }
    return true;
}

void logStart(const SERVICE_STATUS_PROCESS& status)
{
    if (status.dwCurrentState == SERVICE_RUNNING) {
        qDebug("Service started successfully.");
        return;
    }
    qDebug("Service not started. ");
    qDebug("  Current State: %d", static_cast<int>(status.dwCurrentState));
    qDebug("  Exit Code: %d", static_cast<int>(status.dwWin32ExitCode));
    qDebug("  Check Point: %d", static_cast<int>(status.dwCheckPoint));
    qDebug("  Wait Hint: %d", static_cast<int>(status.dwWaitHint));
}

} // namespace

ScopedAudioServiceStopper::~ScopedAudioServiceStopper()
{
    start();
}

void ScopedAudioServiceStopper::stop()
{
    ServiceHandle manager;
    const ServiceHandle service =
        openAudioService(SERVICE_STOP | SERVICE_QUERY_STATUS | SERVICE_ENUMERATE_DEPENDENTS, manager);
    SERVICE_STATUS_PROCESS status = {};
    if (!service || !queryAudioStatus(service, status))
        return;
    if (status.dwCurrentState == SERVICE_STOPPED) {
        qDebug("Service is already stopped.");
        return;
    }
    if (!outlastPendingStop(service, status))
        return;
    // The result is ignored, because stopAudioService() fails and logs its failure if a dependent service
    // still runs.
    static_cast<void>(stopDependentServices(manager, service));
    stopAudioService(service);
}

void ScopedAudioServiceStopper::start()
{
    ServiceHandle manager;
    const ServiceHandle service = openAudioService(SERVICE_ALL_ACCESS, manager);
    SERVICE_STATUS_PROCESS status = {};
    if (!service || !queryAudioStatus(service, status))
        return;
    if (status.dwCurrentState != SERVICE_STOPPED && status.dwCurrentState != SERVICE_STOP_PENDING) {
        qDebug("Cannot start the service because it is already running");
        return;
    }
    if (!awaitPendingStop(service, status))
        return;
    if (!StartServiceW(service.get(), 0, nullptr)) {
        qDebug("StartService failed (%d)", lastError());
        return;
    }
    qDebug("Service start pending...");
    if (queryAudioStatus(service, status) && awaitPendingStart(service, status))
        logStart(status);
}
