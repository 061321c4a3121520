#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>

#include "devicetree.h"

/// The values from which Windows forms the names of a HID device node.
struct HidIdentity
{
    std::uint16_t vendorId = 0;
    std::uint16_t productId = 0;
    std::optional<int> interfaceNumber = {};  ///< set if the device is composite
    std::optional<int> collectionNumber = {}; ///< from 1; set if the interface has several collections
    std::uint16_t usagePage = 0xFF00;         ///< of the top-level collection (HID Usage Tables)
    std::uint16_t revision = 0x0100;          ///< bcdDevice (USB 2.0 section 9.6.1)
};

/// Returns the node that Windows creates for a HID collection.
/// @param location  distinguishes devices with equal identities. Windows derives it from the device's port.
DeviceNode hidNode(const HidIdentity& identity, const std::wstring& location = L"7&1a2b3c&0&0000",
                   std::shared_ptr<HidFunction> function = nullptr);
