#include "payload.h"

#include <cstdlib>
#include <cstring>

#include <zlib.h>

namespace {

constexpr int payloadResource = 1;
constexpr int gzipWindowBits = 16 + MAX_WBITS;

// A package is damaged if its gzip stream specifies a larger size than this.
constexpr DWORD largestPayloadBytes = 256 * 1024 * 1024;

// For each file, a tar archive (POSIX.1-1988 ustar) contains a header and the file's bytes, both padded to
// whole blocks. Blocks of zeros follow the last file.
constexpr std::size_t blockBytes = 512;
constexpr std::size_t nameBytes = 100;
constexpr std::size_t sizeOffset = 124;
constexpr std::size_t sizeBytes = 11;
constexpr int octal = 8;

std::vector<BYTE> unpackedResource()
{
    const HRSRC resource =
        FindResourceW(nullptr, MAKEINTRESOURCEW(payloadResource), reinterpret_cast<LPCWSTR>(RT_RCDATA));
    const HGLOBAL loaded = resource ? LoadResource(nullptr, resource) : nullptr;
    if (!loaded)
        return {};
    const BYTE* const packed = static_cast<const BYTE*>(LockResource(loaded));
    const DWORD packedSize = SizeofResource(nullptr, resource);

    // The last four bytes of a gzip stream hold the size of the uncompressed contents, little-endian.
    DWORD size = 0;
    if (packedSize < sizeof(size))
        return {};
    CopyMemory(&size, packed + packedSize - sizeof(size), sizeof(size));
    if (size > largestPayloadBytes)
        return {};

    std::vector<BYTE> unpacked(size);
    z_stream stream{};
    stream.next_in = const_cast<BYTE*>(packed);
    stream.avail_in = packedSize;
    stream.next_out = unpacked.data();
    stream.avail_out = size;
    if (inflateInit2(&stream, gzipWindowBits) != Z_OK)
        return {};
    const bool isComplete = inflate(&stream, Z_FINISH) == Z_STREAM_END && stream.avail_out == 0;
    inflateEnd(&stream);
    return isComplete ? unpacked : std::vector<BYTE>();
}

} // namespace

std::vector<PackedFile> unpackFiles()
{
    std::vector<PackedFile> files;
    const std::vector<BYTE> archive = unpackedResource();
    std::size_t at = 0;
    while (at + blockBytes <= archive.size() && archive[at] != 0) {
        const char* const header = reinterpret_cast<const char*>(archive.data() + at);
        const std::string name(header, strnlen(header, nameBytes));
        const std::size_t size =
            std::strtoul(std::string(header + sizeOffset, sizeBytes).c_str(), nullptr, octal);
        at += blockBytes;
        if (size > archive.size() - at)
            return {};
        const auto begin = archive.begin() + static_cast<std::ptrdiff_t>(at);
        files.push_back({std::wstring(name.begin(), name.end()),
                         std::vector<BYTE>(begin, begin + static_cast<std::ptrdiff_t>(size))});
        at += (size + blockBytes - 1) / blockBytes * blockBytes;
    }
    return files;
}
