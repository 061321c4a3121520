#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "devicetree.h"

/// What a HID report descriptor (HID 1.11 section 6.2.2) tells of an interface.
///
///     05 0C 09 01 A1 01 85 05 75 08 95 3F 09 01 B1 02 C0
///
/// is one collection of usage page 0x000C and usage 0x0001, whose feature report 5 has 63 data bytes:
/// `{0x000C, 0x0001, 64}`.
struct ReportDescriptor
{
    /// Of each top-level collection, in order; never empty. Where there is a fault, none has feature reports.
    std::vector<HidCapabilities> collections;

    /// Why it gives no feature report, be it broken or of a keyboard; empty where it gives one.
    std::string fault;

    /// Reads at most 4096 bytes, which is all that the kernel takes; collections and pushed states may be
    /// nested 32 deep, a feature report has at most 16384 bytes.
    static ReportDescriptor parse(const std::uint8_t* bytes, std::size_t size);
};
