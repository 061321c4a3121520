#include "uninstalltool_p.h"

#include <QCoreApplication>
#include <QDir>
#include <QProcess>

#include <windows.h>

namespace {

/// Whether this is a 32-bit process on 64-bit Windows. The function is looked up, for systems that lack it.
bool isWow64()
{
    using IsWow64ProcessFunction = BOOL(WINAPI*)(HANDLE, PBOOL);
    const HMODULE library = LoadLibraryW(L"kernel32.dll");
    if (!library)
        return false;
    BOOL wow64 = FALSE;
    const auto function = reinterpret_cast<IsWow64ProcessFunction>(
        reinterpret_cast<void (*)()>(GetProcAddress(library, "IsWow64Process")));
    const bool isKnown = function && function(GetCurrentProcess(), &wow64);
    FreeLibrary(library);
    return isKnown && wow64;
}

} // namespace

void startUninstallTool(QObject* parent, unsigned short vendorId, unsigned short productId)
{
    auto* const process = new QProcess(parent);
    QObject::connect(process, SIGNAL(finished(int)), process, SLOT(deleteLater()));
    const QString architecture = isWow64() ? QStringLiteral("x64") : QStringLiteral("x86");
    const QString program =
        QDir(QCoreApplication::applicationDirPath())
            .absoluteFilePath(QStringLiteral("UninstallDevices_%1.exe").arg(architecture));
    process->start(program, {QString::number(vendorId, 10), QString::number(productId, 10)});
}
