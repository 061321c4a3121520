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

/// The tick count wraps at 2^32, which the difference of two outlives.
DWORD elapsedMs(DWORD sinceTick)
{
    return GetTickCount() - sinceTick;
}

/// A service that takes INFINITE for a wait hint would make Sleep() and the watch of its progress last for
/// ever.
DWORD waitHintMs(const SERVICE_STATUS_PROCESS& status)
{
    return status.dwWaitHint == INFINITE ? stopLimitMs : status.dwWaitHint;
}

/// As the Windows documentation advises: a tenth of the wait hint, within reason.
DWORD clampedWaitMs(const SERVICE_STATUS_PROCESS& status)
{
    constexpr DWORD shortestMs = 1000;
    constexpr DWORD longestMs = 10000;
    return std::clamp(waitHintMs(status) / 10, shortestMs, longestMs);
}

/// Opens the service control manager too, and leaves it in @p manager.
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

/// Sends the stop control. On success the state and the wait hint in @p status are those of the reply.
[[nodiscard]] bool sendStop(const ServiceHandle& service, SERVICE_STATUS_PROCESS& status)
{
    SERVICE_STATUS reply = {};
    if (!ControlService(service.get(), SERVICE_CONTROL_STOP, &reply))
        return false;
    status.dwCurrentState = reply.dwCurrentState;
    status.dwWaitHint = reply.dwWaitHint;
    return true;
}

/// Gives a stop that is under way the time to end.
/// @return whether the service is left to be stopped.
bool outlastPendingStop(const ServiceHandle& service, SERVICE_STATUS_PROCESS& status)
{
    const DWORD beginTick = GetTickCount();
    while (status.dwCurrentState == SERVICE_STOP_PENDING) {
        qDebug("Service stop pending...");
        Sleep(clampedWaitMs(status));
        if (!queryAudioStatus(service, status))
            return false;
        if (status.dwCurrentState == SERVICE_STOPPED) {
            qDebug("Service stopped successfully.");
            return false;
        }
        if (elapsedMs(beginTick) > stopLimitMs) {
            qDebug("Service stop timed out.");
            return false;
        }
    }
    return true;
}

/// @p beginTick is where the time for all dependents began.
bool stopDependent(const ServiceHandle& manager, LPCWSTR name, DWORD beginTick)
{
    const ServiceHandle service =
        owned(OpenServiceW(manager.get(), name, SERVICE_STOP | SERVICE_QUERY_STATUS));
    SERVICE_STATUS_PROCESS status = {};
    if (!service || !sendStop(service, status))
        return false;
    while (status.dwCurrentState != SERVICE_STOPPED) {
        Sleep(waitHintMs(status));
        if (!queryStatus(service, status) || elapsedMs(beginTick) > stopLimitMs)
            return false;
    }
    return true;
}

/// @return whether no service that depends on @p service is active any more.
bool stopDependentServices(const ServiceHandle& manager, const ServiceHandle& service)
{
    const DWORD beginTick = GetTickCount();
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
        return stopDependent(manager, dependent.lpServiceName, beginTick);
    });
}

void stopAudioService(const ServiceHandle& service)
{
    const DWORD beginTick = GetTickCount();
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
        if (elapsedMs(beginTick) > stopLimitMs) {
            qDebug("Wait timed out");
            return;
        }
    }
    qDebug("Service stopped successfully");
}

/// Tells whether a service in a pending state gets on: its check point is to grow within its wait hint.
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

/// @return whether the service is past its pending stop.
bool awaitPendingStop(const ServiceHandle& service, SERVICE_STATUS_PROCESS& status)
{
    ProgressWatch watch(status);
    while (status.dwCurrentState == SERVICE_STOP_PENDING) {
        Sleep(clampedWaitMs(status));
        if (!queryAudioStatus(service, status))
            return false;
        // A service that has stopped has nothing pending, hence no wait hint to keep to.
        if (status.dwCurrentState == SERVICE_STOP_PENDING && watch.hasStalled(status)) {
            qDebug("Timeout waiting for service to stop");
            return false;
        }
    }
    return true;
}

/// Waits until the service has started or gets no further.
/// @return false where its status cannot be told.
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
    // Where they do not stop, the system's answer to the stop control tells.
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
