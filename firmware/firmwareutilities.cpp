#include "firmwareutilities.h"

#include <algorithm>
#include <cstdint>
#include <tuple>
#include <utility>
#include <vector>

#include <QtEndian>
#include <QtGlobal>

#include "utilities.h"

namespace {

// Layout of the image header.
constexpr unsigned short imageHeaderBytes = 5;
constexpr int headerBlockLengthOffset = 3;

// Layout of an entry in the image's file table.
constexpr unsigned short entryHeaderReadBytes = 5; // the header and one byte of the contents
constexpr unsigned int entryHeaderBytes = 4;
constexpr int entryLengthOffset = 1;
constexpr int entryLengthEnd = entryLengthOffset + 2;
constexpr unsigned char identifierMask = 0x7F;
constexpr unsigned char endOfTable = 0x55;

constexpr unsigned short versionFileId = 5;
constexpr int versionTextOffset = 4;
constexpr char versionTextEnd = ',';
constexpr int maxVersionLength = 64;

// Layout of a USB descriptor file.
constexpr unsigned short usbDescriptorFileIds[] = {0x0C, 0x35, 0x0D};
constexpr unsigned short descriptorFileHeaderBytes = 14;
constexpr int recordsLengthOffset = 4;
constexpr int recordsLengthBase = 9;
constexpr unsigned short recordBytes = 6;
constexpr int recordDescriptorOffset = 2;
constexpr int recordDescriptorLength = 4;

// Layout of the USB device descriptor.
constexpr unsigned char deviceDescriptorType = 1;
constexpr int descriptorTypeOffset = 1;
constexpr int vendorIdOffset = 8;
constexpr int productIdOffset = 10;
constexpr int productIdEnd = productIdOffset + 2;

using FileEntry = std::pair<QByteArray, unsigned int>; // a copy of the file's header, and the file's address

unsigned char byteAt(const QByteArray& data, int offset)
{
    return static_cast<unsigned char>(data.at(offset));
}

std::uint16_t wordAt(const QByteArray& data, int offset)
{
    return qFromLittleEndian<std::uint16_t>(data.constData() + offset);
}

unsigned char identifierOf(const QByteArray& entryHeader)
{
    return byteAt(entryHeader, 0) & identifierMask;
}

/// Whether the program can show @p version as it is. Archives and devices are untrusted, so @p version
/// may be any text.
bool isShowable(const QString& version)
{
    return version.size() <= maxVersionLength &&
           std::none_of(version.begin(), version.end(),
                        [](QChar character) { return character.category() == QChar::Other_Control; });
}

/// Reads @p size bytes at @p address into @p buffer.
/// @return false if @p reader fails or delivers fewer than @p needed bytes.
bool read(ReadDataFunction& reader, QByteArray& buffer, unsigned int address, unsigned short size, int needed)
{
    return reader(buffer, address, size) && buffer.size() >= needed;
}

std::vector<FileEntry> findFiles(std::vector<unsigned short> fileIds, ReadDataFunction& reader)
{
    std::vector<FileEntry> found;
    QByteArray buffer;
    if (!read(reader, buffer, 0, imageHeaderBytes, imageHeaderBytes))
        return found;
    unsigned int address = wordAt(buffer, headerBlockLengthOffset) + imageHeaderBytes;
    while (!fileIds.empty()) {
        if (!read(reader, buffer, address, entryHeaderReadBytes, 1))
            return found;
        const auto match = std::find(fileIds.begin(), fileIds.end(), identifierOf(buffer));
        if (match != fileIds.end()) {
            // The buffer may be a view into the image, so the entry copies the bytes.
            found.emplace_back(QByteArray(buffer.constData(), buffer.size()), address);
            fileIds.erase(match);
        }
        if (byteAt(buffer, 0) == endOfTable || buffer.size() < entryLengthEnd)
            return found;
        address += wordAt(buffer, entryLengthOffset) + entryHeaderBytes;
    }
    return found;
}

std::tuple<bool, unsigned int, QByteArray> findFile(unsigned short fileId, ReadDataFunction& reader)
{
    const std::vector<FileEntry> found = findFiles({fileId}, reader);
    if (found.empty())
        return {false, 0, QByteArray()};
    return {true, found.back().second, found.back().first};
}

/// Reads one record after the other into @p record, until a record describes a device descriptor.
/// @return false if there is no such record or a record cannot be read.
bool findDeviceDescriptorRecord(unsigned int fileAddress, ReadDataFunction& reader, QByteArray& record)
{
    if (!read(reader, record, fileAddress, descriptorFileHeaderBytes, descriptorFileHeaderBytes))
        return false;
    const int count = (byteAt(record, recordsLengthOffset) - recordsLengthBase) / recordBytes;
    const unsigned int records = fileAddress + descriptorFileHeaderBytes;
    for (int i = 0; i < count; ++i) {
        const unsigned int address = records + static_cast<unsigned int>(i) * recordBytes;
        if (!read(reader, record, address, recordBytes, recordBytes))
            return false;
        if (byteAt(record, 0) == deviceDescriptorType)
            return true;
    }
    return false;
}

std::tuple<bool, unsigned short> findPidInUsbDescriptorFile(const int fileAddress, ReadDataFunction& reader)
{
    const std::tuple<bool, unsigned short> notFound{false, 0};
    const auto address = static_cast<unsigned int>(fileAddress);
    QByteArray buffer;
    if (!findDeviceDescriptorRecord(address, reader, buffer))
        return notFound;
    const unsigned int descriptor =
        address + descriptorFileHeaderBytes + wordAt(buffer, recordDescriptorOffset);
    const unsigned short length = wordAt(buffer, recordDescriptorLength);
    if (!read(reader, buffer, descriptor, length, productIdEnd))
        return notFound;
    if (byteAt(buffer, descriptorTypeOffset) != deviceDescriptorType)
        return notFound;
    const std::uint16_t vendorId = wordAt(buffer, vendorIdOffset);
    if (vendorId != Utilities::normalVendorId()) {
        qDebug("Unknown VID found: 0x%.4X, in file: 0x%.4X", static_cast<unsigned int>(vendorId), address);
        return notFound;
    }
    return {true, wordAt(buffer, productIdOffset)};
}

} // namespace

bool ReadVersionDataHelper_FromFile::operator()(QByteArray& buffer, unsigned int address,
                                                unsigned short size) const
{
    if (std::uint64_t{address} + size > static_cast<std::uint64_t>(image->size())) {
        buffer.clear();
        return false;
    }
    buffer.setRawData(image->constData() + address, size);
    return buffer.size() == size;
}

namespace FirmwareUtilities {

unsigned short getPid(ReadDataFunction reader)
{
    qDebug("Detecting firmware device PID");
    const std::vector<FileEntry> files =
        findFiles({std::begin(usbDescriptorFileIds), std::end(usbDescriptorFileIds)}, reader);
    for (const auto& [header, address] : files) {
        const unsigned int identifier = identifierOf(header);
        qDebug("Searching PID in file: 0x%.4X", identifier);
        const auto [found, pid] = findPidInUsbDescriptorFile(static_cast<int>(address), reader);
        if (found) {
            qDebug("PID found: 0x%.4X in file: 0x%.4X", static_cast<unsigned int>(pid), identifier);
            return pid;
        }
    }
    qDebug("PID cannot be found");
    return 0;
}

QString getVersion(ReadDataFunction reader)
{
    QString none = QStringLiteral("");
    const auto [found, address, header] = findFile(versionFileId, reader);
    if (!found || header.size() < entryLengthEnd)
        return none;
    const std::uint16_t length = wordAt(header, entryLengthOffset);
    qDebug("File located at address: 0x%.4X", address);
    qDebug("Bytes to read: 0x%.4X", static_cast<unsigned int>(length));
    QByteArray file;
    if (!reader(file, address, length))
        return none;
    QString version = none;
    const int available = std::min<int>(file.size(), length);
    for (int i = versionTextOffset; i < available && file.at(i) != versionTextEnd; ++i)
        version += QLatin1Char(file.at(i));
    return isShowable(version) ? version : none;
}

} // namespace FirmwareUtilities
