#pragma once

#include <memory>
#include <string>
#include <vector>

#include <QString>

#include "deviceinstance.h"

class AbstractHidDevice;
class DeviceDetector;

/// The identities that the updater knows, and the ways to open a HID device.
///
/// In normal mode a device has the product line's vendor identifier. In the programming mode of its chip it
/// has the chip maker's vendor identifier. Any thread may call the identity lookups.
namespace Utilities {

/// A device in normal mode. The headset's name is empty, because a generation is named after its transmitter.
struct KnownDevice
{
    QString name;
    DeviceType type;
    DeviceId id;
};

/// A device in programming mode. In this mode both transmitter generations share one identity.
struct ProgrammingModeDevice
{
    DeviceType type;
    DeviceId id;
};

constexpr std::uint16_t normalVendorId()
{
    return 0x7A31;
}
constexpr std::uint16_t programmingVendorId()
{
    return 0x170D;
}

const std::vector<KnownDevice>& knownDevices();
const std::vector<ProgrammingModeDevice>& programmingModeDevices();

/// The identities in normal mode, those in programming mode, and both lists one after the other.
const std::vector<DeviceId>& knownDeviceIds();
const std::vector<DeviceId>& programmingModeDeviceIds();
const std::vector<DeviceId>& allDeviceIds();

/// The kind of the device with identity @p id; DeviceType::Unknown if neither table has it.
DeviceType deviceTypeOf(const DeviceId& id);

/// The generation ("VYNT1", "VYNT2") whose transmitter has the normal-mode product identifier @p pid, or "".
QString deviceNameForPid(unsigned short pid);

/// Opens @p device through @p detector. The detector closes the device for all its users when the system asks
/// for an orderly removal.
/// @param access, share  Access::Bits.
/// @return the open device; null on failure, with a warning in the log. When the last owner releases the
///         device, on any thread, its handle is given back and closed. The detector stays alive until then.
std::shared_ptr<AbstractHidDevice> openHidDevice(std::shared_ptr<DeviceDetector> detector,
                                                 DeviceInstance* device, const int access, const int share);

/// Opens the device with the interface path @p path; no detector watches it. @p access and @p share as above.
/// @return null on failure; nothing is logged.
std::shared_ptr<AbstractHidDevice> openHidDeviceByPath(const std::wstring& path, const int access,
                                                       const int share);

} // namespace Utilities
