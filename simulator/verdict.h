#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "simulatedchip.h"

/// Compares a device's memory with the image that it should hold. Adds up the protocol's fixed delays for an
/// image.
namespace Verdict {

/// The offset of the first byte in which @p memory differs from @p image; empty if the memory starts with the
/// image.
std::optional<std::size_t> firstDifference(const std::vector<std::uint8_t>& memory,
                                           const std::vector<std::uint8_t>& image);

/// The version of the firmware in @p memory, such as "1.2.3", or "(no valid firmware)".
std::string versionOf(const std::vector<std::uint8_t>& memory);

/// @return a text such as "1.2.3, 8192 bytes compared, equal", or "1.2.3, 8192 bytes, differs at 0x0042",
/// which names the first byte that differs.
std::string text(const std::vector<std::uint8_t>& memory, const std::vector<std::uint8_t>& image);

int commits(const std::vector<std::uint8_t>& image); ///< number of commits in an update

/// The sum of the delays from the configuration of the chip to the end-of-programming request, in
/// milliseconds.
std::int64_t programmingDelaysMs(DeviceType type, const std::vector<std::uint8_t>& image);

} // namespace Verdict
