#pragma once

#include <windows.h>

#include <QAbstractNativeEventFilter>
#include <QString>

/// While an object lives, neither the computer nor its display goes to sleep by itself, and a request to end
/// the user's session is refused. The user can still insist, and then the session ends.
///
/// Use an object on the GUI thread. If a call to the system fails in the constructor, the failure is logged
/// and otherwise ignored.
class KeepAwake : private QAbstractNativeEventFilter
{
public:
    /// @param mainWindow  the program's main window; it must outlive the object.
    /// @param reason      the text that the system shows to a user who wants to end the session.
    KeepAwake(HWND mainWindow, const QString& reason);

    /// Restores the thread's earlier execution state, and no longer refuses to end the session.
    ~KeepAwake() override;

private:
    bool nativeEventFilter(const QByteArray& eventType, void* message, long* result) override;

    const HWND window;
    const EXECUTION_STATE previousState; ///< 0 if the constructor could not change the state
    const bool hasReason;
};
