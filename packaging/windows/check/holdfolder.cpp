// holdfolder PATH: holds a folder open, so that nobody can rename or remove it, until this program is killed.
// holdfolder refused PATH: exit status 0 if the system refuses to rename or remove the folder because
// somebody holds it open.
#include <string>

#include <windows.h>

namespace {

constexpr DWORD share = FILE_SHARE_READ | FILE_SHARE_WRITE;

HANDLE open(const wchar_t* path, DWORD access)
{
    return CreateFileW(path, access, share, nullptr, OPEN_EXISTING, FILE_FLAG_BACKUP_SEMANTICS, nullptr);
}

bool isRefused(const std::wstring& path)
{
    return open(path.c_str(), DELETE) == INVALID_HANDLE_VALUE && GetLastError() == ERROR_SHARING_VIOLATION &&
           !MoveFileW(path.c_str(), (path + L"x").c_str());
}

} // namespace

int wmain(int argc, wchar_t* argv[])
{
    if (argc == 3)
        return isRefused(argv[2]) ? 0 : 1;
    if (argc != 2 || open(argv[1], FILE_LIST_DIRECTORY) == INVALID_HANDLE_VALUE)
        return 1;
    Sleep(INFINITE);
    return 0;
}
