#pragma once

#include <functional>

#include <QElapsedTimer>
#include <QMap>
#include <QObject>
#include <QSet>
#include <QTimer>

#include "deviceinstance.h"
#include "photographer.h"

class EventLog;
class FirmwareUpdater;
class FlashingDialog;
class InfoScreen;
class MainWindow;
class QMessageBox;

/// Uses the updater as a user would, by its widgets: waits for both devices, presses Update, answers the
/// questions, follows the progress bars, closes the dialog, and reports how the run ended. GUI thread.
class UserDriver : public QObject
{
    Q_OBJECT

public:
    UserDriver(MainWindow& mainWindow, EventLog& eventLog, ScreenHandler screenHandler);

    /// Looks at the screen every @p intervalMs milliseconds from now on.
    void start(int intervalMs);

    /// Presses Back on the failure report and goes on to the next update.
    void tryAgain();

    /// Where @p inVain says so, the 30 s that an updater waits for its device are over at once; for virtual
    /// time.
    void setIsWaitInVain(std::function<bool(DeviceType)> inVain) { isWaitInVain = std::move(inVain); }

    /// From a device's announced progress range to the report of its end, in milliseconds.
    QMap<DeviceType, qint64> programmingTimesMs() const { return programmingTimes; }

    /// From the first announced progress range to the last report, in milliseconds.
    qint64 runTimeMs() const { return runTime; }

    /// What the dialog said of each device at the end of the run.
    QMap<DeviceType, QString> resultTexts() const { return results; }

    /// Whether a device's progress bar was full at the end of the run.
    bool isBarFull(DeviceType type) const { return fullBars.contains(type); }

Q_SIGNALS:
    /// Update is about to be pressed.
    void updateRequested();
    /// The pairing instructions are shown.
    void succeeded();
    /// The failure report is shown, with the error codes by device and the text on the screen.
    void failed(const QMap<DeviceType, int>& errors, const QString& text);

private:
    void look();
    void answer(QMessageBox& box);
    void follow(FlashingDialog& dialog);
    void watchUpdaters(const FlashingDialog& dialog);
    void noteResult(const FlashingDialog& dialog, DeviceType type);
    void watchUpdater(FirmwareUpdater* updater, DeviceType type);
    void endVainWaits();
    void lookAtInfoScreen(const InfoScreen& screen);
    void lookAtMainPage();

    MainWindow& window;
    EventLog& log;
    const ScreenHandler onScreen;
    QTimer timer;
    std::function<bool(DeviceType)> isWaitInVain;
    bool isUpdateRequested = false;
    bool isRunReported = false;
    QMap<FirmwareUpdater*, DeviceType> watchedUpdaters; ///< of the dialog that is open
    QMap<DeviceType, int> errors;
    QMap<DeviceType, QString> results;
    QSet<DeviceType> fullBars;
    QElapsedTimer runTimer;
    qint64 runTime = 0;
    QMap<DeviceType, qint64> programmingTimes;
};
