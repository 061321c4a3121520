// windowtext TITLE: prints a line "identifier: name" for every element of the window that it tells screen
// readers of. Exit status 1 where it cannot be asked.
#include <cstdio>
#include <string>

#include <windows.h>

#include "windowtext.h"

int wmain(int argc, wchar_t* argv[])
{
    constexpr LPARAM uiAutomationRoot = -25; // UiaRootObjectId
    constexpr UINT patienceMs = 5000;
    const HWND window = argc == 2 ? FindWindowW(nullptr, argv[1]) : nullptr;
    DWORD_PTR answer = 0;
    wchar_t folder[MAX_PATH]{};
    GetTempPathW(MAX_PATH, folder);
    const std::wstring path = std::wstring(folder) + windowTextFile;
    DeleteFileW(path.c_str());
    if (!window ||
        !SendMessageTimeoutW(window, WM_GETOBJECT, 0, uiAutomationRoot, SMTO_NORMAL, patienceMs, &answer))
        return 1;
    std::FILE* const file = _wfopen(path.c_str(), L"rb");
    if (!file)
        return 1;
    for (int byte = std::fgetc(file); byte != EOF; byte = std::fgetc(file))
        std::putchar(byte);
    std::fclose(file);
    return 0;
}
