#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "devicetree.h"

/// The contents of a HID report descriptor (HID 1.11 section 6.2.2), as far as the updater needs them. The
/// kernel parses the descriptor first, and makes a hidraw node only if it finds no fault.
///
///     05 0C 09 01 A1 01 85 05 75 08 95 3F 09 01 B1 02 C0
///
/// describes one collection of usage page 0x000C and usage 0x0001, whose feature report 5 has 63 data bytes:
/// `{0x000C, 0x0001, 64}`.
struct ReportDescriptor
{
    /// One for each top-level collection, in order; never empty. After a fault none has feature reports.
    std::vector<HidCapabilities> collections;

    /// Why there is no feature report: "is damaged", or "has no feature report" like that of a keyboard.
    /// Empty if there is one.
    std::string fault;

    /// A feature report may have at most 16384 bytes, as in the kernel.
    static ReportDescriptor parse(const std::uint8_t* bytes, std::size_t size);
};
