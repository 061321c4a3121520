#include "firmwareupdater.h"

#include <windows.h>

#include <QCoreApplication>
#include <QDir>
#include <QProcess>

#include "abstracthiddevice.h"
#include "firmwareupdater_p.h"
#include "flasher.h"
#include "flashingerror.h"
#include "hidutilities.h"
#include "utilities.h"

namespace {

constexpr int reenumerationTimeoutMs = 30000;

/// The identity of a device of @p type in programming mode; all zero if the type is unknown.
DeviceId programmingModeId(DeviceType type)
{
    for (const Utilities::ProgrammingModeDevice& row : Utilities::programmingModeDevices()) {
        if (row.type == type)
            return row.id;
    }
    return {};
}

/// Whether this is a 32-bit process on 64-bit Windows. Some systems lack IsWow64Process(), so the function is
/// looked up at run time.
bool isWow64()
{
    using IsWow64ProcessFunction = BOOL(WINAPI*)(HANDLE, PBOOL);
    const HMODULE library = LoadLibraryW(L"kernel32.dll");
    if (!library)
        return false;
    BOOL wow64 = FALSE;
    const auto function = reinterpret_cast<IsWow64ProcessFunction>(
        reinterpret_cast<void (*)()>(GetProcAddress(library, "IsWow64Process")));
    const bool isKnown = function && function(GetCurrentProcess(), &wow64);
    FreeLibrary(library);
    return isKnown && wow64;
}

/// Starts the tool that uninstalls a device's driver, and returns while the tool runs. The tool is in the
/// program's folder and gets the vendor and product identifiers of the device. @p parent owns the QProcess,
/// which deletes itself when the tool ends.
void startUninstallTool(QObject* parent, unsigned short vendorId, unsigned short productId)
{
    auto* const process = new QProcess(parent);
    QObject::connect(process, SIGNAL(finished(int)), process, SLOT(deleteLater()));
    const QString architecture = isWow64() ? QStringLiteral("x64") : QStringLiteral("x86");
    const QString program =
        QDir(QCoreApplication::applicationDirPath())
            .absoluteFilePath(QStringLiteral("UninstallDevices_%1.exe").arg(architecture));
    process->start(program, {QString::number(vendorId, 10), QString::number(productId, 10)});
}

} // namespace

FirmwareUpdater::FirmwareUpdater(QObject* parent, const DeviceInstance& device, DeviceType type,
                                 const QByteArray& firmware)
    : QObject(parent)
    , d(new FirmwareUpdaterPrivate(this, device, type, firmware))
{
}

void FirmwareUpdater::flashDevice()
{
    d->flashDevice();
}

FirmwareUpdaterPrivate::FirmwareUpdaterPrivate(FirmwareUpdater* updater, const DeviceInstance& instance,
                                               DeviceType deviceType, const QByteArray& image)
    : QObject(updater)
    , q(updater)
    , thread(this)
    , type(deviceType)
    , firmware(image)
    , device(instance)
    , timer(this)
    , detection(
          this, [this](DeviceInstance* arrived) { flashingDeviceArrived(arrived); },
          [this](DeviceInstance* removed) { flashingDeviceRemoved(removed); })
{
    timer.setSingleShot(true);
    timer.setInterval(reenumerationTimeoutMs);
    connect(&timer, &QTimer::timeout, this, [this] {
        if (!flashingDevice)
            giveUp();
    });
}

FirmwareUpdaterPrivate::~FirmwareUpdaterPrivate()
{
    thread.quit();
    thread.wait();
    flasher.reset();
}

void FirmwareUpdaterPrivate::flashDevice()
{
    if (device.path.empty())
        return;
    if (type == DeviceType::Unknown) {
        qCritical("Unknown device");
        Q_EMIT q->flashingFinished();
        return;
    }
    const auto hid = Utilities::openHidDeviceByPath(device.path, Access::ReadWrite, Access::None);
    if (!hid) {
        if (!flashingDevice)
            giveUp();
        return;
    }
    startDetection();
    if (device.vendorId == Utilities::normalVendorId())
        leaveApplication(hid);
    timer.start();
}

void FirmwareUpdaterPrivate::startDetection()
{
    detection.stop();
    flashingDevice = nullptr;
    const DeviceId filter = programmingModeId(type);
    qDebug("Starting listening for PID 0x%.4X, device type = %d", filter.productId, type);
    detection.start(&filter, 1);
}

void FirmwareUpdaterPrivate::leaveApplication(const std::shared_ptr<AbstractHidDevice>& hid)
{
    qDebug("Exiting any running application... device type = %d", type);
    // The result is ignored: if the device does not leave its application, the time-out ends the update.
    static_cast<void>(HidUtilities::sendControlRequest(hid, HidUtilities::LeaveApplication));
    startUninstallTool(this, device.vendorId, device.productId);
    qDebug("Exited any running application... device type = %d", type);
}

void FirmwareUpdaterPrivate::flashingDeviceArrived(DeviceInstance* arrived)
{
    if (device.vendorId == Utilities::programmingVendorId() && arrived->path != device.path)
        return;
    if (failed)
        return;
    timer.stop();
    flashingDevice = arrived; // set even while a flasher runs, so that this device's removal ends the run
    if (flasher || firmware.isEmpty())
        return;
    if (arrived->removing) {
        qCritical("Device is removing...  device type = %d", type);
        flashingDeviceRemoved(flashingDevice);
        return;
    }
    qDebug("Flashing Device Arrived... device type = %d", type);
    const auto hid = Utilities::openHidDevice(detection.running(), arrived, Access::ReadWrite, Access::None);
    if (!hid) {
        flashingDeviceRemoved(flashingDevice);
        return;
    }
    startFlasher(hid);
}

void FirmwareUpdaterPrivate::startFlasher(const std::shared_ptr<AbstractHidDevice>& hid)
{
    flasher = std::make_unique<Flasher>(hid);
    flasher->moveToThread(&thread);
    // Logs the failure on the worker thread. Slots on the GUI thread are not called if this object is
    // destroyed during the run.
    connect(flasher.get(), &Flasher::flashingError, flasher.get(),
            [lost = flasher.get(), kind = type](int code) {
                const Flasher::Place end = lost->endOfRun();
                qCritical("Failed in phase %s %s transfer %d, code %d, device type = %d",
                          phaseName(end.phase), end.isFailed ? "at" : "after", end.transfer, code, kind);
            });
    connect(flasher.get(), &Flasher::flashingStarted, q, &FirmwareUpdater::flashingStarted);
    connect(flasher.get(), &Flasher::flashingError, q, &FirmwareUpdater::flashingError);
    connect(flasher.get(), &Flasher::flashingFinished, q, &FirmwareUpdater::flashingFinished);
    connect(flasher.get(), &Flasher::progressRangeChanged, q, &FirmwareUpdater::progressRangeChanged);
    connect(flasher.get(), &Flasher::progressValueChanged, q, &FirmwareUpdater::progressValueChanged);
    connect(this, &FirmwareUpdaterPrivate::start, flasher.get(), &Flasher::operate);
    thread.start();
    Q_EMIT start(firmware, type);
    qDebug("Flashing started device type = %d", type);
}

void FirmwareUpdaterPrivate::flashingDeviceRemoved(DeviceInstance* removed)
{
    if (removed == flashingDevice)
        giveUp();
}

void FirmwareUpdaterPrivate::giveUp()
{
    failed = true;
    flashingDevice = nullptr;
    if (flasher) {
        flasher->abort(); // the flasher fails at its next check and reports code 1
        return;
    }
    qCritical("Failed in phase %s, code %d, device type = %d", phaseName(Phase::Leave),
              FlashingError::DeviceLost, type);
    Q_EMIT q->flashingError(FlashingError::DeviceLost);
}
