// Stands for the driver-uninstall tool that the updater starts: writes its arguments to "uninstalled.txt" in
// the temporary folder.
#include <cstdio>
#include <string>

#include <windows.h>

int wmain(int argc, wchar_t* argv[])
{
    wchar_t path[MAX_PATH + 20]{};
    GetTempPathW(MAX_PATH, path);
    FILE* const file = _wfopen((std::wstring(path) + L"uninstalled.txt").c_str(), L"a");
    if (!file)
        return 1;
    for (int i = 1; i < argc; ++i)
        std::fprintf(file, "%ls ", argv[i]);
    std::fprintf(file, "\n");
    std::fclose(file);
    return 0;
}
