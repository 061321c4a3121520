// Stops the service "audiosrv" and starts it again through the stopper; prints its log lines and, between
// them, the state that the system's service manager tells.
#include <cstdio>

#include <windows.h>

#include <winsvc.h>

#include <QString>

#include "scopedaudioservicestopper.h"

namespace {

void printMessage(QtMsgType, const QMessageLogContext&, const QString& text)
{
    std::printf("%s\n", qPrintable(text));
}

void printState()
{
    SERVICE_STATUS status{};
    const SC_HANDLE manager = OpenSCManagerW(nullptr, nullptr, SC_MANAGER_CONNECT);
    const SC_HANDLE service = OpenServiceW(manager, L"audiosrv", SERVICE_QUERY_STATUS);
    QueryServiceStatus(service, &status);
    std::printf("state %lu\n", status.dwCurrentState);
    CloseServiceHandle(service);
    CloseServiceHandle(manager);
}

} // namespace

int wmain()
{
    qInstallMessageHandler(printMessage);
    printState();
    {
        ScopedAudioServiceStopper stopper;
        stopper.stop();
        printState();
        stopper.stop();
    }
    printState();
    ScopedAudioServiceStopper().start();
    return 0;
}
