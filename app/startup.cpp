#include "startup.h"

#include <array>
#include <memory>

#include <windows.h>

#include <psapi.h>
#include <tlhelp32.h>

#include <QCoreApplication>
#include <QFileInfo>
#include <QGuiApplication>
#include <QLocale>
#include <QTranslator>

namespace {

using OwnedHandle = std::unique_ptr<void, decltype(&CloseHandle)>;

/// @return the parent process's identifier, or 0 if the identifier is unknown.
DWORD parentProcessId()
{
    const HANDLE handle = CreateToolhelp32Snapshot(TH32CS_SNAPPROCESS, 0);
    if (handle == INVALID_HANDLE_VALUE)
        return 0;
    const OwnedHandle snapshot(handle, &CloseHandle);

    PROCESSENTRY32W entry{};
    entry.dwSize = sizeof(entry);
    const DWORD ownProcessId = GetCurrentProcessId();
    // Skips the first entry, which is the system's idle process.
    if (!Process32FirstW(snapshot.get(), &entry))
        return 0;
    while (Process32NextW(snapshot.get(), &entry)) {
        if (entry.th32ProcessID == ownProcessId)
            return entry.th32ParentProcessID;
    }
    return 0;
}

} // namespace

void Startup::enableHighDpiScaling()
{
    QCoreApplication::setAttribute(Qt::AA_EnableHighDpiScaling);
    QCoreApplication::setAttribute(Qt::AA_UseHighDpiPixmaps);
    QGuiApplication::setHighDpiScaleFactorRoundingPolicy(Qt::HighDpiScaleFactorRoundingPolicy::PassThrough);
}

void Startup::installTranslator(QTranslator& translator, const QString& prefix)
{
    static_cast<void>(translator.load(prefix + QLocale::system().name(), QStringLiteral(":/translations")));
    QCoreApplication::installTranslator(&translator);
}

bool Startup::isLaunchedByPackage(const QStringList& arguments)
{
    const QStringList switches = arguments.mid(1);
    return switches.contains(QStringLiteral("-sfx"), Qt::CaseInsensitive);
}

QDir Startup::parentProcessDirectory()
{
    const OwnedHandle parent(
        OpenProcess(PROCESS_QUERY_INFORMATION | PROCESS_VM_READ, FALSE, parentProcessId()), &CloseHandle);
    if (!parent)
        return QDir(QString());

    std::array<wchar_t, MAX_PATH> path{};
    const DWORD length =
        K32GetModuleFileNameExW(parent.get(), nullptr, path.data(), static_cast<DWORD>(path.size()));
    if (length == 0)
        return QDir(QString());
    return QFileInfo(QString::fromWCharArray(path.data(), static_cast<int>(length))).dir();
}

QString Startup::findFirmwareArchive(const QDir& directory)
{
    const QStringList archives =
        directory.entryList({QStringLiteral("*.zip")}, QDir::Files | QDir::Readable, QDir::Unsorted);
    return archives.isEmpty() ? QString() : directory.absoluteFilePath(archives.first());
}
