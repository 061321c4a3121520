#pragma once

#include <memory>
#include <string>
#include <vector>

#include <QString>

#include "deviceinstance.h"

class AbstractHidDevice;
class DeviceDetector;

/// The identities that the updater knows, and functions that open a HID device.
///
/// In normal mode a device has the product line's vendor identifier. In programming mode it has the chip
/// maker's vendor identifier. Any thread may call the identity lookups.
namespace Utilities {

/// A device in normal mode. `name` is the name of the device's generation. The headset has no name, because
/// its identity is the same in all generations.
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

const std::vector<DeviceId>& knownDeviceIds(); ///< identities in normal mode
const std::vector<DeviceId>& programmingModeDeviceIds();
const std::vector<DeviceId>& allDeviceIds(); ///< identities in normal mode, then those in programming mode

/// The kind of the device with identity @p id; DeviceType::Unknown if no table above contains the identity.
DeviceType deviceTypeOf(const DeviceId& id);

/// The name of the generation ("VYNT1", "VYNT2") whose transmitter has the product identifier @p pid in
/// normal mode; "" if there is no such generation.
QString deviceNameForPid(unsigned short pid);

/// Opens @p device through @p detector. When the system asks for an orderly removal, the detector closes the
/// device for everybody who uses it.
/// @param access, share  combinations of Access::Bits.
/// @return the open device; null on failure, with a warning in the log. The open device keeps the detector
///         alive. The last owner may release the device on any thread. The release ends the detector's watch
///         and closes the device.
std::shared_ptr<AbstractHidDevice> openHidDevice(std::shared_ptr<DeviceDetector> detector,
                                                 DeviceInstance* device, const int access, const int share);

/// Opens the device with the interface path @p path. No detector watches the device.
/// @param access, share  combinations of Access::Bits.
/// @return the open device; null on failure, without a line in the log.
std::shared_ptr<AbstractHidDevice> openHidDeviceByPath(const std::wstring& path, const int access,
                                                       const int share);

} // namespace Utilities
