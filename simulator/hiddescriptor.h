#pragma once

#include <cstdint>
#include <vector>

#include "bus.h"

/// The report descriptor of an interface (HID 1.11 section 6.2.2), for a bus that needs the descriptor's
/// bytes. It has one application collection, with the feature reports. If the interface has no feature
/// reports, the collection has an input report with the field "volume increment", because a HID device needs
/// a report.
std::vector<std::uint8_t> reportDescriptorOf(const HidInterface& hid);
