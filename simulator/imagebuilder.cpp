#include "imagebuilder.h"

#include <algorithm>
#include <iterator>
#include <random>

namespace {

using Bytes = std::vector<std::uint8_t>;

constexpr std::uint8_t endOfTable = 0x55;
constexpr std::uint8_t versionFileId = 5;
constexpr std::size_t unreadTailBytes = 4; // the updater assumes that the length includes the header

constexpr std::uint8_t headerBlockBytes = 11; // length of the block between header and file table
constexpr std::size_t memoryUnit = 64;
constexpr std::uint8_t sizeCodeBits = 0x0F; // the bits of geometry[0] that hold the code of the memory size

std::uint8_t low(std::size_t word)
{
    return static_cast<std::uint8_t>(word);
}

std::uint8_t high(std::size_t word)
{
    return static_cast<std::uint8_t>(word >> 8u);
}

std::vector<Bytes> usualEntries(const ImageOptions& options)
{
    return {
        ImageBuilder::fileEntry(0x01, std::string(24, '\x11')),
        ImageBuilder::versionEntry(options.version + ",release"),
        ImageBuilder::fileEntry(0x23, std::string(40, '\x22')),
        ImageBuilder::usbDescriptorEntry(0x0C, options.vendorId, options.productId),
    };
}

/// The code of the smallest memory that holds @p bytes bytes.
std::uint8_t memorySizeCode(std::size_t bytes)
{
    constexpr std::uint8_t maxCode = 15;
    std::uint8_t code = 1;
    while (code < maxCode && memoryUnit << code < bytes)
        ++code;
    return code;
}

} // namespace

namespace ImageBuilder {

std::optional<Identity> identityOf(const Bytes& memory)
{
    constexpr std::size_t entryBytes = 4;
    constexpr std::size_t recordsOffset = 14;
    constexpr std::size_t productIdOffset = 10;
    const auto wordAt = [&](std::size_t at) {
        return at + 1 < memory.size() ? static_cast<std::size_t>(memory[at] | memory[at + 1] << 8) : 0u;
    };
    Identity identity;
    for (std::size_t at = 5 + wordAt(3); at + entryBytes < memory.size() && memory[at] != endOfTable;
         at += wordAt(at + 1) + entryBytes) {
        const std::size_t contents = at + entryBytes;
        if (memory[at] == versionFileId) {
            const std::size_t end = std::min(at + wordAt(at + 1), memory.size());
            for (std::size_t i = contents; i < end && memory[i] != ','; ++i)
                identity.version += static_cast<char>(memory[i]);
        } else if (memory[at] == 0x0C || memory[at] == 0x35 || memory[at] == 0x0D) {
            const std::size_t records = at + recordsOffset;
            const std::size_t device = records + wordAt(records + 2); // the device descriptor comes first
            identity.productId = static_cast<std::uint16_t>(wordAt(device + productIdOffset));
        }
    }
    if (identity.version.empty() || identity.productId == 0)
        return std::nullopt;
    return identity;
}

ImageOptions transmitter(int generation, std::size_t size)
{
    ImageOptions options;
    options.size = size;
    options.productId = transmitterProductIds[generation - 1];
    options.geometry = {0x70, 0x26}; // pages of 256 bytes, sectors of 4096
    return options;
}

ImageOptions headset(std::size_t size)
{
    ImageOptions options;
    options.size = size;
    options.productId = 0x0006;
    options.geometry = {0x50, 0x10}; // pages of 64 bytes
    options.seed = 2;
    return options;
}

Bytes build(const ImageOptions& options)
{
    Bytes image{options.geometry[0], options.geometry[1], 0, headerBlockBytes, 0};
    image.resize(image.size() + headerBlockBytes, 0x33);
    for (const Bytes& entry : options.entries.empty() ? usualEntries(options) : options.entries)
        image.insert(image.end(), entry.begin(), entry.end());
    image.resize(image.size() + 5, endOfTable); // readers fetch a 4-byte entry header and one more byte
    image.reserve(options.size);
    std::mt19937 generator(options.seed); // gives the same sequence on every system
    while (image.size() < options.size)
        image.push_back(static_cast<std::uint8_t>(generator()));
    if ((image[0] & sizeCodeBits) == 0)
        image[0] |= memorySizeCode(image.size());
    return image;
}

Bytes fileEntry(std::uint8_t identifier, const std::string& contents)
{
    Bytes entry{identifier, low(contents.size()), high(contents.size()), 0};
    std::copy(contents.begin(), contents.end(), std::back_inserter(entry));
    return entry;
}

Bytes versionEntry(const std::string& text)
{
    return fileEntry(versionFileId, text + std::string(unreadTailBytes, '\0'));
}

Bytes usbDescriptorEntry(std::uint8_t identifier, std::uint16_t vendorId, std::uint16_t productId)
{
    const Bytes contents{
        // Ten bytes come before the records. The first of these bytes is the length of all records plus 9.
        0x15, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00,
        // A record for each descriptor: type, 0, offset from the first record, length.
        0x01, 0x00, 0x0C, 0x00, 0x12, 0x00, //
        0x02, 0x00, 0x1E, 0x00, 0x09, 0x00,
        // USB 2.0, table 9-8: a HID-only device, USB 2.0, 64-byte control packets, one configuration.
        0x12, 0x01, 0x00, 0x02, 0x00, 0x00, 0x00, 0x40,                 //
        low(vendorId), high(vendorId), low(productId), high(productId), //
        0x00, 0x01, 0x01, 0x02, 0x03, 0x01,
        // USB 2.0, table 9-10: no interfaces, bus powered, 100 mA.
        0x09, 0x02, 0x09, 0x00, 0x00, 0x01, 0x00, 0x80, 0x32};
    return fileEntry(identifier, std::string(contents.begin(), contents.end()));
}

} // namespace ImageBuilder
