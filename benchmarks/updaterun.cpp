// Runs the updater once, for the benchmarks of the whole program. Each line of the output is a name
// and a figure.
//
//     updaterun update IMAGE_BYTES ARCHIVE SPEED IDLE_SECONDS
//         updates both devices of a simulated pair
//     updaterun start ARCHIVE
//         starts the updater, and ends when the updater's window is painted
//     updaterun empty IMAGE_BYTES
//         shows an empty window, and ends when the window is painted; for a fair comparison of memory, the
//         process also holds the simulated devices and both images

#include <chrono>
#include <fstream>
#include <iostream>
#include <memory>
#include <utility>

#include <malloc.h>

#include <QApplication>
#include <QMainWindow>
#include <QTimer>
#include <QTranslator>

#include "archivebuilder.h"
#include "mainwindow.h"
#include "simulatedpair.h"
#include "startup.h"
#include "userdriver.h"
#include "verdict.h"

namespace {

constexpr int failure = 1;
constexpr int lookIntervalMs = 20;
constexpr QSize windowSize(479, 479);

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

/// Measures the longest stall of the GUI thread: the longest time between two events of a 5 ms timer. Time in
/// which the thread waits for a processor does not count, because other programs cause such waits.
class StallProbe : public QObject
{
public:
    void start()
    {
        longestMs = 0;
        lastMs = now();
        timer.start(5, Qt::PreciseTimer, this);
    }

    double longest() const { return longestMs; }

private:
    /// @return the current time in ms, minus the total time that the calling thread has waited
    /// for a processor.
    static double now()
    {
        std::ifstream statistics("/proc/thread-self/schedstat");
        double ranNs = 0;
        double waitedNs = 0;
        statistics >> ranNs >> waitedNs;
        const auto time = std::chrono::steady_clock::now().time_since_epoch();
        return std::chrono::duration<double, std::milli>(time).count() - waitedNs / 1e6;
    }

    void timerEvent(QTimerEvent*) override
    {
        const double nowMs = now();
        longestMs = std::max(longestMs, nowMs - std::exchange(lastMs, nowMs));
    }

    QBasicTimer timer;
    double lastMs = 0;
    double longestMs = 0;
};

SimulatedPair::Setup pairFor(std::size_t imageBytes)
{
    SimulatedPair::Setup setup;
    setup.transmitterImage = ImageBuilder::build(ImageBuilder::transmitter(1, imageBytes));
    setup.headsetImage = ImageBuilder::build(ImageBuilder::headset(imageBytes));
    return setup;
}

/// Ends the program when the window and all its widgets have been painted.
class PaintProbe : public QObject
{
public:
    bool eventFilter(QObject*, QEvent* event) override
    {
        if (event->type() == QEvent::Paint)
            QTimer::singleShot(0, qApp, &QCoreApplication::quit);
        return false;
    }
};

[[noreturn]] void showUntilPainted(QMainWindow& window)
{
    PaintProbe probe;
    window.installEventFilter(&probe);
    window.show();
    QApplication::exec();
    printPeakMemory();
    std::_Exit(0);
}

[[noreturn]] void startUpdater(const QString& archivePath)
{
    QTranslator translator;
    Startup::installTranslator(translator, QStringLiteral("tessalinefirmwareupdater_"));
    MainWindow window;
    window.setFirmwareFilePath(archivePath);
    showUntilPainted(window);
}

[[noreturn]] void startEmptyWindow(std::size_t imageBytes)
{
    const SimulatedPair::Setup setup = pairFor(imageBytes);
    SimulatedMachine machine(nullptr);
    const ScopedMachine scope(machine);
    const SimulatedPair pair(machine, setup);
    const QByteArray images[] = {toByteArray(setup.transmitterImage), toByteArray(setup.headsetImage)};
    QMainWindow window;
    window.setFixedSize(windowSize);
    showUntilPainted(window);
}

/// Runs the updater with both devices plugged in and a simulated user.
class Update : public QObject
{
public:
    Update(std::size_t imageBytes, const QString& archivePath, double speed)
        : setup(pairFor(imageBytes))
        , clock(speed)
    {
        pair.device(DeviceType::Transmitter).onPhase = [this](Phase phase) { notePhase(phase); };
        pair.plugIn();
        window.setFirmwareFilePath(archivePath);
        window.show();
        connect(&driver, &UserDriver::updateRequested, this, [this] { probe.start(); });
        // The delay leaves time to paint the pairing instructions.
        connect(&driver, &UserDriver::ended, this, [this](const Outcome& outcome) {
            QTimer::singleShot(lookIntervalMs, this, [this, outcome] { finish(outcome); });
        });
    }

    int run(int idleSeconds)
    {
        constexpr int settlingMs = 5000; // long enough to identify both devices
        QTimer::singleShot(settlingMs, this, [this] { probe.start(); });
        QTimer::singleShot(settlingMs + idleSeconds * 1000, this, [this] {
            print("idle-ms", probe.longest());
            driver.start(lookIntervalMs);
        });
        return QApplication::exec();
    }

private:
    /// Measures how long the programming of the transmitter takes. Called on the thread that programs it.
    void notePhase(Phase phase)
    {
        const auto now = std::chrono::steady_clock::now();
        if (phase == Phase::Configure)
            configured = now;
        else if (phase == Phase::FinalWait)
            programming = now - configured;
    }

    void finish(const Outcome& outcome)
    {
        print("stall-ms", probe.longest());
        printPeakMemory();
        print("programming-ms", programming.count());
        print("delays-ms", static_cast<double>(Verdict::programmingDelaysMs(DeviceType::Transmitter,
                                                                            setup.transmitterImage)));
        bool areEqual = outcome.report.isEmpty();
        for (const DeviceType type : outcome.devices.keys()) {
            const auto& image = type == DeviceType::Transmitter ? setup.transmitterImage : setup.headsetImage;
            areEqual = areEqual && !Verdict::firstDifference(pair.device(type).memory(), image);
        }
        QCoreApplication::exit(areEqual ? 0 : failure);
    }

    const SimulatedPair::Setup setup;
    std::chrono::steady_clock::time_point configured;
    std::chrono::duration<double, std::milli> programming{};
    ScaledClock clock;
    SimulatedMachine machine{&clock};
    const ScopedMachine scope{machine};
    SimulatedPair pair{machine, setup};
    StallProbe probe;
    MainWindow window;
    UserDriver driver{window};
};

} // namespace

int main(int argc, char* argv[])
{
    // Makes malloc return large blocks to the system as soon as they are freed. Otherwise the measured peak
    // would contain memory that the simulation has already freed.
    mallopt(M_MMAP_THRESHOLD, 128 * 1024);
    qInstallMessageHandler([](QtMsgType, const QMessageLogContext&, const QString&) {});
    Startup::enableHighDpiScaling();
    const QApplication application(argc, argv);
    const QStringList arguments = QCoreApplication::arguments();
    const QString mode = arguments.value(1);
    if (mode == QLatin1String("start"))
        startUpdater(arguments.value(2));
    if (mode == QLatin1String("empty"))
        startEmptyWindow(arguments.value(2).toUInt());
    if (mode == QLatin1String("update"))
        return Update(arguments.value(2).toUInt(), arguments.value(3), arguments.value(4).toDouble())
            .run(arguments.value(5).toInt());
    return 2;
}
