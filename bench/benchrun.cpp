#include "benchrun.h"

#include <future>

#include <QCoreApplication>
#include <QEventLoop>
#include <QThread>

#include "archivebuilder.h"
#include "eventlog.h"
#include "firmwareupdater.h"
#include "kernelcomputer.h"
#include "mainwindow.h"
#include "screentour.h"
#include "verdict.h"

namespace {

constexpr int unexpected = 1;
constexpr DeviceType bothTypes[] = {DeviceType::Transmitter, DeviceType::Headset};
constexpr int reenumerationTimeoutMs = 30000; // how long the updater waits for a restarting device

/// The firmware version in the archive that the updater loads first.
QString firstVersion()
{
    return QStringLiteral("1.2.3");
}

} // namespace

BenchRun::BenchRun(const BenchOptions& benchOptions, EventLog& eventLog)
    : options(benchOptions)
    , isHurried(options.fast || options.speed > 1)
    , lookIntervalMs(options.fast ? 1 : 20)
    , fault(options.fault)
    , log(eventLog)
    , logLine([this](const std::string& text) { log.add(QString::fromStdString(text)); })
    , images{{DeviceType::Transmitter, imageOf(DeviceType::Transmitter, options.generation, firstVersion())},
             {DeviceType::Headset, imageOf(DeviceType::Headset, options.generation, firstVersion())}}
    , scaledClock(options.speed)
    , machine(options.fast ? static_cast<Clock*>(&virtualClock) : &scaledClock)
    , kernelComputer(options.onKernelBus ? std::make_unique<KernelComputer>(machine, logLine) : nullptr)
    , scope(kernelComputer ? static_cast<Machine&>(*kernelComputer) : machine)
{
    connect(&vainWaits, &QTimer::timeout, this, &BenchRun::endVainWaits);
}

BenchRun::~BenchRun() = default;

bool BenchRun::prepare()
{
    const std::string obstacle = kernelComputer ? UhidBus::obstacle() : std::string();
    if (!obstacle.empty()) {
        logLine("cannot plug devices into the kernel: " + obstacle);
        return false;
    }
    archivePath = makeArchive(options.generation, firstVersion());
    if (archivePath.isEmpty())
        return false;
    preparePair();
    if (!options.takesTour)
        pair->plugIn();
    startUpdater();
    return true;
}

std::vector<std::uint8_t> BenchRun::imageOf(DeviceType type, int generation, const QString& version) const
{
    ImageOptions image =
        type == DeviceType::Transmitter ? ImageBuilder::transmitter(generation) : ImageBuilder::headset();
    image.size = options.imageBytes;
    image.version = version.toStdString();
    image.seed = qHash(version);
    return ImageBuilder::build(image);
}

QString BenchRun::makeArchive(int generation, const QString& version) const
{
    QString path = folder.filePath(QStringLiteral("vynt-firmware-%1.zip").arg(version));
    const QByteArray notes = "Version " + version.toUtf8() +
                             "\n\n"
                             "- Clearer voice in noisy rooms\n"
                             "- The headset finds its transmitter faster after a pause\n"
                             "- Corrected: a click at the end of a call\n";
    const auto entries = ArchiveBuilder::release(imageOf(DeviceType::Transmitter, generation, version),
                                                 imageOf(DeviceType::Headset, generation, version), notes);
    if (ArchiveBuilder::write(path, entries))
        return path;
    log.add(QStringLiteral("cannot write %1").arg(path));
    return QString();
}

void BenchRun::preparePair()
{
    SimulatedPair::Setup setup;
    setup.generation = options.generation;
    setup.chipId = options.chipId;
    setup.revision = options.revision;
    setup.transmitterImage = images[DeviceType::Transmitter];
    setup.headsetImage = images[DeviceType::Headset];
    setup.report = logLine;
    setup.bus = kernelComputer ? &kernelComputer->bus() : nullptr;
    pair = std::make_unique<SimulatedPair>(machine, setup);
    judge = std::make_unique<Judge>(Judge::Scene{machine, *pair, images, options.fast, log});
    virtualClock.onSleep = [this](std::uint32_t ms) { noteSleep(ms); };
    for (const DeviceType type : bothTypes) {
        SimulatedDevice& device = pair->device(type);
        device.onPhase = [this, type](Phase phase) { judge->notePhase(type, phase); };
        device.onRemovalRequested = [this](const std::shared_future<void>& requested) {
            const std::lock_guard<std::mutex> guard(removalMutex);
            removal = requested;
        };
        if (isHurried)
            device.onVanished = [this] { letGuiHandleEvents(); };
    }
}

void BenchRun::startUpdater()
{
    driver.reset();
    window.reset();
    window = std::make_unique<MainWindow>();
    window->setFirmwareFilePath(archivePath);
    window->show();
}

int BenchRun::drive()
{
    QEventLoop loop;
    connect(this, &BenchRun::finished, &loop, &QEventLoop::exit, Qt::QueuedConnection);
    qint64 longestMs = 160000; // covers no programming yet; the loop adds two programmings per device
    for (const DeviceType type : bothTypes)
        longestMs += 2 * Verdict::programmingDelaysMs(type, images[type]);
    QTimer::singleShot(std::chrono::milliseconds(longestMs), this, [this] {
        log.add(QStringLiteral("verdict: the update timed out"));
        Q_EMIT finished(unexpected);
    });
    if (isHurried)
        vainWaits.start(lookIntervalMs);
    makeDriver();
    if (options.takesTour)
        takeTour();
    return loop.exec();
}

void BenchRun::takeTour()
{
    const QString otherArchive = makeArchive(options.generation == 1 ? 2 : 1, QStringLiteral("2.0.0"));
    if (otherArchive.isEmpty()) {
        Q_EMIT finished(unexpected);
        return;
    }
    driver->takeTour(screenTour(*driver, *pair, archivePath, otherArchive));
    // The connection is queued, because the slot deletes the driver that emits the signal.
    connect(driver.get(), &UserDriver::tourEnded, this, &BenchRun::updateAgain, Qt::QueuedConnection);
}

void BenchRun::seeScreen(const QString& name, QWidget* screen)
{
    if (!options.takesTour || seenScreens.contains(name))
        return;
    seenScreens.insert(name);
    constexpr int layoutsDeep = 3; // each pass handles one level and posts requests to the level around it
    for (int i = 0; i < layoutsDeep; ++i)
        QCoreApplication::sendPostedEvents(nullptr, QEvent::LayoutRequest);
    Q_EMIT screenSeen(name, screen);
}

void BenchRun::makeDriver()
{
    driver = std::make_unique<UserDriver>(*window);
    connect(driver.get(), &UserDriver::happened, &log, &EventLog::add);
    connect(driver.get(), &UserDriver::screenSeen, this, &BenchRun::seeScreen);
    connect(driver.get(), &UserDriver::updateRequested, this, &BenchRun::prepareUpdate);
    connect(driver.get(), &UserDriver::ended, this, &BenchRun::endUpdate);
    driver->start(lookIntervalMs);
}

void BenchRun::prepareUpdate()
{
    for (const DeviceType type : bothTypes)
        pair->device(type).clearFault();
    judge->start(fault, options.faultDevice);
    pair->device(options.faultDevice).setFault(fault, options.faultTransfer);
}

void BenchRun::endUpdate(const Outcome& outcome)
{
    const QStringList complaints = judge->complaints(outcome);
    for (const QString& complaint : complaints)
        log.add(QStringLiteral("verdict: wrong outcome: %1").arg(complaint));
    if (!complaints.isEmpty() || fault == Fault::None) {
        Q_EMIT finished(complaints.isEmpty() ? 0 : unexpected);
        return;
    }
    if (const auto struck = pair->device(options.faultDevice).struckAt())
        outcomeOfFault.phase = QLatin1String(phaseName(struck->phase));
    outcomeOfFault.errorCode = outcome.devices[options.faultDevice].errorCode;
    outcomeOfFault.exception = judge->exception(outcome);
    log.add(
        QStringLiteral("verdict: the outcome is as expected%1")
            .arg(outcomeOfFault.phase.isEmpty() ? QStringLiteral(" (the fault did not strike)") : QString()));
    if (!outcomeOfFault.exception.isEmpty())
        log.add(
            QStringLiteral("verdict: success shown although %1 (documented)").arg(outcomeOfFault.exception));
    // Without a failure report there is no Back button, so tryAgain() must start the updater again.
    tryAgain(!outcome.report.isEmpty());
}

/// Plugs the faulty device in again and makes another update, as a user would.
void BenchRun::tryAgain(bool isUpdaterUsable)
{
    // A restarting device could leave programming mode during the next update, so wait until the
    // restart is over.
    if (!pair->device(DeviceType::Transmitter).isSettled() ||
        !pair->device(DeviceType::Headset).isSettled()) {
        QTimer::singleShot(lookIntervalMs, this, [this, isUpdaterUsable] { tryAgain(isUpdaterUsable); });
        return;
    }
    fault = Fault::None;
    SimulatedDevice& device = pair->device(options.faultDevice);
    device.clearFault();
    log.add(QStringLiteral("user: replug the %1").arg(nameOf(options.faultDevice)));
    device.unplug();
    device.plugIn();
    if (isUpdaterUsable) {
        driver->tryAgain();
        return;
    }
    log.add(QStringLiteral("user: start the updater again"));
    // The call is queued, because updateAgain() deletes the driver, which is emitting a signal now.
    QMetaObject::invokeMethod(this, &BenchRun::updateAgain, Qt::QueuedConnection);
}

void BenchRun::updateAgain()
{
    startUpdater();
    makeDriver();
}

/// The updater waits up to 30 s for a device to enter programming mode. This function ends the wait early if
/// the device's restart is over and the device is not in programming mode. Called only if time runs fast.
void BenchRun::endVainWaits()
{
    for (const DeviceType type : bothTypes) {
        const auto* const updater =
            window->findChild<FirmwareUpdater*>(nameOf(type) + QStringLiteral("Updater"));
        const SimulatedDevice& device = pair->device(type);
        if (!updater || !device.isSettled() || (device.isPluggedIn() && device.isProgramming()))
            continue;
        const auto timers = updater->findChildren<QTimer*>();
        for (QTimer* const timer : timers) {
            if (timer->isActive() && timer->interval() == reenumerationTimeoutMs)
                timer->start(0);
        }
    }
}

/// In virtual time a delay takes no real time, so an orderly removal of a device could not end during the
/// delay. This function therefore waits for the removal at the start of each delay.
void BenchRun::noteSleep(std::uint32_t ms)
{
    judge->noteSleep(ms);
    std::unique_lock<std::mutex> lock(removalMutex);
    const std::shared_future<void> underWay = removal;
    lock.unlock();
    if (underWay.valid())
        underWay.wait();
}

/// Waits until the GUI thread has handled its queued events, including the removal of a device. If time runs
/// fast, the updater's own delays do not give the GUI thread enough time to handle the events.
void BenchRun::letGuiHandleEvents()
{
    if (QThread::currentThread() == thread())
        return;
    constexpr auto longest = std::chrono::seconds(5); // ends a deadlock if the GUI thread waits for this one
    const auto handled = std::make_shared<std::promise<void>>();
    QMetaObject::invokeMethod(
        this, [handled] { handled->set_value(); }, Qt::QueuedConnection);
    handled->get_future().wait_for(longest);
}
