#pragma once

#include <memory>

#include <QMap>
#include <QObject>
#include <QSet>
#include <QTemporaryDir>
#include <QTimer>

#include "benchoptions.h"
#include "judge.h"
#include "photographer.h"
#include "simulatedpair.h"

class EventLog;
class KernelComputer;
class MainWindow;
class ScreenTour;
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

    /// Hands every screen, once by its name, to @p screenHandler. Before driving an update, it then takes a
    /// tour through the screens that an update does not come past. To be called before prepare().
    void setScreenHandler(ScreenHandler screenHandler) { onScreen = std::move(screenHandler); }

    /// Makes the archive, unless one was given, the computer and the updater's window.
    /// @return false, with the reason logged, where there is no usable archive.
    [[nodiscard]] bool prepare();

    /// Begins to drive; finished() tells the end.
    void drive();

    const BenchOptions& settings() const { return options; }
    SimulatedDevice& device(DeviceType type) { return pair->device(type); }
    /// Lets time run @p speed times as fast as on the wall; virtual time knows no speed. Any thread.
    void setSpeed(double speed) { scaledClock.setSpeed(speed); }
    MainWindow& updater() { return *window; }

    /// The image that the archive in the updater has for a device; empty where it has none.
    QByteArray image(DeviceType type) const;

    /// Writes an archive at @p path whose images fit the devices' memories.
    [[nodiscard]] bool makeArchive(const QString& path, int generation, const QString& version) const;

Q_SIGNALS:
    /// @param exitCode  0 where everything ended as expected, otherwise 1.
    void finished(int exitCode);

private:
    std::function<void(const std::string&)> logLine();
    bool prepareArchive();
    void preparePair();
    void plugInAndStart();
    void startUpdater();
    void takeTour();
    void driveUpdater();
    void show(const QString& name, QWidget& screen);
    void beginUpdate();
    void endUpdate(const QMap<DeviceType, int>& errors, const QString& report);
    void tryAgain(bool isUpdaterUsable);
    void finish(int exitCode);

    qint64 protocolDelaysMs(DeviceType type) const;
    bool isWaitInVain(DeviceType type);
    void reportTimes() const;
    void letEverybodyHear();

    const BenchOptions options;
    EventLog& log;
    QTemporaryDir folder;
    QString archivePath;
    QMap<DeviceType, QByteArray> images;
    VirtualClock virtualClock;
    ScaledClock scaledClock;
    SimulatedMachine machine;
    std::unique_ptr<KernelComputer> kernelComputer; ///< null where the computer is the simulated one
    ScopedMachine scope;
    ProgrammingTimes times;
    std::unique_ptr<SimulatedPair> pair;
    std::unique_ptr<Judge> judge;
    std::unique_ptr<MainWindow> window;
    std::unique_ptr<UserDriver> driver;
    std::unique_ptr<ScreenTour> tour;
    ScreenHandler onScreen;
    QSet<QString> shown;      ///< names of screens
    bool isRepairing = false; ///< the second update, after a fault in the first
    QTimer timeLimit;
};
