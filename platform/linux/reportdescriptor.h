#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "devicetree.h"

/// What the updater needs from a HID report descriptor (HID 1.11 section 6.2.2). The kernel also checks each
/// descriptor, and makes no hidraw node if the descriptor is damaged.
///
/// An example of a descriptor:
///
///     05 0C 09 01 A1 01 85 05 75 08 95 3F 09 01 B1 02 C0
///
/// It has one collection, of usage page 0x000C and usage 0x0001. The collection has feature report 5 with 63
/// data bytes. So `collections` is `{0x000C, 0x0001, 64}`: the length 64 includes the report ID.
struct ReportDescriptor
{
    /// One entry for each top-level collection, in order. A descriptor without collections has one empty
    /// entry. If `fault` is not empty, featureReportBytes is 0 in all entries.
    std::vector<HidCapabilities> collections;

    /// What is wrong with the descriptor, as the end of a sentence: "is damaged" or "has no feature report".
    /// Empty if nothing is wrong.
    std::string fault;

    /// Parses a descriptor. As in the kernel, a feature report of more than 16384 bytes is a fault.
    static ReportDescriptor parse(const std::uint8_t* bytes, std::size_t size);
};
