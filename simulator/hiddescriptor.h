#pragma once

#include <cstdint>
#include <vector>

#include "bus.h"

/// The report descriptor of an interface (HID 1.11 section 6.2.2), for a bus that needs its bytes: one
/// application collection with the feature reports. Without any it has an input report of one bit, "volume
/// increment", because a HID device needs a report.
std::vector<std::uint8_t> reportDescriptorOf(const HidInterface& hid);
