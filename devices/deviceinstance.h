#pragma once

#include <cstdint>
#include <string>

/// The kind of a device. Diagnostics and error reports print the number, and maps sort devices by it.
enum DeviceType : std::int32_t {
    Unknown = 0,
    Transmitter = 1,
    Headset = 2,
};

/// The device interface class in which a detector searches for a device.
enum class InterfaceKind : std::uint32_t {
    None = 0,
    Hid = 1,
    UsbDevice = 2,
};

/// Identity of a device interface. In a detector's filter an identifier of 0 matches any value.
struct DeviceId
{
    std::uint16_t vendorId = 0;
    std::uint16_t productId = 0;
    InterfaceKind interfaceKind = InterfaceKind::None;
};

constexpr bool operator==(const DeviceId& a, const DeviceId& b)
{
    return a.vendorId == b.vendorId && a.productId == b.productId && a.interfaceKind == b.interfaceKind;
}

/// The record of one device interface that matches a detector's filter.
///
/// Only detectors create and delete records. A pointer from an arrival report is valid until
/// DeviceDetector::forget() or stop() deletes the record. A copy of the record is always valid.
class DeviceInstance : public DeviceId
{
public:
    std::wstring name;            ///< friendly name, else the device description, else empty
    std::wstring path;            ///< interface path that opens the device, with ASCII letters in lower case
    bool removing = false;        ///< whether the device is being removed; this program never sets the flag
    bool hasFriendlyName = false; ///< whether `name` is the friendly name
};
