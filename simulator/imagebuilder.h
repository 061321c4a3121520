#pragma once

#include <array>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

/// What a firmware image is to contain. `ImageBuilder::transmitter()` and `headset()` give usual ones to
/// vary.
///
/// What is read from a connected device comes in pieces of at most 32 bytes, so keep the version entry's
/// length (version, comma, remark) within that if a device is to run the image.
struct ImageOptions
{
    std::size_t size = 8192; ///< bytes of the image; where its table needs more, it gets as many as that

    /// The first two bytes, which describe the memory that the image is built for, in the chip's codes: pages
    /// of 2 << code bytes (4 bits), memory of 64 << code bytes (4 bits; 0: the smallest that holds the
    /// image); two bits of each: unused, configuration; sectors of 64 << code bytes (4 bits; transmitter).
    std::array<std::uint8_t, 2> geometry{};
    std::size_t headerBlockBytes = 11; ///< length of the block between header and file table

    std::string version = "1.2.3";
    std::uint16_t vendorId = 0x7A31;
    std::uint16_t productId = 0x0004;

    /// The file table's entries in order (see the functions below); where there is none, the usual four:
    /// filler, version, filler, USB descriptors.
    std::vector<std::vector<std::uint8_t>> entries;

    std::uint32_t seed = 1; ///< of the payload after the table
};

/// Builds firmware images as real ones are: header, table of typed files, end mark, and then pseudo-random
/// bytes that are the same for the same options everywhere.
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

/// The identity of the image at the begin of @p memory; nothing where it is not valid. Written apart from the
/// updater's own inspection, so that it can tell whether that is right.
std::optional<Identity> identityOf(const std::vector<std::uint8_t>& memory);

ImageOptions transmitter(int generation = 1, std::size_t size = ImageOptions().size);
ImageOptions headset(std::size_t size = ImageOptions().size);

/// @p options for the memory that @p image is for, and as large as it.
ImageOptions forMemoryOf(ImageOptions options, const std::vector<std::uint8_t>& image);

std::vector<std::uint8_t> build(const ImageOptions& options);

/// A file entry: identifier, length of the contents, contents.
std::vector<std::uint8_t> fileEntry(std::uint8_t identifier, const std::string& contents);

/// The version file with the text @p text (version, comma, remark). Its last four bytes lie beyond what is
/// read.
std::vector<std::uint8_t> versionEntry(const std::string& text);

/// A USB descriptor file with a device and a configuration descriptor.
std::vector<std::uint8_t> usbDescriptorEntry(std::uint8_t identifier, std::uint16_t vendorId,
                                             std::uint16_t productId);

} // namespace ImageBuilder
