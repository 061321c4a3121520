#include "imagebuilder.h"

#include <algorithm>
#include <random>

#include <QtEndian>

namespace {

constexpr char endOfTable = 0x55;
constexpr std::uint8_t versionFileId = 5;
constexpr int unreadTailBytes = 4; // a version file is read up to its length, its header included

constexpr int smallestMemoryBytes = 128; // of size code 1; each further code doubles it
constexpr int maxSizeCode = 15;

constexpr char deviceDescriptorType = 1;
constexpr char configurationDescriptorType = 2;

QByteArray word(unsigned int value)
{
    QByteArray bytes(2, Qt::Uninitialized);
    qToLittleEndian(static_cast<std::uint16_t>(value), bytes.data());
    return bytes;
}

char byte(unsigned int value)
{
    return static_cast<char>(value & 0xFF);
}

/// USB 2.0, table 9-8: a HID-only device, USB 2.0, 64-byte control packets, one configuration.
QByteArray deviceDescriptor(std::uint16_t vendorId, std::uint16_t productId)
{
    return QByteArray::fromHex("12010002000000"
                               "40") +
           word(vendorId) + word(productId) +
           QByteArray::fromHex("0001"
                               "010203"
                               "01");
}

/// USB 2.0, table 9-10: no interfaces, bus powered, 100 mA.
QByteArray configurationDescriptor()
{
    return QByteArray::fromHex("0902"
                               "0900"
                               "00"
                               "01"
                               "00"
                               "80"
                               "32");
}

QByteArray descriptorRecord(char type, int offset, const QByteArray& descriptor)
{
    return QByteArray(1, type) + QByteArray(1, '\0') + word(static_cast<unsigned int>(offset)) +
           word(static_cast<unsigned int>(descriptor.size()));
}

std::vector<QByteArray> usualEntries(const ImageOptions& options)
{
    return {
        ImageBuilder::fileEntry(0x01, QByteArray(24, '\x11')),
        ImageBuilder::versionEntry(options.version + ',' + options.versionRemark),
        ImageBuilder::fileEntry(0x23, QByteArray(40, '\x22')),
        ImageBuilder::usbDescriptorEntry(options.usbDescriptorFileId, options.vendorId, options.productId),
    };
}

int smallestDeviceSizeCode(int bytes)
{
    int code = 1;
    while (code < maxSizeCode && smallestMemoryBytes << (code - 1) < bytes)
        ++code;
    return code;
}

void appendPayload(QByteArray& image, const ImageOptions& options)
{
    std::mt19937 generator(options.seed); // its sequence is the same on every system
    image.reserve(options.size);
    while (image.size() < options.size)
        image.append(byte(generator()));
}

} // namespace

namespace ImageBuilder {

std::optional<Identity> identityOf(const std::vector<std::uint8_t>& memory)
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
    if (identity.version.isEmpty() || identity.productId == 0)
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

ImageOptions forMemoryOf(ImageOptions options, const QByteArray& image)
{
    if (image.size() < 2)
        return options;
    constexpr unsigned nibble = 0x0F;
    const auto first = static_cast<unsigned char>(image.at(0));
    const auto second = static_cast<unsigned char>(image.at(1));
    options.size = image.size();
    options.deviceSizeCode = first & nibble;
    options.pageSizeCode = first >> 4;
    options.sectorSizeCode = second & nibble;
    options.configBits = second >> 4 & 3;
    return options;
}

QByteArray build(const ImageOptions& options)
{
    QByteArray table;
    for (const QByteArray& entry : options.entries.empty() ? usualEntries(options) : options.entries)
        table += entry;

    QByteArray image(3, '\0');
    image += word(static_cast<unsigned int>(options.headerBlockBytes));
    image += QByteArray(options.headerBlockBytes, '\x33');
    image += table;
    image += QByteArray(5, endOfTable); // an entry's header is read with a byte of what follows it
    appendPayload(image, options);

    const int deviceSizeCode =
        options.deviceSizeCode != 0 ? options.deviceSizeCode : smallestDeviceSizeCode(image.size());
    image[0] = static_cast<char>(options.pageSizeCode << 4 | deviceSizeCode);
    image[1] = static_cast<char>(options.configBits << 4 | options.sectorSizeCode);
    return image;
}

QByteArray fileEntry(std::uint8_t identifier, const QByteArray& contents)
{
    return QByteArray(1, static_cast<char>(identifier)) + word(static_cast<unsigned int>(contents.size())) +
           QByteArray(1, '\0') + contents;
}

QByteArray versionEntry(const QByteArray& text)
{
    return fileEntry(versionFileId, text + QByteArray(unreadTailBytes, '\0'));
}

QByteArray usbDescriptorEntry(std::uint8_t identifier, std::uint16_t vendorId, std::uint16_t productId)
{
    constexpr int recordBytes = 6;
    constexpr int recordCount = 2;
    constexpr int recordsLengthBase = 9;
    const QByteArray device = deviceDescriptor(vendorId, productId);
    const QByteArray configuration = configurationDescriptor();
    const int firstDescriptor = recordCount * recordBytes;
    return fileEntry(identifier, QByteArray(1, byte(recordsLengthBase + recordCount * recordBytes)) +
                                     QByteArray(9, '\0') +
                                     descriptorRecord(deviceDescriptorType, firstDescriptor, device) +
                                     descriptorRecord(configurationDescriptorType,
                                                      firstDescriptor + device.size(), configuration) +
                                     device + configuration);
}

} // namespace ImageBuilder
