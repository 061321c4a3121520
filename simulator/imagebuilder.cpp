#include "imagebuilder.h"

#include <algorithm>
#include <random>

namespace {

using Bytes = std::vector<std::uint8_t>;

constexpr std::uint8_t endOfTable = 0x55;
constexpr std::uint8_t versionFileId = 5;
constexpr std::size_t unreadTailBytes = 4; // a version file is read up to its length, its header included

constexpr std::size_t smallestMemoryBytes = 128; // of size code 1; each further code doubles it
constexpr int maxSizeCode = 15;

constexpr std::uint8_t deviceDescriptorType = 1;
constexpr std::uint8_t configurationDescriptorType = 2;

void append(Bytes& bytes, const Bytes& more)
{
    bytes.insert(bytes.end(), more.begin(), more.end());
}

/// The little-endian form of a word.
Bytes word(std::size_t value)
{
    return {static_cast<std::uint8_t>(value), static_cast<std::uint8_t>(value >> 8u)};
}

/// USB 2.0, table 9-8: a HID-only device, USB 2.0, 64-byte control packets, one configuration.
Bytes deviceDescriptor(std::uint16_t vendorId, std::uint16_t productId)
{
    Bytes descriptor{0x12, 0x01, 0x00, 0x02, 0x00, 0x00, 0x00, 0x40};
    append(descriptor, word(vendorId));
    append(descriptor, word(productId));
    append(descriptor, {0x00, 0x01, 0x01, 0x02, 0x03, 0x01});
    return descriptor;
}

/// USB 2.0, table 9-10: no interfaces, bus powered, 100 mA.
Bytes configurationDescriptor()
{
    return {0x09, 0x02, 0x09, 0x00, 0x00, 0x01, 0x00, 0x80, 0x32};
}

void appendRecord(Bytes& bytes, std::uint8_t type, std::size_t offset, const Bytes& descriptor)
{
    append(bytes, {type, 0});
    append(bytes, word(offset));
    append(bytes, word(descriptor.size()));
}

Bytes fileOf(std::uint8_t identifier, const Bytes& contents)
{
    Bytes entry{identifier};
    append(entry, word(contents.size()));
    entry.push_back(0);
    append(entry, contents);
    return entry;
}

std::vector<Bytes> usualEntries(const ImageOptions& options)
{
    return {
        ImageBuilder::fileEntry(0x01, std::string(24, '\x11')),
        ImageBuilder::versionEntry(options.version + ',' + options.versionRemark),
        ImageBuilder::fileEntry(0x23, std::string(40, '\x22')),
        ImageBuilder::usbDescriptorEntry(options.usbDescriptorFileId, options.vendorId, options.productId),
    };
}

int smallestDeviceSizeCode(std::size_t bytes)
{
    int code = 1;
    while (code < maxSizeCode && smallestMemoryBytes << (code - 1) < bytes)
        ++code;
    return code;
}

void appendPayload(Bytes& image, const ImageOptions& options)
{
    std::mt19937 generator(options.seed); // its sequence is the same on every system
    image.reserve(static_cast<std::size_t>(options.size));
    while (image.size() < static_cast<std::size_t>(options.size))
        image.push_back(static_cast<std::uint8_t>(generator()));
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
            const std::size_t device = records + wordAt(records + 2); // the device's record comes first
            identity.productId = static_cast<std::uint16_t>(wordAt(device + productIdOffset));
        }
    }
    if (identity.version.empty() || identity.productId == 0)
        return std::nullopt;
    return identity;
}

ImageOptions transmitter(int generation)
{
    ImageOptions options;
    options.productId = generation == 1 ? 0x0004 : 0x0003;
    options.pageSizeCode = 7;   // 256 bytes
    options.sectorSizeCode = 6; // 4096 bytes
    options.configBits = 2;
    return options;
}

ImageOptions headset()
{
    ImageOptions options;
    options.productId = 0x0006;
    options.pageSizeCode = 5; // 64 bytes
    options.configBits = 1;
    options.seed = 2;
    return options;
}

ImageOptions forMemoryOf(ImageOptions options, const Bytes& image)
{
    if (image.size() < 2)
        return options;
    constexpr unsigned nibble = 0x0F;
    options.size = static_cast<int>(image.size());
    options.deviceSizeCode = image[0] & nibble;
    options.pageSizeCode = image[0] >> 4u;
    options.sectorSizeCode = image[1] & nibble;
    options.configBits = image[1] >> 4u & 3u;
    return options;
}

Bytes build(const ImageOptions& options)
{
    Bytes image(3);
    append(image, word(static_cast<std::size_t>(options.headerBlockBytes)));
    image.resize(image.size() + static_cast<std::size_t>(options.headerBlockBytes), 0x33);
    for (const Bytes& entry : options.entries.empty() ? usualEntries(options) : options.entries)
        append(image, entry);
    image.resize(image.size() + 5, endOfTable); // an entry's header is read with a byte of what follows it
    appendPayload(image, options);

    const int deviceSizeCode =
        options.deviceSizeCode != 0 ? options.deviceSizeCode : smallestDeviceSizeCode(image.size());
    image[0] = static_cast<std::uint8_t>(options.pageSizeCode << 4 | deviceSizeCode);
    image[1] = static_cast<std::uint8_t>(options.configBits << 4 | options.sectorSizeCode);
    return image;
}

Bytes fileEntry(std::uint8_t identifier, const std::string& contents)
{
    return fileOf(identifier, Bytes(contents.begin(), contents.end()));
}

Bytes versionEntry(const std::string& text)
{
    return fileEntry(versionFileId, text + std::string(unreadTailBytes, '\0'));
}

Bytes usbDescriptorEntry(std::uint8_t identifier, std::uint16_t vendorId, std::uint16_t productId)
{
    constexpr std::size_t recordBytes = 6;
    constexpr std::size_t recordCount = 2;
    constexpr std::size_t recordsLengthBase = 9;
    const Bytes device = deviceDescriptor(vendorId, productId);
    const Bytes configuration = configurationDescriptor();
    constexpr std::size_t firstDescriptor = recordCount * recordBytes;
    Bytes contents(10);
    contents[0] = recordsLengthBase + recordCount * recordBytes;
    appendRecord(contents, deviceDescriptorType, firstDescriptor, device);
    appendRecord(contents, configurationDescriptorType, firstDescriptor + device.size(), configuration);
    append(contents, device);
    append(contents, configuration);
    return fileOf(identifier, contents);
}

} // namespace ImageBuilder
