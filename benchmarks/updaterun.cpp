// A whole update of the simulated pair by the real window, for the programs with the rows; it prints what it
// measured as lines of a name and a figure.
//
//     updaterun update ARCHIVE SPEED IDLE_SECONDS
//     updaterun empty ARCHIVE
//
// The second form is what the first one's memory is compared with: an empty window, the same simulation, and
// the archive's images once.

#include <chrono>
#include <cstdio>
#include <fstream>
#include <iostream>
#include <memory>
#include <string>

#include <malloc.h>

#include <QApplication>
#include <QMainWindow>
#include <QTimer>

#include "archivebuilder.h"
#include "eventlog.h"
#include "mainwindow.h"
#include "simulatedpair.h"
#include "userdriver.h"
#include "verdict.h"

namespace {

constexpr DeviceType bothTypes[] = {DeviceType::Transmitter, DeviceType::Headset};
constexpr int failure = 1;
constexpr int lookIntervalMs = 20;

void print(const std::string& name, double figure)
{
    std::cout << name << ' ' << figure << std::endl;
}

void printPeakMemory()
{
    std::ifstream status("/proc/self/status");
    for (std::string name; status >> name;) {
        double kib = 0;
        if (name == "VmHWM:" && status >> kib)
            print("peak-kib", kib);
    }
}

/// Tells how long the GUI thread leaves a timer of 5 ms waiting. What it waits for a processor does not
/// count: that is other programs' doing.
class StallProbe : public QObject
{
public:
    StallProbe()
    {
        timer.setTimerType(Qt::PreciseTimer);
        connect(&timer, &QTimer::timeout, this, &StallProbe::tick);
    }

    void start()
    {
        longestMs = 0;
        last = now();
        timer.start(intervalMs);
    }

    double longest() const { return longestMs; }

private:
    struct Moment
    {
        std::chrono::steady_clock::time_point time;
        double waitedMs; ///< for a processor, since the thread's start
    };

    static constexpr int intervalMs = 5;

    static Moment now()
    {
        constexpr double nsPerMs = 1e6;
        std::ifstream statistics("/proc/thread-self/schedstat");
        double ranNs = 0;
        double waitedNs = 0;
        statistics >> ranNs >> waitedNs;
        return {std::chrono::steady_clock::now(), waitedNs / nsPerMs};
    }

    void tick()
    {
        const Moment moment = now();
        const std::chrono::duration<double, std::milli> gap = moment.time - last.time;
        longestMs = std::max(longestMs, gap.count() - (moment.waitedMs - last.waitedMs));
        last = moment;
    }

    QTimer timer;
    Moment last;
    double longestMs = 0;
};

/// A pair for the sample archive with images of @p imageBytes.
SimulatedPair::Setup pairFor(int imageBytes)
{
    ImageOptions transmitter = ImageBuilder::transmitter();
    ImageOptions headset = ImageBuilder::headset();
    transmitter.size = headset.size = imageBytes;
    SimulatedPair::Setup setup;
    setup.transmitterImage = ImageBuilder::build(transmitter);
    setup.headsetImage = ImageBuilder::build(headset);
    return setup;
}

int runEmpty(int imageBytes)
{
    const SimulatedPair::Setup setup = pairFor(imageBytes);
    SimulatedMachine machine(nullptr);
    const ScopedMachine scope(machine);
    const SimulatedPair pair(machine, setup);
    QByteArray images[] = {toByteArray(setup.transmitterImage), toByteArray(setup.headsetImage)};
    for (QByteArray& image : images)
        image.detach();
    QMainWindow window;
    window.resize(480, 480);
    window.show();
    QTimer::singleShot(500, qApp, &QCoreApplication::quit);
    QApplication::exec();
    printPeakMemory();
    return 0;
}

/// The updater with both devices plugged in, and its user.
class Update : public QObject
{
public:
    Update(int imageBytes, const QString& archivePath, double speed)
        : setup(pairFor(imageBytes))
        , clock(speed)
    {
        log.setQuiet(true);
        pair.plugIn();
        window = std::make_unique<MainWindow>();
        window->setFirmwareFilePath(archivePath);
        window->show();
        driver = std::make_unique<UserDriver>(*window, log, [](const QString&, QWidget&) {});
        connect(driver.get(), &UserDriver::updateRequested, this, &Update::begin);
        connect(driver.get(), &UserDriver::succeeded, this, &Update::succeed);
        connect(driver.get(), &UserDriver::failed, this, [] { QCoreApplication::exit(failure); });
    }

    int run(int idleSeconds)
    {
        constexpr int settlingMs = 5000; // until both devices are identified
        constexpr int msPerSecond = 1000;
        QTimer::singleShot(settlingMs, this, [this] { probe.start(); });
        QTimer::singleShot(settlingMs + idleSeconds * msPerSecond, this, [this] {
            print("idle-ms", probe.longest());
            driver->start(lookIntervalMs);
        });
        return QApplication::exec();
    }

private:
    void begin() { probe.start(); }

    void succeed()
    {
        // The pairing instructions are not painted yet.
        QTimer::singleShot(lookIntervalMs, this, [this] {
            print("stall-ms", probe.longest());
            printPeakMemory();
            printOutcome();
            QCoreApplication::quit();
        });
    }

    void printOutcome()
    {
        const auto times = driver->programmingTimesMs();
        for (const DeviceType type : bothTypes) {
            if (!times.contains(type))
                continue;
            const std::string name = type == DeviceType::Transmitter ? "transmitter" : "headset";
            const QByteArray image =
                toByteArray(type == DeviceType::Transmitter ? setup.transmitterImage : setup.headsetImage);
            const Verdict verdict(type, pair.device(type), image);
            print(name + "-equal", verdict.isEqual());
            print(name + "-ms", static_cast<double>(times.value(type)));
            print(name + "-prescribed-ms", static_cast<double>(verdict.prescribedDelaysMs()));
        }
        print("run-ms", static_cast<double>(driver->runTimeMs()));
    }

    const SimulatedPair::Setup setup;
    ScaledClock clock;
    SimulatedMachine machine{&clock};
    const ScopedMachine scope{machine};
    SimulatedPair pair{machine, setup};
    EventLog log;
    StallProbe probe;
    std::unique_ptr<MainWindow> window;
    std::unique_ptr<UserDriver> driver;
};

} // namespace

int main(int argc, char* argv[])
{
    // Otherwise the blocks that the simulation frees would decide where the updater's come from.
    mallopt(M_MMAP_THRESHOLD, 128 * 1024);
    qInstallMessageHandler([](QtMsgType, const QMessageLogContext&, const QString&) {});
    const QApplication application(argc, argv);
    const QStringList arguments = QCoreApplication::arguments();
    if (arguments.size() == 3 && arguments[1] == QLatin1String("empty"))
        return runEmpty(arguments[2].toInt());
    if (arguments.size() == 6 && arguments[1] == QLatin1String("update"))
        return Update(arguments[2].toInt(), arguments[3], arguments[4].toDouble()).run(arguments[5].toInt());
    return 2;
}
