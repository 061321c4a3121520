#pragma once

#include <memory>
#include <optional>

#include <QMap>
#include <QObject>
#include <QTemporaryDir>
#include <QTimer>

#include "benchoptions.h"
#include "faults.h"
#include "simulatedpair.h"
#include "verdict.h"

class EventLog;
class MainWindow;
class UserDriver;

/// The updater at work on the simulated computer. Driven by itself, it updates both devices; where a fault
/// was asked for, it checks that the update ends as it should, plugs the device in again and updates once
/// more. GUI thread.
class BenchRun : public QObject
{
    Q_OBJECT

public:
    BenchRun(const BenchOptions& benchOptions, EventLog& eventLog);
    ~BenchRun() override;

    /// Makes the archive, unless one was given, the computer and the updater's window.
    /// @return false, with the reason logged, where there is no usable archive.
    [[nodiscard]] bool prepare();

    /// Begins to drive; finished() tells the end.
    void drive();

    SimulatedPair& computer() { return *pair; }
    MainWindow& updater() { return *window; }

    /// The feature-report transfers of the last update.
    int transfers(DeviceType type) { return pair->device(type).transfers().count; }

Q_SIGNALS:
    /// @param exitCode  0 where everything ended as expected, otherwise 1.
    void finished(int exitCode);

private:
    bool prepareArchive();
    void preparePair();
    void startUpdater();
    void beginUpdate();
    void endUpdate(const QMap<DeviceType, int>& errors, const QString& report);
    void tryAgain(bool isUpdaterUsable);
    void finish(int exitCode);

    bool isAsExpected(DeviceType type, int errorCode) const;
    bool areTextsAsExpected(const QMap<DeviceType, int>& errors, const QString& report) const;
    bool isWaitInVain(DeviceType type);
    void reportTimes() const;
    void letEverybodyHear();

    const BenchOptions options;
    EventLog& log;
    QTemporaryDir folder;
    QString archivePath;
    QMap<DeviceType, QByteArray> images;
    std::unique_ptr<SimulatedPair> pair;
    std::unique_ptr<MainWindow> window;
    std::unique_ptr<UserDriver> driver;
    QMap<DeviceType, std::shared_ptr<Verdict>> verdicts;
    std::optional<Fault> fault; ///< of the first update; nothing in the second
    DeviceType faultyType = DeviceType::Headset;
    bool isRepairing = false;
    QTimer timeLimit;
};
