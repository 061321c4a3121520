#include "imagegeometry.h"

namespace {

/// The size that @p code stands for, where code 1 is @p first.
std::uint32_t sizeOf(unsigned code, std::uint32_t first)
{
    return code == 0 ? 0 : first << (code - 1);
}

} // namespace

ImageGeometry ImageGeometry::decode(unsigned char byte0, unsigned char byte1)
{
    constexpr unsigned nibble = 0x0F;
    constexpr std::uint32_t firstMemory = 128;
    constexpr std::uint32_t firstPage = 4;
    const unsigned page = byte0 >> 4;
    return {
        sizeOf(byte0 & nibble, firstMemory),
        page == 0 ? 1 : sizeOf(page, firstPage),
        sizeOf(page & 0x07, firstPage),
        sizeOf(byte1 & nibble, firstMemory),
        static_cast<std::uint32_t>(byte1 >> 4 & 0x03),
    };
}
