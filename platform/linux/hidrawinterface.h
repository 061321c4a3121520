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

/// Returns the nodes that Windows would make for the interface, one for each top-level collection. Their HID
/// functions transfer through @p device. Each DeviceFile that is open on a node is a user of @p device.
///
/// A node's names contain two numbers: the collection's, and the kernel's number for the interface, which is
/// different at each arrival.
/// @return no nodes if the interface does not belong to a USB device.
std::vector<DeviceNode> nodesOf(const HidrawInterface& interface, const ReportDescriptor& descriptor,
                                const std::shared_ptr<HidrawDevice>& device);
