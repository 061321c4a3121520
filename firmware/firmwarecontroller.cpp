#include "firmwarecontroller.h"

#include <algorithm>
#include <iterator>

#include <QDataStream>
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

// What an archive may cost at most. The memory of the largest device is 2 MiB, about 6 MiB of image text.
constexpr quint64 mebibyte = 0x100000;
constexpr quint64 maxEntryBytes = 64 * mebibyte;
constexpr quint64 maxReleaseNotesBytes = mebibyte; // the window lays out a line per byte at worst
constexpr quint64 maxArchiveBytes = 2 * maxEntryBytes + maxReleaseNotesBytes; // entries may share their bytes
constexpr quint64 maxDirectoryBytes = 16 * mebibyte; // QuaZip takes four times as much to remember it

constexpr quint64 directoryHeaderBytes = 46; // of an entry, ZIP application note 4.3.12

// ZIP application note 4.4.4 and 4.4.5
constexpr uLong encryptedFlag = 1;
constexpr uLong storedMethod = 0;
constexpr uLong deflatedMethod = 8;

/// An archive that knows how much of it may still be read.
class FirmwareArchive : public QuaZip
{
public:
    using QuaZip::QuaZip;

    quint64 bytesLeft = maxArchiveBytes;
};

bool getCurrentEntry(QuaZip& archive, unz_file_info64& entry)
{
    return unzGetCurrentFileInfo64(archive.getUnzFile(), &entry, nullptr, 0, nullptr, 0, nullptr, 0) ==
           UNZ_OK;
}

/// Leaves the entries' names in @p names, in their order. QuaZip remembers every name, so it is asked for
/// none beyond the limit; of a name longer than it has room for it delivers the rest arbitrarily.
/// @return false where the directory is too large.
bool readNames(QuaZip& archive, QStringList& names)
{
    quint64 bytes = 0;
    for (bool more = archive.goToFirstFile(); more; more = archive.goToNextFile()) {
        unz_file_info64 entry;
        if (!getCurrentEntry(archive, entry))
            return false;
        bytes += directoryHeaderBytes + entry.size_filename + entry.size_file_extra + entry.size_file_comment;
        if (bytes > maxDirectoryBytes)
            return false;
        if (entry.size_filename <= QuaZip::MAX_FILE_NAME_LENGTH)
            names.append(archive.getCurrentFileName());
    }
    return true;
}

QStringList listFiles(const QStringList& names, const QString& suffix)
{
    QStringList files;
    std::copy_if(names.begin(), names.end(), std::back_inserter(files),
                 [&](const QString& name) { return name.endsWith(suffix); });
    return files;
}

/// Copies chunk by chunk, so that no more memory is taken than bytes have really come.
bool copyData(QIODevice& source, QDataStream& target)
{
    char chunk[copyChunkBytes];
    while (!source.atEnd()) {
        const auto count = static_cast<int>(source.read(chunk, copyChunkBytes));
        if (count <= 0 || target.writeRawData(chunk, count) < count)
            return false;
    }
    return true;
}

/// The ZIP library may know more methods, but not all of them end where the packed bytes end too early.
bool isReadable(const unz_file_info64& entry)
{
    return (entry.flag & encryptedFlag) == 0 &&
           (entry.compression_method == storedMethod || entry.compression_method == deflatedMethod);
}

/// Takes the current entry's share of what may be read; false where it is refused. An entry never delivers
/// more than it declares, and packed bytes count because empty blocks unpack to nothing.
bool admitCurrentEntry(FirmwareArchive& archive, quint64 maxBytes)
{
    unz_file_info64 entry;
    if (!getCurrentEntry(archive, entry) || !isReadable(entry))
        return false;
    const quint64 bytes = std::max<quint64>(entry.uncompressed_size, entry.compressed_size);
    if (bytes > maxBytes || bytes > archive.bytesLeft)
        return false;
    archive.bytesLeft -= bytes;
    return true;
}

/// @return whether the whole entry has come and its checksum is right.
bool readEntry(FirmwareArchive& archive, const QString& name, quint64 maxBytes, QDataStream& target)
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
    QByteArray bytes;
    QDataStream stream(&bytes, QIODevice::WriteOnly);
    return readEntry(archive, name, maxBytes, stream) ? bytes : QByteArray();
}

/// Decodes the image text that is written to it, which is several times as large as the image and need not be
/// kept.
class ImageTextDevice : public QIODevice
{
public:
    ImageTextDevice() { open(QIODevice::WriteOnly | QIODevice::Unbuffered); }

    bool isSequential() const override { return true; }

    ImageText::Decoder decoder;

protected:
    qint64 readData(char*, qint64) override { return -1; }
    qint64 writeData(const char* text, qint64 bytes) override
    {
        return decoder.feed(text, static_cast<int>(bytes)) ? bytes : -1;
    }
};

QByteArray readFirmwareFile(FirmwareArchive& archive, const QString& name)
{
    ImageTextDevice text;
    QDataStream stream(&text);
    return readEntry(archive, name, maxEntryBytes, stream) ? text.decoder.takeImage() : QByteArray();
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
    if (!QFileInfo(path).isFile()) // opening or reading anything else may never end
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
    // The text's byte order mark tells its encoding; without one it is the system's.
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
