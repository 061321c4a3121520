#pragma once

#include <cstdint>
#include <vector>

#include <QByteArray>
#include <QDataStream>

#include <zlib.h>

/// An entry of a ZIP archive. archive() writes its fields as they are, even if they are wrong.
struct RawEntry
{
    QByteArray name;
    QByteArray packed;
    std::uint16_t flags = 0;
    std::uint16_t method = 0;
    std::uint32_t checksum = 0;
    std::uint32_t packedBytes = 0;
    std::uint32_t bytes = 0; ///< unpacked size
    QByteArray extra;
    bool sharesBytes = false; ///< uses the local header and the data of the previous entry
};

/// Writes ZIP archives, also invalid ones that no ordinary tool would write.
namespace RawZip {

enum Method : std::uint16_t { Stored = 0, Deflated = 8, Bzip2 = 12 };

inline std::uint32_t checksumOf(const QByteArray& bytes)
{
    return static_cast<std::uint32_t>(
        crc32(0, reinterpret_cast<const Bytef*>(bytes.constData()), static_cast<uInt>(bytes.size())));
}

inline RawEntry entry(const QByteArray& name, const QByteArray& contents, Method method = Stored)
{
    constexpr int before = 6; // bytes before the deflated data: Qt's length (4), zlib's header (2)
    constexpr int after = 4;
    RawEntry made;
    made.name = name;
    made.packed = contents;
    if (method == Deflated && contents.isEmpty())
        made.packed = QByteArray("\3\0", 2);
    else if (method == Deflated)
        made.packed = qCompress(contents).mid(before).chopped(after);
    made.method = method;
    made.checksum = checksumOf(contents);
    made.packedBytes = static_cast<std::uint32_t>(made.packed.size());
    made.bytes = static_cast<std::uint32_t>(contents.size());
    return made;
}

/// @return @p entry with its sizes in an extra field, as in archives of more than 4 GiB. The packed size is
/// that of @p entry, and the unpacked size is @p bytes.
inline RawEntry inZip64(RawEntry entry, quint64 bytes)
{
    QDataStream extra(&entry.extra, QIODevice::WriteOnly);
    extra.setByteOrder(QDataStream::LittleEndian);
    extra << quint16{1} << quint16{16} << bytes << quint64{entry.packedBytes};
    entry.bytes = entry.packedBytes = 0xFFFFFFFF;
    return entry;
}

/// Writes the fields that a local header and the directory share.
inline void writeCommon(QDataStream& stream, const RawEntry& entry)
{
    constexpr std::uint16_t versionNeeded = 45;
    constexpr std::uint32_t dateTime = 0x50210000; // 2020-01-01
    stream << versionNeeded << entry.flags << entry.method << dateTime << entry.checksum << entry.packedBytes
           << entry.bytes << static_cast<std::uint16_t>(entry.name.size())
           << static_cast<std::uint16_t>(entry.extra.size());
}

/// @param declaredEntries  number of entries that the end record declares; -1 for the true number. If 65535
///                         or more entries are declared, the archive has a ZIP64 end record as well.
inline QByteArray archive(const std::vector<RawEntry>& entries, qint64 declaredEntries = -1)
{
    constexpr std::uint32_t localSignature = 0x04034B50;
    constexpr std::uint32_t directorySignature = 0x02014B50;
    constexpr std::uint32_t endSignature = 0x06054B50;
    constexpr std::uint32_t end64Signature = 0x06064B50;
    constexpr std::uint32_t locatorSignature = 0x07064B50;
    constexpr std::uint16_t inZip64 = 0xFFFF;
    const auto append = [](QDataStream& stream, const QByteArray& bytes) {
        stream.writeRawData(bytes.constData(), bytes.size());
    };
    QByteArray zip;
    QByteArray directory;
    QDataStream files(&zip, QIODevice::WriteOnly);
    QDataStream headers(&directory, QIODevice::WriteOnly);
    files.setByteOrder(QDataStream::LittleEndian);
    headers.setByteOrder(QDataStream::LittleEndian);
    std::uint32_t offset = 0;
    for (const RawEntry& entry : entries) {
        if (!entry.sharesBytes) {
            offset = static_cast<std::uint32_t>(zip.size());
            files << localSignature;
            writeCommon(files, entry);
            append(files, entry.name + entry.extra + entry.packed);
        }
        headers << directorySignature << std::uint16_t{45};
        writeCommon(headers, entry);
        headers << std::uint16_t{0} << std::uint32_t{0} << std::uint32_t{0} << offset;
        append(headers, entry.name + entry.extra);
    }
    const auto directoryOffset = static_cast<std::uint32_t>(zip.size());
    const auto directoryBytes = static_cast<std::uint32_t>(directory.size());
    const auto count = declaredEntries < 0 ? quint64{entries.size()} : static_cast<quint64>(declaredEntries);
    const bool isZip64 = count >= inZip64;
    append(files, directory);
    if (isZip64) {
        const auto end64Offset = static_cast<quint64>(zip.size());
        files << end64Signature << quint64{44} << std::uint16_t{45} << std::uint16_t{45} << std::uint32_t{0}
              << std::uint32_t{0} << count << count << quint64{directoryBytes} << quint64{directoryOffset};
        files << locatorSignature << std::uint32_t{0} << end64Offset << std::uint32_t{1};
    }
    const std::uint16_t shortCount = isZip64 ? inZip64 : static_cast<std::uint16_t>(count);
    files << endSignature << std::uint32_t{0} << shortCount << shortCount << directoryBytes << directoryOffset
          << std::uint16_t{0};
    return zip;
}

} // namespace RawZip
