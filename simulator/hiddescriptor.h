#pragma once

#include <cstdint>
#include <vector>

#include "bus.h"

/// @return the report descriptor of an interface (HID 1.11 section 6.2.2). The descriptor has one application
/// collection with the feature reports of the interface. If the interface has no feature reports, the
/// collection has an input report with the field "volume increment", because a HID device needs a report.
std::vector<std::uint8_t> reportDescriptorOf(const HidInterface& hid);
