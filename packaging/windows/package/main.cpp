// The self-extracting package: unpacks the updater and what belongs beside it into a temporary folder of its
// own, starts it with "-sfx", waits for it, and removes the folder. The firmware archive stays beside the
// package, where the updater looks for it. Exit status: the updater's, or 1.
#include <string>
#include <vector>

#include <windows.h>

#include "ownedhandle.h"
#include "payload.h"
#include "programfolder.h"

namespace {

DWORD writeAll(const ProgramFolder& folder, const std::vector<PackedFile>& files)
{
    for (const PackedFile& file : files) {
        const DWORD error = folder.write(file);
        if (error != ERROR_SUCCESS)
            return error;
    }
    return ERROR_SUCCESS;
}

/// @return an error code of the system; ERROR_SUCCESS where the program has run, with its exit status in @p
/// status.
DWORD runProgram(const std::wstring& program, DWORD& status)
{
    std::wstring commandLine = L'"' + program + L"\" -sfx";
    STARTUPINFOW startup{};
    startup.cb = sizeof(startup);
    PROCESS_INFORMATION process{};
    if (!CreateProcessW(program.c_str(), commandLine.data(), nullptr, nullptr, FALSE, 0, nullptr, nullptr,
                        &startup, &process))
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
    ProgramFolder folder;
    std::vector<PackedFile> files;
    DWORD status = EXIT_FAILURE;
    if (const DWORD error = unpackFiles(files))
        return failed(L"This package is damaged. Please download it again.", error);
    if (const DWORD error = folder.create())
        return failed(L"No folder could be made for the firmware updater.", error);
    if (const DWORD error = writeAll(folder, files))
        return failed(L"The firmware updater could not be unpacked.", error);
    if (const DWORD error = runProgram(folder.pathOf(files.front().name), status))
        return failed(L"The firmware updater could not be started.", error);
    return static_cast<int>(status);
}
