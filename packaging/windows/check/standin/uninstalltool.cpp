// Replaces the driver-uninstall tool that the updater starts. Appends its arguments and its working directory
// to "uninstalled.txt" in the temporary folder.
#include <cstdio>
#include <string>

#include <windows.h>

int wmain(int argc, wchar_t* argv[])
{
    wchar_t directory[MAX_PATH]{};
    wchar_t path[MAX_PATH]{};
    GetCurrentDirectoryW(MAX_PATH, directory);
    GetTempPathW(MAX_PATH, path);
    FILE* const file = _wfopen((std::wstring(path) + L"uninstalled.txt").c_str(), L"a");
    if (!file)
        return 1;
    for (int i = 1; i < argc; ++i)
        std::fprintf(file, "%ls ", argv[i]);
    std::fprintf(file, "%ls\n", directory);
    return std::fclose(file);
}
