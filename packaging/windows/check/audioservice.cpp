// The service "audiosrv" for a system that has none. It does nothing. Like the service of Windows it stops in
// two steps: first it reports that it is stopping, then that it has stopped.
#include <windows.h>

#include <winsvc.h>

namespace {

constexpr DWORD stopWaitHintMs = 200;

SERVICE_STATUS_HANDLE statusHandle = nullptr;
HANDLE stopEvent = nullptr;

void report(DWORD state, DWORD acceptedControls, DWORD waitHintMs)
{
    SERVICE_STATUS status{};
    status.dwServiceType = SERVICE_WIN32_OWN_PROCESS;
    status.dwCurrentState = state;
    status.dwControlsAccepted = acceptedControls;
    status.dwWaitHint = waitHintMs;
    SetServiceStatus(statusHandle, &status);
}

DWORD WINAPI control(DWORD code, DWORD, LPVOID, LPVOID)
{
    if (code == SERVICE_CONTROL_STOP) {
        report(SERVICE_STOP_PENDING, 0, stopWaitHintMs);
        SetEvent(stopEvent);
    }
    return NO_ERROR;
}

void WINAPI serve(DWORD, LPWSTR* arguments)
{
    statusHandle = RegisterServiceCtrlHandlerExW(arguments[0], control, nullptr);
    stopEvent = CreateEventW(nullptr, TRUE, FALSE, nullptr);
    report(SERVICE_RUNNING, SERVICE_ACCEPT_STOP, 0);
    WaitForSingleObject(stopEvent, INFINITE);
    report(SERVICE_STOPPED, 0, 0);
}

} // namespace

int wmain()
{
    wchar_t name[] = L"audiosrv";
    const SERVICE_TABLE_ENTRYW services[] = {{name, serve}, {nullptr, nullptr}};
    return StartServiceCtrlDispatcherW(services) ? 0 : 1;
}
