#pragma once

#include <array>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

/// The contents of a firmware image. `ImageBuilder::transmitter()` and `headset()` return the usual contents,
/// which the caller may change.
///
/// If a device runs the image, the version entry (version, comma, remark) must not be longer than 32 bytes,
/// because the updater reads only 32 bytes of the entry from a device.
struct ImageOptions
{
    std::size_t size = 8192; ///< size of the image in bytes; build() makes it larger if the table needs more

    /// The first two bytes, which describe the memory that the image is built for.
    /// - first byte, bits 4 to 7: page size, 2 << code bytes
    /// - first byte, bits 0 to 3: memory size, 64 << code bytes
    /// - second byte, bits 4 to 5: configuration
    /// - second byte, bits 0 to 3: sector size, 64 << code bytes (transmitter only)
    /// If the code of the memory size is 0, build() sets the code of the smallest memory that holds the
    /// image. Code 0 of the page or sector size states no size.
    std::array<std::uint8_t, 2> geometry{};

    std::string version = "1.2.3";
    std::uint16_t vendorId = 0x7A31;
    std::uint16_t productId = 0x0004;

    /// The entries of the file table in order, as fileEntry(), versionEntry() and usbDescriptorEntry()
    /// return them. If there are none, the image gets the usual four entries: filler, version, filler,
    /// USB descriptors.
    std::vector<std::vector<std::uint8_t>> entries;

    std::uint32_t seed = 1; ///< seed of the pseudo-random bytes after the table
};

/// Builds firmware images like real ones: header, table of typed files, end mark, and then pseudo-random
/// bytes. The same options give the same bytes on every system.
///
///     ImageOptions options = ImageBuilder::transmitter(2, 65536);
///     options.version = "2.0.0";
///     const std::vector<std::uint8_t> image = ImageBuilder::build(options);
namespace ImageBuilder {

/// What a device's boot loader finds in an image.
struct Identity
{
    std::string version;
    std::uint16_t productId = 0;
};

/// The identity of the image at the start of @p memory; empty if the image is not valid. The function uses no
/// code of the updater, so that tests can compare its results with the updater's.
std::optional<Identity> identityOf(const std::vector<std::uint8_t>& memory);

/// The USB product identifiers of the transmitter, in the order of its generations. They are not taken from
/// the updater's table; a test compares both lists.
constexpr std::uint16_t transmitterProductIds[] = {
    0x0004,
    0x0003,
};

ImageOptions transmitter(int generation = 1, std::size_t size = ImageOptions().size);
ImageOptions headset(std::size_t size = ImageOptions().size);

std::vector<std::uint8_t> build(const ImageOptions& options);

/// A file entry: identifier, length of the contents (2 bytes), 0, contents.
std::vector<std::uint8_t> fileEntry(std::uint8_t identifier, const std::string& contents);

/// The version file with the text @p text (version, comma, remark). The file ends with four zero bytes,
/// because the updater does not read the last four bytes of the entry.
std::vector<std::uint8_t> versionEntry(const std::string& text);

/// A USB descriptor file with a device and a configuration descriptor.
std::vector<std::uint8_t> usbDescriptorEntry(std::uint8_t identifier, std::uint16_t vendorId,
                                             std::uint16_t productId);

} // namespace ImageBuilder
