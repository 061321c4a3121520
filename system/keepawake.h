#pragma once

#include <windows.h>

#include <QAbstractNativeEventFilter>
#include <QString>

/// While an object lives, neither the computer nor its display goes to sleep by itself, and a request to end
/// the user's session is refused. The user can still insist, and then the session ends.
///
/// To be used on the GUI thread. What the system does not grant is logged and passed over.
class KeepAwake : private QAbstractNativeEventFilter
{
public:
    /// @param mainWindow  the program's; it has to outlive the object.
    /// @param reason      what the system tells a user who wants to end the session.
    KeepAwake(HWND mainWindow, const QString& reason);

    /// Gives back what the constructor took.
    ~KeepAwake() override;

private:
    bool nativeEventFilter(const QByteArray& eventType, void* message, long* result) override;

    const HWND window;
    const EXECUTION_STATE previousState; ///< 0 where the present one could not be set
    const bool hasReason;
};
