#include "devicecontroller.h"

#include <algorithm>
#include <utility>

#include <QtConcurrent>

#include "abstracthiddevice.h"
#include "devicecontroller_p.h"
#include "devicereader_p.h"
#include "firmwareutilities.h"
#include "utilities.h"

namespace {

constexpr int firstVendorUsagePage = 0xFF00; // vendor-defined pages are 0xFF00 to 0xFFFF (HID Usage Tables)
constexpr int lastVendorUsagePage = 0xFFFF;

using Identity = QPair<QString, unsigned short>;
using Cancelled = ReadDataHelper_FromDevice::Cancelled;

// The next two functions run on pool threads. Each function closes its device before it returns. So the
// receiver of the result can open the device exclusively.

Identity readVersion(std::shared_ptr<AbstractHidDevice>&& device, const Cancelled& cancelled,
                     unsigned short pid)
{
    const ReadDataHelper_FromDevice reader(std::move(device), cancelled);
    return {FirmwareUtilities::getVersion(reader), pid};
}

Identity readPidAndVersion(std::shared_ptr<AbstractHidDevice>&& device, const Cancelled& cancelled)
{
    const ReadDataHelper_FromDevice reader(std::move(device), cancelled);
    const unsigned short pid = FirmwareUtilities::getPid(reader);
    return {FirmwareUtilities::getVersion(reader), pid};
}

/// Returns the headset's product identifier in normal mode. All generations have the same identifier.
unsigned short normalHeadsetPid()
{
    for (const Utilities::KnownDevice& device : Utilities::knownDevices()) {
        if (device.type == DeviceType::Headset)
            return device.id.productId;
    }
    return 0;
}

std::shared_ptr<AbstractHidDevice> openForReading(const std::shared_ptr<DeviceDetector>& detector,
                                                  DeviceInstance* instance)
{
    return Utilities::openHidDevice(detector, instance, Access::ReadWrite, Access::Read);
}

bool isKnownPid(unsigned short pid)
{
    const auto& ids = Utilities::knownDeviceIds();
    return std::any_of(ids.begin(), ids.end(), [pid](const DeviceId& id) { return id.productId == pid; });
}

} // namespace

DeviceController::DeviceController(QObject* parent)
    : QObject(parent)
    , d(new DeviceControllerPrivate(this))
{
}

void DeviceController::startDetection()
{
    d->startDetection();
}

void DeviceController::stopDetection()
{
    d->stopDetection();
}

bool DeviceController::isConnected(DeviceType type) const
{
    return d->devices.contains(type);
}

unsigned short DeviceController::pid(DeviceType type) const
{
    return d->devices.value(type).pid;
}

QString DeviceController::version(DeviceType type) const
{
    return d->devices.value(type).version;
}

DeviceInstance DeviceController::deviceInstance(DeviceType type) const
{
    const DeviceInstance* const instance = d->devices.value(type).instance;
    return instance ? *instance : DeviceInstance();
}

QString DeviceController::deviceName() const
{
    return Utilities::deviceNameForPid(pid(DeviceType::Transmitter));
}

DeviceControllerPrivate::DeviceControllerPrivate(DeviceController* controller)
    : QObject(controller)
    , q(controller)
    , detection(
          this, [this](DeviceInstance* instance) { onDeviceArrived(instance); },
          [this](DeviceInstance* instance) { onDeviceRemoved(instance); })
{
    connect(detection.reports(), &DeviceListener::deviceHandleChanged, &detection,
            [this](DeviceInstance* instance) { onDeviceHandleChanged(instance); });
}

DeviceControllerPrivate::~DeviceControllerPrivate()
{
    stopDetection();
}

void DeviceControllerPrivate::startDetection()
{
    if (detection.running())
        return;
    forgetEarlierDetection();
    detectionEnded = std::make_shared<std::atomic<bool>>(false);
    const auto& ids = Utilities::allDeviceIds();
    detection.start(ids.data(), static_cast<unsigned int>(ids.size()));
}

/// Ends detection. After the return no device is open, so an update can open each device exclusively.
void DeviceControllerPrivate::stopDetection()
{
    devices = {};
    if (!detection.running())
        return;
    *detectionEnded = true;
    detection.stop();
    const auto reads = findChildren<QFutureWatcherBase*>(); // includes the reads of removed devices
    for (QFutureWatcherBase* const read : reads)
        read->waitForFinished();
}

/// Discards the reads and the devices of an earlier detection.
void DeviceControllerPrivate::forgetEarlierDetection()
{
    const bool wasReading = !std::exchange(pendingReads, {}).isEmpty();
    const QList<DeviceType> leftOver = std::exchange(devices, {}).keys();
    if (wasReading)
        Q_EMIT q->deviceDetectionFinished();
    for (const DeviceType type : leftOver)
        Q_EMIT q->deviceRemoved(type);
}

void DeviceControllerPrivate::onDeviceArrived(DeviceInstance* instance)
{
    const DeviceType type = Utilities::deviceTypeOf(*instance);
    if (devices.contains(type))
        return;
    auto device = openForReading(detection.running(), instance);
    if (!device)
        return;
    const int usagePage = device->usagePage();
    if (usagePage < firstVendorUsagePage || usagePage > lastVendorUsagePage)
        return;
    devices[type] = {instance, 0, QString()};
    identify(*instance, type, std::move(device));
}

void DeviceControllerPrivate::identify(const DeviceInstance& instance, DeviceType type,
                                       std::shared_ptr<AbstractHidDevice>&& device)
{
    auto* const watcher = new IdentityWatcher(this);
    pendingReads[watcher] = type;
    connect(watcher, &IdentityWatcher::finished, this,
            &DeviceControllerPrivate::onDeviceVersionAndPidDetected);
    Q_EMIT q->deviceDetectionStarted();

    // In programming mode both transmitter generations have the same identity. So the product identifier of
    // normal mode is read from the image in the transmitter's memory.
    const bool inProgrammingMode = instance.vendorId == Utilities::programmingVendorId();
    const bool isPidKnown = !inProgrammingMode || type != DeviceType::Transmitter;
    const unsigned short pid =
        inProgrammingMode && type == DeviceType::Headset ? normalHeadsetPid() : instance.productId;
    watcher->setFuture(QtConcurrent::run(
        [device = std::move(device), cancelled = Cancelled(detectionEnded), isPidKnown, pid]() mutable {
            return isPidKnown ? readVersion(std::move(device), cancelled, pid)
                              : readPidAndVersion(std::move(device), cancelled);
        }));
}

void DeviceControllerPrivate::onDeviceVersionAndPidDetected()
{
    auto* const watcher = dynamic_cast<IdentityWatcher*>(sender());
    if (!watcher)
        return;
    watcher->deleteLater();
    if (!pendingReads.contains(watcher))
        return;
    const DeviceType type = pendingReads.value(watcher);
    const Identity identity = watcher->result();
    ConnectedDevice& device = devices[type];
    device.version = identity.first;
    if (isKnownPid(identity.second))
        device.pid = identity.second;
    endRead(watcher);
    Q_EMIT q->deviceArrived(type);
}

/// Called after a refused removal. If the removal interrupted the opening or the identification of the
/// device, opens and identifies the device again.
void DeviceControllerPrivate::onDeviceHandleChanged(DeviceInstance* instance)
{
    const auto changed = find(instance);
    if (changed == devices.end()) {
        onDeviceArrived(instance);
        return;
    }
    if (!changed->version.isEmpty())
        return;
    auto device = openForReading(detection.running(), instance);
    if (!device)
        return;
    const DeviceType type = changed.key();
    pendingReads.remove(pendingReads.key(type, nullptr)); // the old read fails, as its device was closed
    *changed = {instance, 0, QString()};
    identify(*instance, type, std::move(device));
}

void DeviceControllerPrivate::onDeviceRemoved(DeviceInstance* instance)
{
    const auto removed = find(instance);
    if (removed == devices.end())
        return;
    const DeviceType type = removed.key();
    if (IdentityWatcher* const watcher = pendingReads.key(type, nullptr))
        endRead(watcher);
    devices.remove(type);
    Q_EMIT q->deviceRemoved(type);
}

QMap<DeviceType, ConnectedDevice>::iterator DeviceControllerPrivate::find(const DeviceInstance* instance)
{
    return std::find_if(devices.begin(), devices.end(),
                        [instance](const ConnectedDevice& device) { return device.instance == instance; });
}

void DeviceControllerPrivate::endRead(IdentityWatcher* watcher)
{
    pendingReads.remove(watcher);
    if (pendingReads.isEmpty())
        Q_EMIT q->deviceDetectionFinished();
}
