#include "keepawake.h"

#include <QCoreApplication>

KeepAwake::KeepAwake(HWND mainWindow, const QString& reason)
    : window(mainWindow)
    , previousState(SetThreadExecutionState(ES_CONTINUOUS | ES_SYSTEM_REQUIRED | ES_DISPLAY_REQUIRED))
    , hasReason(ShutdownBlockReasonCreate(window, reason.toStdWString().c_str()) != FALSE)
{
    if (previousState == 0)
        qWarning("The computer may go to sleep");
    if (!hasReason)
        qWarning("Could not set the reason for blocking shutdown");
    QCoreApplication::instance()->installNativeEventFilter(this);
}

KeepAwake::~KeepAwake()
{
    if (hasReason)
        ShutdownBlockReasonDestroy(window);
    if (previousState != 0)
        SetThreadExecutionState(previousState | ES_CONTINUOUS);
}

bool KeepAwake::nativeEventFilter(const QByteArray& eventType, void* message, long* result)
{
    if (eventType != "windows_generic_MSG" || static_cast<const MSG*>(message)->message != WM_QUERYENDSESSION)
        return false;
    // Qt does not get this message, because Qt would close the windows one by one.
    qDebug("The end of the session is refused");
    *result = FALSE;
    return true;
}
