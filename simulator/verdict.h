#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "simulatedchip.h"

/// How a device's memory stands against the image that it was to get, and what the protocol's fixed delays
/// come to for that image.
namespace Verdict {

/// The place of the first byte of @p image that @p memory has otherwise; nothing where it has them all.
std::optional<std::size_t> firstDifference(const std::vector<std::uint8_t>& memory,
                                           const std::vector<std::uint8_t>& image);

/// Of the firmware in @p memory, such as "1.2.3"; "(no valid firmware)" where there is none.
std::string versionOf(const std::vector<std::uint8_t>& memory);

/// Such as "1.0.0 -> 1.2.3, 8192 bytes compared, equal".
/// @param before  the memory before the update.
std::string text(const std::vector<std::uint8_t>& before, const std::vector<std::uint8_t>& memory,
                 const std::vector<std::uint8_t>& image);

int commits(const std::vector<std::uint8_t>& image); ///< of a whole update

/// From the configuration of the chip to the end-of-programming request, in milliseconds.
std::int64_t programmingDelaysMs(DeviceType type, const std::vector<std::uint8_t>& image);

/// For which the updater waits after that request, in milliseconds.
constexpr std::int64_t restartDelayMs = 10000;

} // namespace Verdict
