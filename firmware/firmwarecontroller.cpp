#include "firmwarecontroller.h"

#include <algorithm>
#include <functional>
#include <iterator>

#include <QDebug>
#include <QFileInfo>
#include <QPair>
#include <QStringList>
#include <QTextStream>

#include <quazip.h>
#include <quazipfile.h>

#include "firmwarecontroller_p.h"
#include "firmwareutilities.h"
#include "imagetext.h"
#include "utilities.h"

namespace {

constexpr int copyChunkBytes = 4064;

// These constants limit the time and memory that an archive may take. The largest device has 2 MiB of memory.
// Its image is about 6 MiB of text, packed into a few MiB. maxUnpackedBytes and maxPackedBytes limit the
// totals of all entries. An entry counts in full even if it shares bytes of the archive with another entry.
// maxPackedBytes also stops packed blocks that take time but unpack to nothing.
constexpr quint64 mebibyte = 0x100000;
constexpr quint64 maxEntryBytes = 64 * mebibyte;   // unpacked
constexpr quint64 maxReleaseNotesBytes = mebibyte; // unpacked; many lines take long to display
constexpr quint64 maxUnpackedBytes = maxEntryBytes + maxReleaseNotesBytes;
constexpr quint64 maxPackedBytes = 16 * mebibyte;
constexpr quint64 maxDirectoryBytes = mebibyte;

constexpr quint64 directoryHeaderBytes = 46; // of each entry (ZIP application note 4.3.12)

// ZIP application note, 4.4.4 and 4.4.5
constexpr uLong encryptedFlag = 1;
constexpr uLong storedMethod = 0;
constexpr uLong deflatedMethod = 8;

/// A ZIP archive that counts how many of its bytes may still be read.
class FirmwareArchive : public QuaZip
{
public:
    using QuaZip::QuaZip;

    quint64 packedBytesLeft = maxPackedBytes;
    quint64 unpackedBytesLeft = maxUnpackedBytes;
};

bool getCurrentEntry(QuaZip& archive, unz_file_info64& entry)
{
    return unzGetCurrentFileInfo64(archive.getUnzFile(), &entry, nullptr, 0, nullptr, 0, nullptr, 0) ==
           UNZ_OK;
}

/// Logs a warning if the archive announces more entries than @p found, the number that readNames() has read.
/// readNames() stops at the first entry whose directory record it cannot read.
void logMissingEntries(QuaZip& archive, quint64 found)
{
    unz_global_info64 endRecord;
    if (unzGetGlobalInfo64(archive.getUnzFile(), &endRecord) == UNZ_OK && endRecord.number_entry > found)
        qWarning("The firmware archive should have %llu entries, but only %llu can be read",
                 static_cast<unsigned long long>(endRecord.number_entry),
                 static_cast<unsigned long long>(found));
}

/// Appends the names of the entries to @p names, in the archive's order. Leaves out names that are too long
/// for QuaZip's buffer. The size of the directory (the list of entries) is limited, because QuaZip keeps
/// every name in memory.
/// @return false if the directory is too large.
bool readNames(QuaZip& archive, QStringList& names)
{
    quint64 bytes = 0;
    quint64 entries = 0;
    unz_file_info64 entry;
    for (bool more = archive.goToFirstFile(); more && getCurrentEntry(archive, entry);
         more = archive.goToNextFile()) {
        bytes += directoryHeaderBytes + entry.size_filename + entry.size_file_extra + entry.size_file_comment;
        if (bytes > maxDirectoryBytes)
            return false;
        if (entry.size_filename <= QuaZip::MAX_FILE_NAME_LENGTH)
            names.append(archive.getCurrentFileName());
        ++entries;
    }
    logMissingEntries(archive, entries);
    return true;
}

QStringList listFiles(const QStringList& names, const QString& suffix)
{
    QStringList files;
    std::copy_if(names.begin(), names.end(), std::back_inserter(files),
                 [&](const QString& name) { return name.endsWith(suffix); });
    return files;
}

/// Receives an entry's bytes piece by piece. @return false to stop the reading.
using Target = std::function<bool(const char* bytes, int count)>;

/// Passes the bytes of @p source to @p target chunk by chunk, so that memory use grows with the bytes that
/// are read, not with an entry's declared size.
/// @return whether all bytes were read and @p target accepted every chunk.
bool copyData(QIODevice& source, const Target& target)
{
    char chunk[copyChunkBytes];
    while (!source.atEnd()) {
        const auto count = static_cast<int>(source.read(chunk, copyChunkBytes));
        if (count <= 0 || !target(chunk, count))
            return false;
    }
    return true;
}

/// Whether the updater can read @p entry. QuaZip supports more compression methods, but some of them make
/// QuaZip hang if the packed bytes end too early.
bool isReadable(const unz_file_info64& entry)
{
    return (entry.flag & encryptedFlag) == 0 &&
           (entry.compression_method == storedMethod || entry.compression_method == deflatedMethod);
}

/// Subtracts the declared sizes of the current entry from packedBytesLeft and unpackedBytesLeft. These sizes
/// are reliable limits, because QuaZip never delivers more bytes than an entry declares.
/// @return false, and subtracts nothing, if the entry is too large or cannot be read.
bool admitCurrentEntry(FirmwareArchive& archive, quint64 maxBytes)
{
    unz_file_info64 entry;
    if (!getCurrentEntry(archive, entry) || !isReadable(entry))
        return false;
    if (entry.compressed_size > archive.packedBytesLeft || entry.uncompressed_size > maxBytes ||
        entry.uncompressed_size > archive.unpackedBytesLeft)
        return false;
    archive.packedBytesLeft -= entry.compressed_size;
    archive.unpackedBytesLeft -= entry.uncompressed_size;
    return true;
}

/// Passes the bytes of the entry @p name to @p target.
/// @return whether the whole entry was read and its checksum is right.
bool readEntry(FirmwareArchive& archive, const QString& name, quint64 maxBytes, const Target& target)
{
    if (name.isEmpty() || !archive.setCurrentFile(name, QuaZip::csInsensitive))
        return false;
    if (!admitCurrentEntry(archive, maxBytes))
        return false;
    QuaZipFile file(&archive);
    if (!file.open(QIODevice::ReadOnly) || file.getZipError() != UNZ_OK)
        return false;
    if (!copyData(file, target))
        return false;
    file.close(); // compares the checksum
    return file.getZipError() == UNZ_OK;
}

QByteArray readFile(FirmwareArchive& archive, const QString& name, quint64 maxBytes)
{
    QByteArray contents;
    const auto append = [&contents](const char* bytes, int count) {
        contents.append(bytes, count);
        return true;
    };
    return readEntry(archive, name, maxBytes, append) ? contents : QByteArray();
}

/// Decodes the text while reading it. The whole text, which is several times as large as the image, need not
/// be in memory.
QByteArray readFirmwareFile(FirmwareArchive& archive, const QString& name)
{
    ImageText::Decoder decoder;
    const auto decode = [&decoder](const char* text, int count) { return decoder.feed(text, count); };
    return readEntry(archive, name, maxEntryBytes, decode) ? decoder.takeImage() : QByteArray();
}

QPair<DeviceType, FirmwareData> getFirmwareData(FirmwareArchive& archive, const QString& name)
{
    QPair<DeviceType, FirmwareData> rejected{DeviceType::Unknown, FirmwareData()};
    if (name.isEmpty())
        return rejected;
    qDebug() << "Processing " << name;
    FirmwareData data;
    data.image = readFirmwareFile(archive, name);
    if (data.image.isEmpty())
        return rejected;
    const ReadVersionDataHelper_FromFile reader(&data.image);
    data.version = FirmwareUtilities::getVersion(reader);
    if (data.version.isEmpty())
        return rejected;
    data.pid = FirmwareUtilities::getPid(reader);
    if (data.pid == 0)
        return rejected;
    const DeviceType type =
        Utilities::deviceTypeOf({Utilities::normalVendorId(), data.pid, InterfaceKind::Hid});
    if (type == DeviceType::Unknown)
        return rejected;
    return {type, data};
}

} // namespace

FirmwareControllerPrivate::FirmwareControllerPrivate(FirmwareController* controller)
    : QObject(controller)
    , q(controller)
{
}

void FirmwareControllerPrivate::setFilePath(const QString& path)
{
    clear();
    if (!load(path)) {
        clear();
        Q_EMIT q->loadingFailed();
        return;
    }
    filePath = path;
    qDebug() << "Firmware successfully loaded: " << path;
    Q_EMIT q->loadedSuccessfully();
}

void FirmwareControllerPrivate::clear()
{
    filePath.clear();
    firmwares.clear();
    releaseNotes.clear();
}

bool FirmwareControllerPrivate::load(const QString& path)
{
    if (!QFileInfo(path).isFile()) // opening or reading anything else may block for ever
        return false;
    FirmwareArchive archive(path);
    if (!archive.open(QuaZip::mdUnzip) || !archive.goToFirstFile())
        return false;
    qDebug() << "Loading firmware: " << path;
    QStringList names;
    if (!readNames(archive, names)) {
        qCritical("The firmware archive's directory is too large");
        return false;
    }
    const QStringList texts = listFiles(names, QStringLiteral(".txt"));
    if (texts.size() > 1)
        return false;
    // QTextStream chooses the encoding by the byte order mark. Without a mark, it assumes the system's
    // encoding.
    if (!texts.isEmpty())
        releaseNotes = QTextStream(readFile(archive, texts.first(), maxReleaseNotesBytes)).readAll();
    const QStringList images =
        listFiles(names, QStringLiteral(".ff")) + listFiles(names, QStringLiteral(".ef"));
    for (const QString& name : images) {
        const auto [type, data] = getFirmwareData(archive, name);
        if (firmwares.contains(type))
            return false;
        if (type != DeviceType::Unknown)
            firmwares.insert(type, data);
    }
    return !firmwares.isEmpty();
}

FirmwareController::FirmwareController(QObject* parent)
    : QObject(parent)
    , d(new FirmwareControllerPrivate(this))
{
}

void FirmwareController::setFilePath(const QString& path)
{
    d->setFilePath(path);
}

QByteArray FirmwareController::firmware(DeviceType type) const
{
    return d->firmwares.value(type).image;
}

QString FirmwareController::version(DeviceType type) const
{
    return d->firmwares.value(type).version;
}

unsigned short FirmwareController::pid(DeviceType type) const
{
    return d->firmwares.value(type).pid;
}

QString FirmwareController::deviceTypeName() const
{
    return Utilities::deviceNameForPid(pid(DeviceType::Transmitter));
}

QString FirmwareController::fileBaseName() const
{
    return QFileInfo(d->filePath).completeBaseName();
}

QString FirmwareController::releaseNotes() const
{
    return d->releaseNotes;
}
