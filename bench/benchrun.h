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

/// Runs the updater with two simulated devices. drive() updates both devices as a user would and checks the
/// outcome. After an update with a fault, drive() also plugs the faulty device in again and makes another
/// update. GUI thread.
class BenchRun : public QObject
{
    Q_OBJECT

public:
    BenchRun(const BenchOptions& benchOptions, EventLog& eventLog);
    ~BenchRun() override;

    /// Makes the archive, the devices and the updater's window. On failure, logs the reason.
    /// @return false if the archive cannot be written, or if `onKernelBus` is set and the kernel
    /// accepts no devices.
    [[nodiscard]] bool prepare();

    /// Uses the updater as a user would, and checks the outcome.
    /// @return 0 if everything ended as expected, otherwise 1.
    [[nodiscard]] int drive();

    SimulatedDevice& device(DeviceType type) { return pair->device(type); }
    /// Makes time run @p speed times as fast as real time. Has no effect on virtual time. Any thread may
    /// call this function.
    void setSpeed(double speed) { scaledClock.setSpeed(speed); }
    MainWindow& updater() { return *window; }
    /// The outcome of the update for which a fault was armed.
    struct FaultOutcome
    {
        QString phase; ///< phase in which the fault struck; empty if it did not strike
        int errorCode = 0;
        QString exception; ///< see Judge::exception()
    };
    const FaultOutcome& faultOutcome() const { return outcomeOfFault; }

    /// Writes a sample archive that exists as long as this object.
    /// @return the archive's path. If the archive cannot be written, logs the failure and returns an empty
    /// path.
    [[nodiscard]] QString makeArchive(int generation, const QString& version) const;

Q_SIGNALS:
    /// If the options ask for a tour, emitted once for each screen, after the layout of the screen is done.
    void screenSeen(const QString& name, QWidget* screen);
    void finished(int exitCode); ///< makes drive() return @p exitCode

private:
    std::vector<std::uint8_t> imageOf(DeviceType type, int generation, const QString& version) const;
    void preparePair();
    void startUpdater();
    void takeTour();
    void makeDriver();
    void seeScreen(const QString& name, QWidget* screen);
    void prepareUpdate();
    void endUpdate(const Outcome& outcome);
    void tryAgain(bool isUpdaterUsable);
    void updateAgain();
    void endVainWaits();
    void noteSleep(std::uint32_t ms);
    void letGuiHandleEvents();

    const BenchOptions options;
    const bool isHurried; ///< whether time runs faster than real time
    const int lookIntervalMs;
    Fault fault; ///< fault to arm for the next update; `None` if that update repairs the device
    FaultOutcome outcomeOfFault;
    EventLog& log;
    const std::function<void(const std::string&)> logLine; ///< any thread may call it
    const QTemporaryDir folder;
    QString archivePath; ///< path of the archive that the updater loads first
    const QMap<DeviceType, std::vector<std::uint8_t>> images; ///< the images in the archive at `archivePath`
    VirtualClock virtualClock;
    ScaledClock scaledClock;
    SimulatedMachine machine;
    std::unique_ptr<KernelComputer> kernelComputer; ///< null unless the devices are plugged into the kernel
    ScopedMachine scope;
    std::mutex removalMutex;
    std::shared_future<void> removal; ///< the latest orderly removal; guarded by `removalMutex`
    std::unique_ptr<Judge> judge;     ///< outlives the pair, whose threads report their sleeps to the judge
    std::unique_ptr<SimulatedPair> pair;
    std::unique_ptr<MainWindow> window;
    std::unique_ptr<UserDriver> driver;
    QSet<QString> seenScreens;
    QTimer vainWaits; ///< calls endVainWaits() regularly
};
