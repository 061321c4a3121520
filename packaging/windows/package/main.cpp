// Implements the self-extracting package, which unpacks the updater and its companions into a new folder and
// starts the updater in this folder with "-sfx". This switch makes the updater look for the firmware archive
// in the package's folder. The package waits until the updater ends, and then removes the new folder. The
// package's exit status is the updater's exit status, or 1 if the updater does not run.
#include <string>
#include <vector>

#include <windows.h>

#include "ownedhandle.h"
#include "payload.h"
#include "programfolder.h"

namespace {

/// Runs the program @p name in @p folder and waits until it ends. The working directory of the program is
/// also @p folder, so that the program loads nothing from the package's folder. Sets @p status to the
/// program's exit status.
/// @return ERROR_SUCCESS after the program has run, otherwise an error code of the system.
DWORD runProgram(const ProgramFolder& folder, const std::wstring& name, DWORD& status)
{
    const std::wstring program = folder.pathOf(name);
    std::wstring commandLine = L'"' + program + L"\" -sfx";
    STARTUPINFOW startup{};
    startup.cb = sizeof(startup);
    PROCESS_INFORMATION process{};
    if (!CreateProcessW(program.c_str(), commandLine.data(), nullptr, nullptr, FALSE, 0, nullptr,
                        folder.path().c_str(), &startup, &process))
        return GetLastError();
    const OwnedHandle thread(process.hThread);
    const OwnedHandle running(process.hProcess);
    if (WaitForSingleObject(running.get(), INFINITE) != WAIT_OBJECT_0 ||
        !GetExitCodeProcess(running.get(), &status))
        return GetLastError();
    return ERROR_SUCCESS;
}

int failed(const wchar_t* step, DWORD error)
{
    wchar_t reason[256]{};
    FormatMessageW(FORMAT_MESSAGE_FROM_SYSTEM | FORMAT_MESSAGE_IGNORE_INSERTS, nullptr, error, 0, reason,
                   static_cast<DWORD>(std::size(reason)), nullptr);
    const std::wstring text = std::wstring(step) + L"\n\n" + reason + L"(" + std::to_wstring(error) + L")";
    MessageBoxW(nullptr, text.c_str(), L"ZEFO VYNT Firmware Update", MB_OK | MB_ICONERROR);
    return EXIT_FAILURE;
}

} // namespace

int WINAPI wWinMain(HINSTANCE, HINSTANCE, PWSTR, int)
{
    ProgramFolder::removeLeftovers();
    const std::vector<PackedFile> files = unpackFiles();
    if (files.empty())
        return failed(L"This package is damaged. Please download it again.", ERROR_INVALID_DATA);
    ProgramFolder folder;
    if (const DWORD error = folder.create())
        return failed(L"Could not create a protected folder for the firmware updater.", error);
    if (const DWORD error = folder.write(files))
        return failed(L"Could not unpack the firmware updater.", error);
    DWORD status = EXIT_FAILURE;
    if (const DWORD error = runProgram(folder, files.front().name, status))
        return failed(L"Could not start the firmware updater.", error);
    return static_cast<int>(status);
}
