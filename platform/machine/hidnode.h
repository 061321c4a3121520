#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>

#include "devicetree.h"

/// What Windows makes the names of a HID device node of.
struct HidIdentity
{
    std::uint16_t vendorId = 0;
    std::uint16_t productId = 0;
    std::optional<int> interfaceNumber = {};  ///< of a composite device's function
    std::optional<int> collectionNumber = {}; ///< from 1; where the interface has several collections
    std::uint16_t usagePage = 0xFF00;         ///< of the top-level collection (HID Usage Tables)
    std::uint16_t revision = 0x0100;          ///< bcdDevice (USB 2.0 section 9.6.1)
};

/// The node that Windows makes for a HID collection, its names in the case in which Windows broadcasts them.
/// @param place  what tells devices of one identity apart, made by Windows of the port that the device is at.
DeviceNode hidNode(const HidIdentity& identity, const std::wstring& place = L"7&1a2b3c&0&0000",
                   std::shared_ptr<HidFunction> function = nullptr);
