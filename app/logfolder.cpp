#include "logfolder.h"

#include <QDateTime>
#include <QDir>
#include <QFileInfo>
#include <QLocale>
#include <QRegularExpression>
#include <QStandardPaths>
#include <QTemporaryFile>

namespace {

constexpr int keptLogs = 20;

/// Whether this user owns @p folder. Qt cannot query the user's identifier. So the folder's owner is compared
/// with the owner of a new file.
bool isOwn(const QFileInfo& folder)
{
    QTemporaryFile ownFile;
    if (!ownFile.open())
        return false;
    return folder.ownerId() == QFileInfo(ownFile.fileName()).ownerId();
}

/// Creates the folder @p path if it is missing, and lets only this user write to it.
/// @return false on failure, or if @p path is a link, is not a folder or belongs to another user.
bool prepare(const QString& path)
{
    static_cast<void>(QDir().mkdir(path)); // fails if the folder exists
    const QFileInfo folder(path);
    if (!folder.isDir() || folder.isSymLink() || folder.isJunction() || !isOwn(folder))
        return false;
    return QFile::setPermissions(path, folder.permissions() & ~(QFile::WriteGroup | QFile::WriteOther));
}

void removeOldLogs(const QDir& folder)
{
    const QRegularExpression logName(QStringLiteral("^[0-9]{8}-[0-9]{4}(-[0-9]+)?\\.txt$"));
    const QStringList logs =
        folder.entryList(QDir::Files | QDir::NoSymLinks, QDir::Time).filter(logName); // newest first
    for (const QString& name : logs.mid(keptLogs - 1))
        static_cast<void>(QFile::remove(folder.filePath(name)));
}

bool createIn(const QString& folder, const QString& baseName, QFile& file)
{
    if (!prepare(folder))
        return false;
    removeOldLogs(folder); // leaves fewer than keptLogs logs, so one of the names below is free
    for (int attempt = 1; attempt <= keptLogs; ++attempt) {
        const QString number = attempt == 1 ? QString() : QStringLiteral("-%1").arg(attempt);
        file.setFileName(QStringLiteral("%1/%2%3.txt").arg(folder, baseName, number));
        if (file.open(QIODevice::WriteOnly | QIODevice::NewOnly))
            return true;
    }
    return false;
}

} // namespace

bool LogFolder::createLog(QFile& file, const QDateTime& start)
{
    const QString temporary = QStandardPaths::writableLocation(QStandardPaths::TempLocation);
    if (temporary.isEmpty()) // the path below would start at the root
        return false;
    const QString folder = temporary + QStringLiteral("/ZEFO_VYNT_Firmware_Update_Logs");
    const QString name = QLocale::c().toString(start, QStringLiteral("yyyyMMdd-HHmm"));
    return createIn(folder, name, file) ||
           createIn(folder + QLatin1Char('-') + QDir::home().dirName(), name, file);
}
