#include "programfolder.h"

#include <aclapi.h>
#include <objbase.h>
#include <sddl.h>
#include <shlobj.h>

namespace {

constexpr wchar_t namePrefix[] = L"ZEFO_VYNT_Firmware_Update_";
/// Gives administrators, the system and the owner full access. Inherits nothing from the parent folder.
constexpr wchar_t folderAccess[] = L"D:P(A;OICI;FA;;;BA)(A;OICI;FA;;;SY)(A;OICI;FA;;;OW)";

// A failed removal is tried again, because a virus scanner or an ending program may keep a file open
// for a moment.
constexpr int removalAttempts = 20;
constexpr DWORD removalPauseMs = 100;

bool isElevated()
{
    HANDLE opened = nullptr;
    if (!OpenProcessToken(GetCurrentProcess(), TOKEN_QUERY, &opened))
        return true; // if in doubt, the folder gets the stronger protection
    const OwnedHandle token(opened);
    TOKEN_ELEVATION elevation{};
    DWORD size = sizeof(elevation);
    return !GetTokenInformation(token.get(), TokenElevation, &elevation, size, &size) ||
           elevation.TokenIsElevated != 0;
}

std::wstring temporaryFolder()
{
    wchar_t path[MAX_PATH + 1]{};
    return GetTempPathW(MAX_PATH + 1, path) == 0 ? std::wstring() : std::wstring(path);
}

/// Asks the system for the folder. Does not use %ProgramData%, because the user can set this variable.
std::wstring programDataFolder()
{
    wchar_t path[MAX_PATH + 1]{};
    const HRESULT result = SHGetFolderPathW(nullptr, CSIDL_COMMON_APPDATA, nullptr, SHGFP_TYPE_CURRENT, path);
    return SUCCEEDED(result) ? std::wstring(path) + L'\\' : std::wstring();
}

std::wstring newFolderPath(const std::wstring& parent)
{
    wchar_t name[64]{};
    GUID unique{};
    if (parent.empty() || CoCreateGuid(&unique) != S_OK ||
        StringFromGUID2(unique, name, static_cast<int>(std::size(name))) == 0)
        return {};
    return parent + namePrefix + name;
}

/// @return the path of @p object with all links resolved. While @p object is open, no program can
/// rename a folder in this path.
std::wstring resolvedPathOf(HANDLE object)
{
    std::wstring path(GetFinalPathNameByHandleW(object, nullptr, 0, FILE_NAME_NORMALIZED), L'\0');
    path.resize(GetFinalPathNameByHandleW(object, path.data(), static_cast<DWORD>(path.size()),
                                          FILE_NAME_NORMALIZED));
    const std::wstring local = L"\\\\?\\";
    const std::wstring network = local + L"UNC\\";
    if (path.compare(0, network.size(), network) == 0)
        return L"\\\\" + path.substr(network.size());
    return path.compare(0, local.size(), local) == 0 ? path.substr(local.size()) : path;
}

/// @return whether @p path is on a fixed drive with a file system that keeps access control lists.
bool isProtectable(const std::wstring& path)
{
    wchar_t drive[MAX_PATH + 1]{};
    DWORD features = 0;
    return GetVolumePathNameW(path.c_str(), drive, MAX_PATH + 1) && GetDriveTypeW(drive) == DRIVE_FIXED &&
           GetVolumeInformationW(drive, nullptr, 0, nullptr, nullptr, &features, nullptr, 0) &&
           (features & FILE_PERSISTENT_ACLS) != 0;
}

using Owner = std::vector<BYTE>; ///< a security identifier; empty if there is none

Owner ownerOf(HANDLE object)
{
    PSID owner = nullptr;
    PSECURITY_DESCRIPTOR descriptor = nullptr;
    if (GetSecurityInfo(object, SE_FILE_OBJECT, OWNER_SECURITY_INFORMATION, &owner, nullptr, nullptr, nullptr,
                        &descriptor) != ERROR_SUCCESS)
        return {};
    const BYTE* const bytes = static_cast<const BYTE*>(owner);
    Owner copy(bytes, bytes + GetLengthSid(owner));
    LocalFree(descriptor);
    return copy;
}

/// @return the owner that a new file of this process gets in the parent folder of @p path; empty if the
/// process cannot create a file in this folder. If the process has an administrator's rights, the owner is
/// the group of administrators. A process with lower rights cannot make this group the owner of a file.
Owner ownerOfCreationsBeside(const std::wstring& path)
{
    const std::wstring parent = path.substr(0, path.rfind(L'\\') + 1);
    const OwnedHandle file = openFile(newFolderPath(parent) + L".tmp", READ_CONTROL | DELETE, 0, CREATE_NEW,
                                      FILE_FLAG_DELETE_ON_CLOSE);
    return file ? ownerOf(file.get()) : Owner();
}

bool isOwn(HANDLE folder, const std::wstring& path)
{
    const Owner owner = ownerOf(folder);
    return !owner.empty() && owner == ownerOfCreationsBeside(path);
}

/// Opens the folder so that nobody can rename or remove it while the handle is open. Requests the right to
/// list the folder, because the system ignores the share mode of a handle without access to the contents.
/// @param path    the path of the folder; is set to the path without links
/// @param access  additional rights; with DELETE the function fails if anybody else holds the folder
/// @return the handle. Null if the folder cannot be opened, is a link or has another owner. Also null if the
/// process has an administrator's rights and the folder cannot be protected. If the result is null, the
/// system's last error is set.
OwnedHandle hold(std::wstring& path, DWORD access)
{
    OwnedHandle folder =
        openFile(path, access | FILE_LIST_DIRECTORY | READ_CONTROL, FILE_SHARE_READ | FILE_SHARE_WRITE,
                 OPEN_EXISTING, FILE_FLAG_BACKUP_SEMANTICS | FILE_FLAG_OPEN_REPARSE_POINT);
    BY_HANDLE_FILE_INFORMATION information{};
    if (!folder || !GetFileInformationByHandle(folder.get(), &information))
        return nullptr;
    path = resolvedPathOf(folder.get());
    const DWORD kind =
        information.dwFileAttributes & (FILE_ATTRIBUTE_DIRECTORY | FILE_ATTRIBUTE_REPARSE_POINT);
    DWORD error = ERROR_SUCCESS;
    if (isElevated() && !isProtectable(path))
        error = ERROR_NO_SECURITY_ON_OBJECT;
    else if (kind != FILE_ATTRIBUTE_DIRECTORY || !isOwn(folder.get(), path))
        error = ERROR_INVALID_OWNER;
    if (error == ERROR_SUCCESS)
        return folder;
    SetLastError(error);
    return nullptr;
}

/// Tries several times to remove a file or folder with @p removal. If all attempts fail, asks Windows to
/// remove the file or folder at the next start of Windows.
template <typename Removal>
void removeWhenPossible(const std::wstring& path, Removal removal)
{
    for (int attempt = 0; attempt < removalAttempts; ++attempt) {
        if (removal(path.c_str()))
            return;
        Sleep(removalPauseMs);
    }
    MoveFileExW(path.c_str(), nullptr, MOVEFILE_DELAY_UNTIL_REBOOT);
}

/// @return the files and folders in @p folder whose names match @p pattern. The path @p folder must end with
/// a backslash.
std::vector<WIN32_FIND_DATAW> entriesOf(const std::wstring& folder, const std::wstring& pattern)
{
    std::vector<WIN32_FIND_DATAW> entries;
    WIN32_FIND_DATAW found{};
    const HANDLE search = FindFirstFileW((folder + pattern).c_str(), &found);
    if (search == INVALID_HANDLE_VALUE)
        return entries;
    do
        entries.push_back(found);
    while (FindNextFileW(search, &found));
    FindClose(search);
    return entries;
}

/// Removes the folder and its files. The package creates no folders inside this folder.
void removeFolder(const std::wstring& path, OwnedHandle held)
{
    for (const WIN32_FIND_DATAW& entry : entriesOf(path + L'\\', L"*")) {
        if ((entry.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY) == 0)
            removeWhenPossible(path + L'\\' + entry.cFileName, DeleteFileW);
    }
    held.reset();
    removeWhenPossible(path, RemoveDirectoryW);
}

void removeLeftoversIn(const std::wstring& parent)
{
    for (const WIN32_FIND_DATAW& entry : entriesOf(parent, std::wstring(namePrefix) + L"{*")) {
        std::wstring path = parent + entry.cFileName;
        // With DELETE, hold() fails if another program holds the folder. The handle with DELETE is closed at
        // once, because some systems do not list the folder while this handle is open.
        const bool isHeld = !hold(path, DELETE);
        OwnedHandle leftover = isHeld ? nullptr : hold(path, 0);
        if (leftover)
            removeFolder(path, std::move(leftover));
    }
}

} // namespace

ProgramFolder::~ProgramFolder()
{
    if (held)
        removeFolder(ownPath, std::move(held));
}

DWORD ProgramFolder::create()
{
    const DWORD error = createIn(temporaryFolder());
    return error != ERROR_SUCCESS && isElevated() ? createIn(programDataFolder()) : error;
}

DWORD ProgramFolder::createIn(const std::wstring& parent)
{
    const std::wstring created = newFolderPath(parent);
    SECURITY_ATTRIBUTES attributes{sizeof(attributes), nullptr, FALSE};
    if (created.empty() || !ConvertStringSecurityDescriptorToSecurityDescriptorW(
                               folderAccess, SDDL_REVISION_1, &attributes.lpSecurityDescriptor, nullptr))
        return ERROR_PATH_NOT_FOUND;
    DWORD error = CreateDirectoryW(created.c_str(), &attributes) ? ERROR_SUCCESS : GetLastError();
    LocalFree(attributes.lpSecurityDescriptor);
    if (error != ERROR_SUCCESS)
        return error;
    ownPath = created;
    held = hold(ownPath, 0);
    if (held)
        return ERROR_SUCCESS;
    error = GetLastError();
    RemoveDirectoryW(created.c_str());
    return error;
}

DWORD ProgramFolder::write(const std::vector<PackedFile>& files) const
{
    for (const PackedFile& file : files) {
        const OwnedHandle target =
            openFile(pathOf(file.name), GENERIC_WRITE, 0, CREATE_NEW, FILE_ATTRIBUTE_NORMAL);
        const auto size = static_cast<DWORD>(file.bytes.size());
        DWORD written = 0;
        if (!target || !WriteFile(target.get(), file.bytes.data(), size, &written, nullptr))
            return GetLastError();
        if (written != size)
            return ERROR_DISK_FULL;
    }
    return ERROR_SUCCESS;
}

void ProgramFolder::removeLeftovers()
{
    removeLeftoversIn(temporaryFolder());
    if (isElevated())
        removeLeftoversIn(programDataFolder());
}
