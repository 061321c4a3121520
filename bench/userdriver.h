#pragma once

#include <functional>
#include <vector>

#include <QMap>
#include <QObject>
#include <QTimer>

#include "deviceinstance.h"

class FlashingDialog;
class MainWindow;
class QMessageBox;
class QWidget;

/// The outcome of an update, as the user sees it.
struct Outcome
{
    struct Device
    {
        int errorCode = 0;
        QString text; ///< result that the dialog shows for the device
        bool isBarFull = false;
    };
    QMap<DeviceType, Device> devices; ///< the devices that took part
    QString report;                   ///< the failure report; empty if the pairing instructions are shown
};

/// A screen of the updater, and what the user does on the screen during a tour.
struct Stop
{
    const char* name;                 ///< name of the screen's picture; null if no picture is taken
    std::function<QWidget*()> screen; ///< returns null as long as the screen is not shown
    std::function<void()> act;
};

/// Uses the updater's widgets as a user would: waits for both devices, presses Update, answers the questions,
/// follows the progress bars, closes the dialog, and reports how the update ended. GUI thread.
class UserDriver : public QObject
{
    Q_OBJECT

public:
    explicit UserDriver(MainWindow& mainWindow);

    /// Looks at the screen every @p intervalMs milliseconds from now on.
    void start(int intervalMs) { timer.start(intervalMs); }

    /// Makes the driver take a tour through @p tourStops instead of making an update. Emits tourEnded() at
    /// the end.
    void takeTour(std::vector<Stop> tourStops) { tour = std::move(tourStops); }

    /// Presses Back on the failure report. The driver then makes the next update.
    void tryAgain();

    // The stops of a tour use these functions.

    MainWindow& updater() const { return window; }
    static QMessageBox* messageBox();
    bool isStartScreen() const; ///< false while a dialog is in front of the start screen
    /// The main page. Null if another screen is shown, if a dialog is in front, or if devices
    /// are being identified.
    QWidget* mainPage() const;
    void pressUpdate();

Q_SIGNALS:
    /// Reports an event as a line for the log.
    void happened(const QString& event);
    /// Reports that @p screen is shown. The driver may report a screen several times.
    void screenSeen(const QString& name, QWidget* screen);
    /// Emitted just before the driver presses Update.
    void updateRequested();
    /// Emitted when the pairing instructions or the failure report are shown.
    void ended(const Outcome& outcome);
    void tourEnded();

private:
    void look();
    void followTour();
    void update();
    void answer(QMessageBox& box);
    void requestUpdate();
    void follow(FlashingDialog& dialog);
    void noteResult(const FlashingDialog& dialog, DeviceType type);
    void end(bool isFailed);

    MainWindow& window;
    std::vector<Stop> tour;  ///< the tour's stops; empty if the driver makes updates
    std::size_t reached = 0; ///< number of stops visited so far
    QTimer timer;
    bool isUpdating = false; ///< true from the press on Update until ended() is emitted
    Outcome outcome;         ///< outcome of the latest update
};
