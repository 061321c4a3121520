#include "firmwarecontroller.h"

#include <algorithm>

#include <QBuffer>
#include <QDataStream>
#include <QDebug>
#include <QFileInfo>
#include <QStringList>
#include <QTextStream>

#include <quazip.h>
#include <quazipfile.h>

#include "firmwarecontroller_p.h"
#include "firmwareutilities.h"
#include "imagetext.h"
#include "utilities.h"

namespace {

constexpr int copyBlockBytes = 4064;

/// What a hostile archive may cost. Real images take a few megabytes of text, release notes a few kilobytes.
struct ReadLimits
{
    qint64 entryBytes; ///< uncompressed, of one entry
    qint64 totalBytes; ///< uncompressed, of all entries that may still be read
};
constexpr qint64 mebibyte = 1024 * 1024;
constexpr ReadLimits imageLimits{64 * mebibyte, 256 * mebibyte};
constexpr ReadLimits releaseNotesLimits{mebibyte, mebibyte};

bool copyData(QIODevice& source, QDataStream& target)
{
    char block[copyBlockBytes];
    while (!source.atEnd()) {
        const qint64 count = source.read(block, copyBlockBytes);
        if (count <= 0 || target.writeRawData(block, static_cast<int>(count)) < count)
            return false;
    }
    return true;
}

/// The bytes of an entry; empty where there is none of that name, or it is damaged, encrypted or passes a
/// limit.
QByteArray readFile(QuaZip& archive, const QString& name, ReadLimits& limits)
{
    if (name.isEmpty() || !archive.setCurrentFile(name, QuaZip::csInsensitive))
        return QByteArray();
    QuaZipFileInfo64 info;
    if (!archive.getCurrentFileInfo(&info) || info.isEncrypted() ||
        info.uncompressedSize > static_cast<quint64>(std::min(limits.entryBytes, limits.totalBytes)))
        return QByteArray();
    const auto size = static_cast<int>(info.uncompressedSize); // no more than this is ever inflated
    limits.totalBytes -= size;
    QuaZipFile file(&archive);
    if (!file.open(QIODevice::ReadOnly) || file.getZipError() != UNZ_OK)
        return QByteArray();
    QByteArray bytes;
    bytes.reserve(size);
    QDataStream stream(&bytes, QIODevice::WriteOnly);
    const bool isCopied = copyData(file, stream);
    file.close(); // compares the checksum
    return isCopied && file.getZipError() == UNZ_OK ? bytes : QByteArray();
}

QByteArray readFirmwareFile(QuaZip& archive, const QString& name, ReadLimits& limits)
{
    return decodeImageText(readFile(archive, name, limits));
}

/// The image of an entry and the kind of device it is for; DeviceType::Unknown where it is not usable.
QPair<DeviceType, FirmwareData> getFirmwareData(QuaZip& archive, const QString& name, ReadLimits& limits)
{
    const QPair<DeviceType, FirmwareData> rejected{DeviceType::Unknown, FirmwareData()};
    if (name.isEmpty())
        return rejected;
    qDebug() << "Processing " << name;
    FirmwareData data;
    data.image = readFirmwareFile(archive, name, limits);
    if (data.image.isEmpty())
        return rejected;
    const ReadVersionDataHelper_FromFile reader(data.image);
    data.version = FirmwareUtilities::getVersion(reader);
    if (data.version.isEmpty())
        return rejected;
    data.pid = FirmwareUtilities::getPid(reader);
    if (data.pid == 0)
        return rejected;
    const DeviceType type =
        Utilities::deviceTypeOf({Utilities::normalVendorId(), data.pid, InterfaceKind::Hid});
    return type == DeviceType::Unknown ? rejected : qMakePair(type, data);
}

QStringList listFiles(QuaZip& archive, const QString& suffix)
{
    QStringList names;
    for (bool more = archive.goToFirstFile(); more; more = archive.goToNextFile()) {
        const QString name = archive.getCurrentFileName();
        if (!name.endsWith(QLatin1Char('/')) && name.endsWith(suffix))
            names << name;
    }
    return names;
}

} // namespace

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

bool FirmwareControllerPrivate::load(const QString& path)
{
    if (!QFileInfo(path).isFile()) // opening a pipe or a device could block or never end
        return false;
    QuaZip archive(path);
    if (!archive.open(QuaZip::mdUnzip) || !archive.goToFirstFile())
        return false;
    qDebug() << "Loading firmware: " << path;
    return loadReleaseNotes(archive) && loadImages(archive);
}

bool FirmwareControllerPrivate::loadReleaseNotes(QuaZip& archive)
{
    const QStringList names = listFiles(archive, QStringLiteral(".txt"));
    if (names.size() > 1)
        return false;
    ReadLimits limits = releaseNotesLimits;
    if (!names.isEmpty())
        releaseNotes = QTextStream(readFile(archive, names.first(), limits)).readAll();
    return true;
}

bool FirmwareControllerPrivate::loadImages(QuaZip& archive)
{
    ReadLimits limits = imageLimits;
    for (const QString& name :
         listFiles(archive, QStringLiteral(".ff")) + listFiles(archive, QStringLiteral(".ef"))) {
        const auto [type, data] = getFirmwareData(archive, name, limits);
        if (firmwares.contains(type))
            return false;
        if (type != DeviceType::Unknown)
            firmwares[type] = data;
    }
    return !firmwares.isEmpty();
}

void FirmwareControllerPrivate::clear()
{
    filePath.clear();
    firmwares.clear();
    releaseNotes.clear();
}
