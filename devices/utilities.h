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
/// In normal mode a device enumerates under the product line's vendor identifier, in its chip's programming
/// mode under the chip maker's. The identity lookups may be called on any thread.
namespace Utilities {

/// A device in normal mode. The headset's name is empty: a generation is named after its transmitter.
struct KnownDevice
{
    QString name;
    DeviceType type;
    DeviceId id;
};

/// A device in programming mode. Both transmitter generations share one identity there.
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

/// The identities of both tables, in table order; allDeviceIds() is the first followed by the second.
const std::vector<DeviceId>& knownDeviceIds();
const std::vector<DeviceId>& programmingModeDeviceIds();
const std::vector<DeviceId>& allDeviceIds();

/// The kind of the device with identity @p id in either table, else DeviceType::Unknown.
DeviceType deviceTypeOf(const DeviceId& id);

/// The generation ("VYNT1", "VYNT2") whose transmitter has the normal-mode product identifier @p pid, or "".
QString deviceNameForPid(unsigned short pid);

/// Opens @p device through @p detector, which closes it for everybody when the system asks for its orderly
/// removal.
/// @param access, share  Access::Bits.
/// @return empty on failure, with a warning in the log. The last holder, on any thread, gives the handle back
///         and closes the device; until then the detector is kept alive.
std::shared_ptr<AbstractHidDevice> openHidDevice(std::shared_ptr<DeviceDetector> detector,
                                                 DeviceInstance* device, const int access, const int share);

/// Opens the device with the interface path @p path, unwatched; @p access and @p share as above.
/// @return empty on failure; nothing is logged.
std::shared_ptr<AbstractHidDevice> openHidDeviceByPath(const std::wstring& path, const int access,
                                                       const int share);

} // namespace Utilities
