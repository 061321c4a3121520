#pragma once

#include <cstdint>

/// The memory that a firmware image is built for. Sizes are in bytes; 0 means that the image does not state
/// the size.
struct ImageGeometry
{
    std::uint32_t deviceSize;
    std::uint32_t transmitterPageSize; ///< 1, not 0, if the image does not state it
    std::uint32_t headsetPageSize;
    std::uint32_t transmitterSectorSize;
    std::uint32_t configBits; ///< 0 to 3, for the loader

    /// Decodes the first two bytes of an image:
    ///
    ///     byte 0  bits 0 to 3  memory size: 1 is 128 bytes, 2 is 256, 3 is 512 and so on; 0 is none
    ///             bits 4 to 7  page size: 1 is 4 bytes, 2 is 8, 3 is 16 and so on; the headset ignores bit 7
    ///     byte 1  bits 0 to 3  sector size of the transmitter, coded like the memory size
    ///             bits 4 to 5  configuration bits
    static constexpr ImageGeometry decode(unsigned byte0, unsigned byte1)
    {
        constexpr std::uint32_t firstMemory = 128, firstPage = 4;
        const unsigned page = byte0 >> 4;
        return {sizeOf(byte0 & 0x0F, firstMemory), page == 0 ? 1 : sizeOf(page, firstPage),
                sizeOf(page & 0x07, firstPage), sizeOf(byte1 & 0x0F, firstMemory), byte1 >> 4 & 0x03};
    }

private:
    /// Decodes a size: code 0 means 0, code 1 means @p first, and each further code means twice the size of
    /// the code before it.
    static constexpr std::uint32_t sizeOf(unsigned code, std::uint32_t first)
    {
        return code == 0 ? 0 : first << (code - 1);
    }
};
