#pragma once

#include <memory>

#include <QAbstractEventDispatcher>
#include <QProgressBar>
#include <QTemporaryDir>

#include "attempt.h"
#include "flashingdialog.h"
#include "literals.h"
#include "pairedcomputer.h"
#include "simulatedaudioendpoints.h"
#include "user.h"

constexpr std::uint32_t sectorEraseMs = 4000;
constexpr EXECUTION_STATE requiredBefore = ES_DISPLAY_REQUIRED; ///< state of the GUI thread before the update

inline bool canSessionEnd()
{
    MSG query = {};
    query.message = WM_QUERYENDSESSION;
    long answer = TRUE;
    QAbstractEventDispatcher::instance()->filterNativeEvent("windows_generic_MSG", &query, &answer);
    return answer != FALSE;
}

/// A computer with both devices plugged in, and a flashing dialog with its parent window. The dialog updates
/// the devices whose letters ("T", "H") the constructor gets.
struct Run : PairedComputer
{
    explicit Run(const QByteArray& letters)
        : dialog(std::make_unique<FlashingDialog>(&window))
    {
        pair.plugIn();
        SetThreadExecutionState(ES_CONTINUOUS | requiredBefore);
        for (const DeviceType type : bothTypes) {
            if (letters.contains(type == Transmitter ? 'T' : 'H'))
                dialog->addDeviceToUpdate(instance(type), images[type], type);
        }
    }

    ~Run() { gate.open(); } // the dialog waits for the threads that the gate holds

    DeviceInstance instance(DeviceType type) { return recordOf(pair.channelPath(type)); }

    /// Asks the dialog to close, by the X of its window or by Escape.
    void ask(bool byX)
    {
        if (byX)
            dialog->close();
        else
            QTest::keyClick(dialog.get(), Qt::Key_Escape);
    }

    /// Starts the update of devices that do not come back after their restart, and waits until the dialog has
    /// @p deviceCount updaters.
    void startInVain(int deviceCount)
    {
        for (const DeviceType type : bothTypes)
            pair.device(type).setFault(Fault::NeverBack, 1);
        dialog->start();
        TRY_COMPARE(updaters().size(), deviceCount);
    }

    QList<FirmwareUpdater*> updaters() const
    {
        return dialog->findChildren<FirmwareUpdater*>(QString(), Qt::FindDirectChildrenOnly);
    }

    template <typename Widget = QLabel>
    Widget* of(DeviceType type, const char* role) const
    {
        return find<Widget>(*dialog, QByteArray(type == Transmitter ? "transmitter" : "headset") + role);
    }
    QString result(DeviceType type) const { return of(type, "InfoLabel")->text(); }
    QProgressBar* bar(DeviceType type) const { return of<QProgressBar>(type, "ProgressBar"); }
    QPushButton* closeButton() const { return find<QPushButton>(*dialog, "closeButton"); }

    bool areEndpointsRestored() { return machine.audioEndpoints().defaultsSet().size() == 6; }
    /// Whether the computer is kept awake, and a user who wants to end the session sees the reason.
    bool isAwake()
    {
        const SimulatedSession& session = machine.session();
        return session.required() == (ES_SYSTEM_REQUIRED | ES_DISPLAY_REQUIRED) && !canSessionEnd() &&
               session.blockReason(HWND(window.winId())) == L"Do not disconnect devices during update.";
    }
    bool isAtRest()
    {
        const SimulatedSession& session = machine.session();
        return session.required() == requiredBefore && canSessionEnd() &&
               session.blockReason(HWND(window.winId())).empty() && areEndpointsRestored();
    }

    /// @return how many updaters were destroyed while the audio service ran, the endpoints were restored, and
    /// isAwake() returned the same as before the call.
    int destroyDialog()
    {
        const bool wasAwake = isAwake();
        int orderly = 0;
        for (FirmwareUpdater* updater : updaters()) {
            QObject::connect(updater, &QObject::destroyed, &window, [&] {
                if (audioServiceState() == SERVICE_RUNNING && areEndpointsRestored() && isAwake() == wasAwake)
                    ++orderly;
            });
        }
        dialog.reset();
        return orderly;
    }

    const QTemporaryDir folder;
    QWidget window;
    std::unique_ptr<FlashingDialog> dialog;
};
