#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "devicetree.h"

/// The contents of a HID report descriptor (HID 1.11 section 6.2.2), as far as the updater needs them. The
/// kernel parses the descriptor first, and makes a hidraw node only if it finds no fault.
///
/// For example, this descriptor has one collection of usage page 0x000C and usage 0x0001, whose feature
/// report 5 has 63 data bytes: `{0x000C, 0x0001, 64}`.
///
///     05 0C 09 01 A1 01 85 05 75 08 95 3F 09 01 B1 02 C0
struct ReportDescriptor
{
    /// One entry for each top-level collection, in order; never empty. If there is a fault, no entry has
    /// feature reports.
    std::vector<HidCapabilities> collections;

    /// What is wrong with the descriptor, as the end of a sentence: "is damaged" or, as for a keyboard,
    /// "has no feature report". Empty if the descriptor has a feature report.
    std::string fault;

    /// Parses a descriptor. As in the kernel, a feature report of more than 16384 bytes is a fault.
    static ReportDescriptor parse(const std::uint8_t* bytes, std::size_t size);
};
