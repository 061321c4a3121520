#include "benchrun.h"

#include <algorithm>
#include <future>

#include <QCoreApplication>
#include <QDir>
#include <QFile>
#include <QThread>

#include "archivebuilder.h"
#include "eventlog.h"
#include "firmwarecontroller.h"
#include "imagebuilder.h"
#include "kernelcomputer.h"
#include "mainwindow.h"
#include "screentour.h"
#include "userdriver.h"
#include "verdict.h"

namespace {

constexpr int unexpected = 1;
constexpr int lookIntervalMs = 20;
constexpr int fastLookIntervalMs = 1;
constexpr DeviceType bothTypes[] = {DeviceType::Transmitter, DeviceType::Headset};

bool writeArchive(const QString& path, const ImageOptions& transmitter, const ImageOptions& headset)
{
    const QByteArray notes = "Version " + QByteArray::fromStdString(transmitter.version) +
                             "\n\n"
                             "- Clearer voice in noisy rooms\n"
                             "- The headset finds its transmitter faster after a pause\n"
                             "- Corrected: a click at the end of a call\n";
    return ArchiveBuilder::write(
        path, ArchiveBuilder::release(ImageBuilder::build(transmitter), ImageBuilder::build(headset), notes));
}

bool writeSampleArchive(const QString& path, const BenchOptions& options)
{
    ImageOptions transmitter = ImageBuilder::transmitter(options.generation);
    ImageOptions headset = ImageBuilder::headset();
    transmitter.size = headset.size = options.imageBytes;
    return writeArchive(path, transmitter, headset);
}

bool writeDamagedArchive(const QString& path)
{
    QFile file(path);
    return file.open(QIODevice::WriteOnly) && file.write("no archive") > 0;
}

} // namespace

BenchRun::BenchRun(const BenchOptions& benchOptions, EventLog& eventLog)
    : options(benchOptions)
    , log(eventLog)
    , scaledClock(options.speed)
    , machine(options.fast ? static_cast<Clock*>(&virtualClock) : &scaledClock)
    , kernelComputer(options.onKernelBus ? std::make_unique<KernelComputer>(machine, logLine()) : nullptr)
    , scope(kernelComputer ? static_cast<Machine&>(*kernelComputer) : machine)
{
    timeLimit.setSingleShot(true);
    connect(&timeLimit, &QTimer::timeout, this, [this] {
        log.add(QStringLiteral("verdict: the update does not come to an end"));
        finish(unexpected);
    });
}

BenchRun::~BenchRun() = default;

std::function<void(const std::string&)> BenchRun::logLine()
{
    return [this](const std::string& text) { log.add(QString::fromStdString(text)); };
}

bool BenchRun::prepare()
{
    const std::string obstacle = kernelComputer ? UhidBus::obstacle() : std::string();
    if (!obstacle.empty()) {
        log.add(QStringLiteral("no device can be plugged into the kernel: %1")
                    .arg(QString::fromStdString(obstacle)));
        return false;
    }
    if (!prepareArchive())
        return false;
    preparePair();
    if (!onScreen)
        plugInAndStart();
    return true;
}

bool BenchRun::prepareArchive()
{
    archivePath = options.archivePath;
    if (archivePath.isEmpty()) {
        archivePath = QDir(folder.path()).absoluteFilePath(QStringLiteral("vynt-firmware-1.2.3.zip"));
        if (!writeSampleArchive(archivePath, options)) {
            log.add(QStringLiteral("cannot write the sample archive %1").arg(archivePath));
            return false;
        }
    }
    FirmwareController archive;
    archive.setFilePath(archivePath);
    for (const DeviceType type : bothTypes)
        images[type] = archive.firmware(type);
    if (archive.fileBaseName().isEmpty())
        log.add(QStringLiteral("not a firmware archive: %1").arg(archivePath));
    return !archive.fileBaseName().isEmpty();
}

QByteArray BenchRun::image(DeviceType type) const
{
    return window->findChild<FirmwareController*>()->firmware(type);
}

bool BenchRun::makeArchive(const QString& path, int generation, const QString& version) const
{
    ImageOptions transmitter = ImageBuilder::transmitter(generation);
    ImageOptions headset = ImageBuilder::headset();
    transmitter.version = headset.version = version.toStdString();
    transmitter.seed = headset.seed = qHash(version);
    return writeArchive(path,
                        ImageBuilder::forMemoryOf(transmitter, bytesOf(images[DeviceType::Transmitter])),
                        ImageBuilder::forMemoryOf(headset, bytesOf(images[DeviceType::Headset])));
}

void BenchRun::preparePair()
{
    SimulatedPair::Setup setup;
    setup.generation = options.generation;
    setup.chipId = options.chipId;
    setup.revision = options.revision;
    setup.transmitterImage = bytesOf(images[DeviceType::Transmitter]);
    setup.headsetImage = bytesOf(images[DeviceType::Headset]);
    setup.report = logLine();
    setup.bus = kernelComputer ? &kernelComputer->bus() : nullptr;
    pair = std::make_unique<SimulatedPair>(machine, setup);
    virtualClock.onSleep = [this](std::uint32_t ms) { times.sleep(ms); };
    judge =
        std::make_unique<Judge>(Judge::Scene{machine, *pair, images, options.fast ? &times : nullptr, log});
    for (const DeviceType type : bothTypes) {
        SimulatedDevice& device = pair->device(type);
        device.onPhase = [this, type](Phase phase) { times.enter(type, phase); };
        if (options.fast || options.speed > 1)
            device.onVanished = [this] { letEverybodyHear(); };
    }
}

void BenchRun::plugInAndStart()
{
    pair->plugIn();
    startUpdater();
}

void BenchRun::startUpdater()
{
    driver.reset();
    window.reset();
    window = std::make_unique<MainWindow>();
    window->setFirmwareFilePath(archivePath);
    window->show();
}

void BenchRun::drive()
{
    constexpr qint64 allowanceMs = 120000;
    qint64 delaysMs = 0;
    for (const DeviceType type : bothTypes)
        delaysMs += protocolDelaysMs(type);
    timeLimit.start(std::chrono::milliseconds(allowanceMs + 2 * delaysMs));
    if (onScreen)
        takeTour();
    else
        driveUpdater();
}

void BenchRun::takeTour()
{
    const QDir archives(folder.path());
    const ScreenTour::Archives paths{archivePath,
                                     archives.absoluteFilePath(QStringLiteral("vynt-firmware-2.0.0.zip")),
                                     archives.absoluteFilePath(QStringLiteral("damaged.zip"))};
    const int otherGeneration = options.generation == 1 ? 2 : 1;
    if (!makeArchive(paths.otherGeneration, otherGeneration, QStringLiteral("2.0.0")) ||
        !writeDamagedArchive(paths.damaged)) {
        log.add(QStringLiteral("cannot write archives into %1").arg(folder.path()));
        finish(unexpected);
        return;
    }
    tour = std::make_unique<ScreenTour>(*pair, paths,
                                        [this](const QString& name, QWidget& screen) { show(name, screen); });
    connect(tour.get(), &ScreenTour::finished, this, [this] {
        plugInAndStart();
        driveUpdater();
    });
    tour->start(options.fast ? fastLookIntervalMs : lookIntervalMs);
}

void BenchRun::show(const QString& name, QWidget& screen)
{
    if (!onScreen || shown.contains(name))
        return;
    shown.insert(name);
    constexpr int layoutsDeep = 3; // each asks its parent's to follow
    for (int i = 0; i < layoutsDeep; ++i)
        QCoreApplication::sendPostedEvents(nullptr, QEvent::LayoutRequest);
    onScreen(name, screen);
}

void BenchRun::driveUpdater()
{
    driver = std::make_unique<UserDriver>(
        *window, log, [this](const QString& name, QWidget& screen) { show(name, screen); });
    if (options.fast)
        driver->setIsWaitInVain([this](DeviceType type) { return isWaitInVain(type); });
    connect(driver.get(), &UserDriver::updateRequested, this, &BenchRun::beginUpdate);
    connect(driver.get(), &UserDriver::succeeded, this, [this] { endUpdate({}, QString()); });
    connect(driver.get(), &UserDriver::failed, this, &BenchRun::endUpdate);
    driver->start(options.fast ? fastLookIntervalMs : lookIntervalMs);
}

void BenchRun::beginUpdate()
{
    for (const DeviceType type : bothTypes)
        pair->device(type).clearFault();
    times.clear();
    const std::optional<Fault> fault = isRepairing ? std::nullopt : options.fault;
    judge->begin(fault, options.faultDevice);
    if (fault)
        pair->device(options.faultDevice).setFault(*fault, options.faultTransfer);
}

/// @param report  the failure report on the screen; empty where it shows the pairing instructions, from which
///                there is no way back.
void BenchRun::endUpdate(const QMap<DeviceType, int>& errors, const QString& report)
{
    const QStringList complaints = judge->complaints(errors, report, *driver);
    for (const QString& complaint : complaints)
        log.add(QStringLiteral("verdict: not the expected outcome: %1").arg(complaint));
    if (!complaints.isEmpty()) {
        finish(unexpected);
        return;
    }
    if (!options.fault || isRepairing) {
        if (!options.fast && options.speed == 1)
            reportTimes();
        finish(0);
        return;
    }
    const bool wasStruck = pair->device(options.faultDevice).struckAt().has_value();
    log.add(QStringLiteral("verdict: the expected outcome of the fault%1")
                .arg(wasStruck ? QString() : QStringLiteral(" (no transfer was hit)")));
    tryAgain(!report.isEmpty());
}

/// What the protocol's own delays come to from the announced progress range to the end.
qint64 BenchRun::protocolDelaysMs(DeviceType type) const
{
    return Verdict::programmingDelaysMs(type, bytesOf(images[type])) + Verdict::restartDelayMs;
}

/// Repairs the device that the fault hit, as a user would.
void BenchRun::tryAgain(bool isUpdaterUsable)
{
    isRepairing = true;
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
    // Not from within the driver's own signal.
    QMetaObject::invokeMethod(
        this,
        [this] {
            startUpdater();
            driveUpdater();
        },
        Qt::QueuedConnection);
}

void BenchRun::finish(int exitCode)
{
    timeLimit.stop();
    Q_EMIT finished(exitCode);
}

/// In virtual time: a device that has come to rest outside its programming mode will not get there any more.
bool BenchRun::isWaitInVain(DeviceType type)
{
    SimulatedDevice& device = pair->device(type);
    return device.isSettled() && !(device.isPluggedIn() && device.isProgramming());
}

void BenchRun::reportTimes() const
{
    const QMap<DeviceType, qint64> measured = driver->programmingTimesMs();
    for (auto time = measured.cbegin(); time != measured.cend(); ++time) {
        const qint64 delays = protocolDelaysMs(time.key());
        log.add(QStringLiteral("%1: programmed in %2 ms, %3 times the protocol's own %4 ms")
                    .arg(nameOf(time.key()))
                    .arg(time.value())
                    .arg(static_cast<double>(time.value()) / static_cast<double>(delays), 0, 'f', 4)
                    .arg(delays));
    }
    log.add(QStringLiteral("both: programmed in %1 ms").arg(driver->runTimeMs()));
}

/// In virtual time no delay gives the updater the time to hear that a device is gone, so that time is given
/// here: the report of the removal stands in the event queue before the answer to this call.
void BenchRun::letEverybodyHear()
{
    if (QThread::currentThread() == thread())
        return;
    constexpr auto longest = std::chrono::seconds(5); // the GUI thread may be waiting for this one
    const auto heard = std::make_shared<std::promise<void>>();
    QMetaObject::invokeMethod(
        this, [heard] { heard->set_value(); }, Qt::QueuedConnection);
    heard->get_future().wait_for(longest);
}
