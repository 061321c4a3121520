// Mutates archives. In three of four mutations it then corrects directory, sizes and checksums, so that the
// loader often goes on to read the entries.

#include <algorithm>
#include <array>
#include <cstdint>

#include <QtEndian>

#include "rawzip.h"

extern "C" {
std::size_t LLVMFuzzerMutate(std::uint8_t* data, std::size_t size, std::size_t maxSize);
std::size_t LLVMFuzzerCustomMutator(std::uint8_t* data, std::size_t size, std::size_t maxSize,
                                    unsigned int seed);
}

namespace {

constexpr int localHeaderBytes = 30;

std::uint16_t wordAt(const QByteArray& bytes, int offset)
{
    return qFromLittleEndian<quint16>(bytes.constData() + offset);
}

/// @return the offset of the first header of any kind from @p from on, or the size of @p zip if there is
///         none.
int nextHeader(const QByteArray& zip, int from)
{
    int next = zip.size();
    for (const char* signature : {"PK\3\4", "PK\1\2", "PK\5\6"}) {
        const int at = zip.indexOf(signature, from);
        next = at < 0 ? next : std::min(next, at);
    }
    return next;
}

/// Sets the size and checksum of a deflated entry to those of its unpacked bytes, up to the first error.
void measure(RawEntry& entry)
{
    z_stream stream{};
    if (inflateInit2(&stream, -MAX_WBITS) != Z_OK)
        return;
    std::array<Bytef, 0x10000> chunk;
    stream.next_in = reinterpret_cast<Bytef*>(entry.packed.data());
    stream.avail_in = static_cast<uInt>(entry.packed.size());
    entry.bytes = 0;
    entry.checksum = 0;
    int result = Z_OK;
    while (result == Z_OK) {
        stream.next_out = chunk.data();
        stream.avail_out = static_cast<uInt>(chunk.size());
        result = inflate(&stream, Z_NO_FLUSH);
        const auto count = static_cast<uInt>(chunk.size()) - stream.avail_out;
        entry.checksum = static_cast<std::uint32_t>(crc32(entry.checksum, chunk.data(), count));
        entry.bytes += count;
    }
    inflateEnd(&stream);
}

std::vector<RawEntry> entriesOf(const QByteArray& zip)
{
    constexpr int flagsOffset = 6;
    constexpr int methodOffset = 8;
    constexpr int nameBytesOffset = 26;
    constexpr int extraBytesOffset = 28;
    std::vector<RawEntry> entries;
    for (int at = zip.indexOf("PK\3\4"); at >= 0 && at + localHeaderBytes <= zip.size();
         at = zip.indexOf("PK\3\4", at + 4)) {
        const int nameBytes = wordAt(zip, at + nameBytesOffset);
        const int extraBytes = wordAt(zip, at + extraBytesOffset);
        const int data = at + localHeaderBytes + nameBytes + extraBytes;
        if (data > zip.size())
            continue;
        RawEntry entry = RawZip::entry(zip.mid(at + localHeaderBytes, nameBytes),
                                       zip.mid(data, nextHeader(zip, data) - data));
        entry.flags = wordAt(zip, at + flagsOffset);
        entry.method = wordAt(zip, at + methodOffset);
        entry.extra = zip.mid(data - extraBytes, extraBytes);
        if (entry.method == RawZip::Deflated)
            measure(entry);
        entries.push_back(entry);
    }
    return entries;
}

} // namespace

std::size_t LLVMFuzzerCustomMutator(std::uint8_t* data, std::size_t size, std::size_t maxSize,
                                    unsigned int seed)
{
    size = LLVMFuzzerMutate(data, size, maxSize);
    if (seed % 4 == 0)
        return size;
    const QByteArray mutated(reinterpret_cast<const char*>(data), static_cast<int>(size));
    const QByteArray zip = RawZip::archive(entriesOf(mutated));
    if (static_cast<std::size_t>(zip.size()) > maxSize)
        return size;
    std::copy(zip.begin(), zip.end(), data);
    return static_cast<std::size_t>(zip.size());
}
