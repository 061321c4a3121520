// Replaces the driver-uninstall tool that the updater starts. Writes its arguments to "uninstalled.txt" in
// the temporary folder, and whether its working directory is the folder that contains it.
#include <cstdio>
#include <string>

#include <windows.h>

namespace {

bool worksInOwnFolder()
{
    wchar_t program[MAX_PATH]{};
    wchar_t directory[MAX_PATH]{};
    GetModuleFileNameW(nullptr, program, MAX_PATH);
    GetCurrentDirectoryW(MAX_PATH, directory);
    const std::wstring path = program;
    return path.substr(0, path.rfind(L'\\')) == directory;
}

} // namespace

int wmain(int argc, wchar_t* argv[])
{
    wchar_t path[MAX_PATH + 20]{};
    GetTempPathW(MAX_PATH, path);
    FILE* const file = _wfopen((std::wstring(path) + L"uninstalled.txt").c_str(), L"a");
    if (!file)
        return 1;
    for (int i = 1; i < argc; ++i)
        std::fprintf(file, "%ls ", argv[i]);
    std::fprintf(file, worksInOwnFolder() ? "in its own folder\n" : "elsewhere\n");
    std::fclose(file);
    return 0;
}
