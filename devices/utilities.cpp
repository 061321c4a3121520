#include "utilities.h"

#include <QtGlobal>

#include "abstracthiddevice.h"
#include "devicedetector.h"
#include "hiddevicedescriptor.h"

namespace {

template <typename Device>
std::vector<DeviceId> idsOf(const std::vector<Device>& devices)
{
    std::vector<DeviceId> ids;
    ids.reserve(devices.size());
    for (const Device& device : devices)
        ids.push_back(device.id);
    return ids;
}

void closeAndDelete(AbstractHidDevice* device)
{
    device->close();
    delete device;
}

} // namespace

namespace Utilities {

const std::vector<KnownDevice>& knownDevices()
{
    static const std::vector<KnownDevice> devices{
        {QStringLiteral("VYNT1"), DeviceType::Transmitter, {normalVendorId(), 0x0004, InterfaceKind::Hid}},
        {QStringLiteral("VYNT2"), DeviceType::Transmitter, {normalVendorId(), 0x0003, InterfaceKind::Hid}},
        {QLatin1String(""), DeviceType::Headset, {normalVendorId(), 0x0006, InterfaceKind::Hid}},
    };
    return devices;
}

const std::vector<ProgrammingModeDevice>& programmingModeDevices()
{
    static const std::vector<ProgrammingModeDevice> devices{
        {DeviceType::Transmitter, {programmingVendorId(), 0x0100, InterfaceKind::Hid}},
        {DeviceType::Headset, {programmingVendorId(), 0x0101, InterfaceKind::Hid}},
    };
    return devices;
}

const std::vector<DeviceId>& knownDeviceIds()
{
    static const std::vector<DeviceId> ids = idsOf(knownDevices());
    return ids;
}

const std::vector<DeviceId>& programmingModeDeviceIds()
{
    static const std::vector<DeviceId> ids = idsOf(programmingModeDevices());
    return ids;
}

const std::vector<DeviceId>& allDeviceIds()
{
    static const std::vector<DeviceId> ids = [] {
        std::vector<DeviceId> all = knownDeviceIds();
        all.insert(all.end(), programmingModeDeviceIds().begin(), programmingModeDeviceIds().end());
        return all;
    }();
    return ids;
}

DeviceType deviceTypeOf(const DeviceId& id)
{
    for (const KnownDevice& device : knownDevices()) {
        if (device.id == id)
            return device.type;
    }
    for (const ProgrammingModeDevice& device : programmingModeDevices()) {
        if (device.id == id)
            return device.type;
    }
    return DeviceType::Unknown;
}

QString deviceNameForPid(unsigned short pid)
{
    const DeviceId id{normalVendorId(), pid, InterfaceKind::Hid};
    for (const KnownDevice& device : knownDevices()) {
        if (device.id == id)
            return device.name;
    }
    return QLatin1String("");
}

std::shared_ptr<AbstractHidDevice> openHidDevice(std::shared_ptr<DeviceDetector> detector,
                                                 DeviceInstance* device, const int access, const int share)
{
    const auto handle = detector->lendDevice(device, access, share);
    if (!handle) {
        qWarning("Cannot open device VID: 0x%.4X, PID: 0x%.4X", static_cast<unsigned int>(device->vendorId),
                 static_cast<unsigned int>(device->productId));
        return nullptr;
    }
    const auto giveBackAndClose = [detector, handle](AbstractHidDevice* opened) {
        detector->takeBack(*handle); // before closing, because the system may reuse a closed handle's value
        closeAndDelete(opened);
    };
    return {AbstractHidDevice::create(handle), giveBackAndClose};
}

std::shared_ptr<AbstractHidDevice> openHidDeviceByPath(const std::wstring& path, const int access,
                                                       const int share)
{
    const std::shared_ptr<HidDescriptorHandleBase> handle =
        std::make_shared<WindowsDeviceDescriptorHandle>(path);
    const std::shared_ptr<AbstractHidDevice> device(AbstractHidDevice::create(HidDeviceDescriptor(handle)),
                                                    closeAndDelete);
    static_cast<void>(device->open(access, share)); // isOpen() below shows the result
    return device->isOpen() ? device : nullptr;
}

} // namespace Utilities
