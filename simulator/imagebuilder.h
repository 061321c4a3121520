#pragma once

#include <array>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

/// The contents of a firmware image. `ImageBuilder::transmitter()` and `headset()` return the usual contents,
/// which the caller may change.
///
/// In an image that a device runs, the version entry (version, comma, remark) must not be longer than 32
/// bytes, because the updater reads only 32 bytes of the entry from a device.
struct ImageOptions
{
    std::size_t size = 8192; ///< size of the image in bytes; build() makes it larger if the table needs more

    /// The first two bytes, which describe the memory that the image is built for. From the highest bit on:
    /// - 4 bits: a code; a page has 2 << code bytes
    /// - 4 bits: a code; the memory has 64 << code bytes. Code 0 means the smallest memory that holds the
    ///   image
    /// - 2 bits: unused
    /// - 2 bits: configuration
    /// - 4 bits: a code; a sector has 64 << code bytes (transmitter only)
    std::array<std::uint8_t, 2> geometry{};

    std::string version = "1.2.3";
    std::uint16_t vendorId = 0x7A31;
    std::uint16_t productId = 0x0004;

    /// The entries of the file table in order, as fileEntry() and similar functions return them. If there are
    /// none, the image gets the usual four entries: filler, version, filler, USB descriptors.
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

/// The identity of the image at the start of @p memory; empty if the image is not valid. The function does
/// not use the updater's own inspection, so that tests can compare both results.
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

/// A file entry: identifier, length of the contents, contents.
std::vector<std::uint8_t> fileEntry(std::uint8_t identifier, const std::string& contents);

/// The version file with the text @p text (version, comma, remark). The file ends with four zero bytes,
/// because the updater does not read the last four bytes of the entry.
std::vector<std::uint8_t> versionEntry(const std::string& text);

/// A USB descriptor file with a device and a configuration descriptor.
std::vector<std::uint8_t> usbDescriptorEntry(std::uint8_t identifier, std::uint16_t vendorId,
                                             std::uint16_t productId);

} // namespace ImageBuilder
