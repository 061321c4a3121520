#include "utilities.h"

#include <windows.h>

#include <QtGlobal>

#include "abstracthiddevice.h"
#include "devicedetector.h"
#include "hiddevicedescriptor.h"

namespace {

constexpr DeviceId firstGenerationTransmitter{Utilities::normalVendorId(), 0x0004, InterfaceKind::Hid};
constexpr DeviceId secondGenerationTransmitter{Utilities::normalVendorId(), 0x0003, InterfaceKind::Hid};
constexpr DeviceId headset{Utilities::normalVendorId(), 0x0006, InterfaceKind::Hid};
constexpr DeviceId programmingModeTransmitter{Utilities::programmingVendorId(), 0x0100, InterfaceKind::Hid};
constexpr DeviceId programmingModeHeadset{Utilities::programmingVendorId(), 0x0101, InterfaceKind::Hid};

void closeAndDelete(AbstractHidDevice* device)
{
    device->close();
    delete device;
}

} // namespace

namespace Utilities {

const std::array<KnownDevice, 3>& knownDevices()
{
    static const std::array<KnownDevice, 3> devices{{
        {QStringLiteral("VYNT1"), DeviceType::Transmitter, firstGenerationTransmitter},
        {QStringLiteral("VYNT2"), DeviceType::Transmitter, secondGenerationTransmitter},
        {QLatin1String(""), DeviceType::Headset, headset},
    }};
    return devices;
}

const std::array<ProgrammingModeDevice, 2>& programmingModeDevices()
{
    static constexpr std::array<ProgrammingModeDevice, 2> devices{{
        {DeviceType::Transmitter, programmingModeTransmitter},
        {DeviceType::Headset, programmingModeHeadset},
    }};
    return devices;
}

const std::array<DeviceId, 3>& knownDeviceIds()
{
    static constexpr std::array<DeviceId, 3> ids{firstGenerationTransmitter, secondGenerationTransmitter,
                                                 headset};
    return ids;
}

const std::array<DeviceId, 2>& programmingModeDeviceIds()
{
    static constexpr std::array<DeviceId, 2> ids{programmingModeTransmitter, programmingModeHeadset};
    return ids;
}

const std::array<DeviceId, 5>& allDeviceIds()
{
    static constexpr std::array<DeviceId, 5> ids{firstGenerationTransmitter, secondGenerationTransmitter,
                                                 headset, programmingModeTransmitter, programmingModeHeadset};
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
    const HANDLE handle = detector->openDevice(device, access, share, nullptr, 0);
    if (handle == INVALID_HANDLE_VALUE) {
        qWarning("Cannot open device VID: 0x%.4X, PID: 0x%.4X", static_cast<unsigned int>(device->vendorId),
                 static_cast<unsigned int>(device->productId));
        return nullptr;
    }
    const auto unwatchAndClose = [detector, handle](AbstractHidDevice* opened) {
        detector->closeDevice(handle); // before the handle's value can stand for something else
        closeAndDelete(opened);
    };
    return {AbstractHidDevice::create(handle, HidDeviceDescriptor()), unwatchAndClose};
}

std::shared_ptr<AbstractHidDevice> openHidDeviceByPath(const std::wstring& path, const int access,
                                                       const int share)
{
    const std::shared_ptr<HidDescriptorHandleBase> handle =
        std::make_shared<WindowsDeviceDescriptorHandle>(path);
    const std::shared_ptr<AbstractHidDevice> device(AbstractHidDevice::create(HidDeviceDescriptor(handle)),
                                                    closeAndDelete);
    static_cast<void>(device->open(access, share)); // whether it is open now is what counts
    return device->isOpen() ? device : nullptr;
}

} // namespace Utilities
