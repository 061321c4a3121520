#pragma once

#include <array>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

/// The contents of a firmware image. `ImageBuilder::transmitter()` and `headset()` return usual ones to vary.
///
/// The updater reads at most 32 bytes of the version entry (version, comma, remark) from a device, so keep it
/// within that if a device runs the image.
struct ImageOptions
{
    std::size_t size = 8192; ///< bytes of the image, or more if its table needs more

    /// The first two bytes, which describe the memory that the image is built for, in the chip's codes: pages
    /// of 2 << code bytes (4 bits), memory of 64 << code bytes (4 bits; 0: the smallest that holds the
    /// image); two unused bits, two bits of configuration; sectors of 64 << code bytes (4 bits; transmitter).
    std::array<std::uint8_t, 2> geometry{};
    std::size_t headerBlockBytes = 11; ///< length of the block between header and file table

    std::string version = "1.2.3";
    std::uint16_t vendorId = 0x7A31;
    std::uint16_t productId = 0x0004;

    /// The file table's entries in order (see the functions below); if empty, the usual four: filler,
    /// version, filler, USB descriptors.
    std::vector<std::vector<std::uint8_t>> entries;

    std::uint32_t seed = 1; ///< of the payload after the table
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

/// The identity of the image at the start of @p memory; nothing if it is not valid. Independent of the
/// updater's own inspection, so that tests can compare the two.
std::optional<Identity> identityOf(const std::vector<std::uint8_t>& memory);

/// The USB product identifiers of the transmitter's generations, the first one first. They are not taken from
/// the updater's table; a test compares the two.
const std::vector<std::uint16_t>& transmitterProductIds();

ImageOptions transmitter(int generation = 1, std::size_t size = ImageOptions().size);
ImageOptions headset(std::size_t size = ImageOptions().size);

/// @p options for the same memory as @p image, and of its size.
ImageOptions forMemoryOf(ImageOptions options, const std::vector<std::uint8_t>& image);

std::vector<std::uint8_t> build(const ImageOptions& options);

/// A file entry: identifier, length of the contents, contents.
std::vector<std::uint8_t> fileEntry(std::uint8_t identifier, const std::string& contents);

/// The version file with the text @p text (version, comma, remark). Its last four bytes are never read.
std::vector<std::uint8_t> versionEntry(const std::string& text);

/// A USB descriptor file with a device and a configuration descriptor.
std::vector<std::uint8_t> usbDescriptorEntry(std::uint8_t identifier, std::uint16_t vendorId,
                                             std::uint16_t productId);

} // namespace ImageBuilder
