#pragma once

#include <functional>
#include <future>
#include <memory>
#include <mutex>

#include <QMap>
#include <QObject>
#include <QSet>
#include <QTemporaryDir>
#include <QTimer>

#include "benchoptions.h"
#include "judge.h"

class KernelComputer;
class MainWindow;

/// Runs the updater on the simulated computer. When it drives itself it updates both devices. After an update
/// with a fault it checks the outcome, plugs the device in again and updates once more. GUI thread.
class BenchRun : public QObject
{
    Q_OBJECT

public:
    BenchRun(const BenchOptions& benchOptions, EventLog& eventLog);
    ~BenchRun() override;

    /// Makes the archive, unless one was given, the computer and the updater's window.
    /// @return false, with the reason logged, if the archive or the bus is not usable.
    [[nodiscard]] bool prepare();

    /// Starts to drive; finished() reports the end.
    void drive();

    SimulatedDevice& device(DeviceType type) { return pair->device(type); }
    /// Lets time run @p speed times as fast as real time; without effect on virtual time. Any thread.
    void setSpeed(double speed) { scaledClock.setSpeed(speed); }
    MainWindow& updater() { return *window; }
    /// The outcome of the update with the fault.
    struct FaultOutcome
    {
        QString phase; ///< in which the fault struck; empty if it met no transfer
        int errorCode = 0;
        QString exception; ///< as Judge::exception()
    };
    const FaultOutcome& faultOutcome() const { return outcomeOfFault; }

    /// Writes an archive at @p path whose images fit the devices' memories.
    [[nodiscard]] bool makeArchive(const QString& path, int generation, const QString& version) const;

Q_SIGNALS:
    /// On the tour of the screens: each screen once, laid out.
    void screenSeen(const QString& name, QWidget* screen);
    /// @param exitCode  0 if everything ended as expected, otherwise 1.
    void finished(int exitCode);

private:
    bool prepareArchive();
    void preparePair();
    void startUpdater();
    void takeTour();
    void makeDriver();
    void driveUpdater();
    void seeScreen(const QString& name, QWidget* screen);
    void prepareUpdate();
    void endUpdate(const Outcome& outcome);
    void tryAgain(bool isUpdaterUsable);
    void updateAgain();
    void endVainWaits();
    void noteSleep(std::uint32_t ms);
    void letGuiHandleEvents();

    const BenchOptions options;
    const bool isHurried; ///< time runs faster than real time
    const int lookIntervalMs;
    std::optional<Fault> fault; ///< of the next update; the repair has none
    FaultOutcome outcomeOfFault;
    EventLog& log;
    const std::function<void(const std::string&)> logLine; ///< any thread
    QTemporaryDir folder;
    QString archivePath;
    QMap<DeviceType, std::vector<std::uint8_t>> images; ///< of the first archive; empty if it has none
    VirtualClock virtualClock;
    ScaledClock scaledClock;
    SimulatedMachine machine;
    std::unique_ptr<KernelComputer> kernelComputer; ///< null: the computer is the simulated one
    ScopedMachine scope;
    std::mutex removalMutex;
    std::shared_future<void> removal; ///< the last orderly one, guarded by `removalMutex`
    std::unique_ptr<Judge> judge;     ///< outlives the pair, whose threads sleep
    std::unique_ptr<SimulatedPair> pair;
    std::unique_ptr<MainWindow> window;
    std::unique_ptr<UserDriver> driver;
    QSet<QString> seenScreens;
    QTimer vainWaits; ///< polls for them
};
