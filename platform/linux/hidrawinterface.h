#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "devicetree.h"
#include "hidrawdevice.h"
#include "reportdescriptor.h"

/// What the kernel and udev report about a HID interface with a hidraw node.
struct HidrawInterface
{
    std::string systemPath; ///< path of the hidraw node in sysfs
    std::string devicePath; ///< such as /dev/hidraw3
    std::string hidName;    ///< the kernel's name for the interface, such as 0003:7A31:0004.0007
    std::string hidId;      ///< HID_ID: bus, vendor and product, such as 0003:00007A31:00000004
    std::string phys;       ///< HID_PHYS: the port, such as usb-0000:00:14.0-1/input3
    std::string interfaces; ///< bNumInterfaces of its USB device; empty without a USB device
    std::string revision;   ///< bcdDevice of its USB device, such as 0100; empty without a USB device
    std::vector<std::uint8_t> reportDescriptor;
};

/// Returns the device nodes that Windows would make for the interface: one for each top-level collection, or
/// none if the interface is not on a USB bus. The nodes transfer feature reports through @p device. Each open
/// DeviceFile on a node is a user of @p device.
///
/// The instance ID and the interface path of a node contain two numbers: the number of the collection, and
/// the kernel's number for the interface. The kernel's number is different at each arrival.
std::vector<DeviceNode> nodesOf(const HidrawInterface& interface, const ReportDescriptor& descriptor,
                                const std::shared_ptr<HidrawDevice>& device);
