#include "verdict.h"

#include <algorithm>
#include <cstdio>

#include "imagebuilder.h"

namespace {

constexpr std::int64_t chunkBytes = 4096;
constexpr std::int64_t packetBytes = 256;
constexpr std::int64_t packetDelayMs = 20;
constexpr std::int64_t transmitterCommitDelayMs = 50;
constexpr std::int64_t headsetCommitDelayMs = 1000;
constexpr std::int64_t sectorEraseDelayMs = 4000;
constexpr std::int64_t lastCommitDelayMs = 2000;

std::int64_t piecesOf(const std::vector<std::uint8_t>& image, std::int64_t pieceBytes)
{
    return (static_cast<std::int64_t>(image.size()) + pieceBytes - 1) / pieceBytes;
}

} // namespace

std::string Verdict::versionOf(const std::vector<std::uint8_t>& memory)
{
    const auto identity = ImageBuilder::identityOf(memory);
    return identity ? identity->version : "(no valid firmware)";
}

std::optional<std::size_t> Verdict::firstDifference(const std::vector<std::uint8_t>& memory,
                                                    const std::vector<std::uint8_t>& image)
{
    const auto difference = std::mismatch(image.begin(), image.end(), memory.begin(), memory.end()).first;
    if (difference == image.end())
        return std::nullopt;
    return static_cast<std::size_t>(difference - image.begin());
}

std::string Verdict::text(const std::vector<std::uint8_t>& memory, const std::vector<std::uint8_t>& image)
{
    std::string comparison = " bytes compared, equal";
    if (const auto offset = firstDifference(memory, image)) {
        char text[32];
        std::snprintf(text, sizeof text, " bytes, differs at 0x%04lx", static_cast<unsigned long>(*offset));
        comparison = text;
    }
    return versionOf(memory) + ", " + std::to_string(image.size()) + comparison;
}

int Verdict::commits(const std::vector<std::uint8_t>& image)
{
    return static_cast<int>(piecesOf(image, chunkBytes));
}

std::int64_t Verdict::programmingDelaysMs(DeviceType type, const std::vector<std::uint8_t>& image)
{
    const bool isTransmitter = type == DeviceType::Transmitter;
    const std::uint32_t sectorBytes = SimulatedChip::geometryOf(type, image).sectorSize;
    std::int64_t sum = piecesOf(image, packetBytes) * packetDelayMs + lastCommitDelayMs +
                       commits(image) * (isTransmitter ? transmitterCommitDelayMs : headsetCommitDelayMs);
    if (sectorBytes > 0)
        sum += piecesOf(image, sectorBytes) * sectorEraseDelayMs;
    return sum;
}
