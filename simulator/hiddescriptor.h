#pragma once

#include <cstdint>
#include <vector>

#include "bus.h"

/// The report descriptor of an interface (HID 1.11 section 6.2.2), for a bus whose computer wants the bytes:
/// one application collection with the feature reports. Where there are none it has an input report of one
/// bit, "volume increment", since a collection without any report is no HID device.
std::vector<std::uint8_t> reportDescriptorOf(const HidInterface& hid);
