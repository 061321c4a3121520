#include "programfolder.h"

#include <aclapi.h>
#include <objbase.h>
#include <sddl.h>

namespace {

constexpr wchar_t namePrefix[] = L"ZEFO_VYNT_Firmware_Update_";
/// Full access for administrators, the system and the owner, nothing inherited from the folder above.
constexpr wchar_t folderAccess[] = L"D:P(A;OICI;FA;;;BA)(A;OICI;FA;;;SY)(A;OICI;FA;;;OW)";

// Virus scanners and the program's last breath hold files for a moment.
constexpr int removalAttempts = 20;
constexpr DWORD removalPauseMs = 100;

std::wstring temporaryFolder()
{
    wchar_t path[MAX_PATH + 1]{};
    return GetTempPathW(MAX_PATH + 1, path) == 0 ? std::wstring() : std::wstring(path);
}

std::wstring newFolderPath()
{
    wchar_t name[64]{};
    GUID unique{};
    if (CoCreateGuid(&unique) != S_OK ||
        StringFromGUID2(unique, name, static_cast<int>(std::size(name))) == 0)
        return {};
    return temporaryFolder() + namePrefix + name;
}

using Owner = std::vector<BYTE>; ///< a security identifier; empty where there is none

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

/// Whom what this process creates belongs to: where it runs with an administrator's rights, all
/// administrators, and nothing of lower rights can make them an owner. Looked up at a file that is certainly
/// of this process.
Owner ownerOfCreations()
{
    const HANDLE created = CreateFileW((newFolderPath() + L".tmp").c_str(), READ_CONTROL | DELETE, 0, nullptr,
                                       CREATE_NEW, FILE_FLAG_DELETE_ON_CLOSE, nullptr);
    if (created == INVALID_HANDLE_VALUE)
        return {};
    const OwnedHandle file(created);
    return ownerOf(file.get());
}

bool isOwn(HANDLE folder)
{
    const Owner owner = ownerOf(folder);
    return !owner.empty() && owner == ownerOfCreations();
}

/// Opens the folder so that nobody can rename or remove it meanwhile. Listing is asked for because handles
/// without any access to the content do not count when the system compares who shares what.
/// @param access  more of it; DELETE fails where somebody else holds the folder so.
/// @return null, with the system's last error, where that fails, or it is a link or somebody else's.
OwnedHandle hold(const std::wstring& path, DWORD access)
{
    OwnedHandle folder = openExisting(path.c_str(), access | FILE_LIST_DIRECTORY | READ_CONTROL,
                                      FILE_SHARE_READ | FILE_SHARE_WRITE,
                                      FILE_FLAG_BACKUP_SEMANTICS | FILE_FLAG_OPEN_REPARSE_POINT);
    BY_HANDLE_FILE_INFORMATION information{};
    if (!folder || !GetFileInformationByHandle(folder.get(), &information))
        return nullptr;
    const DWORD kind =
        information.dwFileAttributes & (FILE_ATTRIBUTE_DIRECTORY | FILE_ATTRIBUTE_REPARSE_POINT);
    if (kind != FILE_ATTRIBUTE_DIRECTORY || !isOwn(folder.get())) {
        SetLastError(ERROR_INVALID_OWNER);
        return nullptr;
    }
    return folder;
}

/// Removes a file or folder by @p removal; at the system's next start where it is in use for long.
template <typename Removal>
void removeInTheEnd(const std::wstring& path, Removal removal)
{
    for (int attempt = 0; attempt < removalAttempts; ++attempt) {
        if (removal(path.c_str()))
            return;
        Sleep(removalPauseMs);
    }
    MoveFileExW(path.c_str(), nullptr, MOVEFILE_DELAY_UNTIL_REBOOT);
}

/// What lies directly in the folder; the package puts no folders into it.
void removeFiles(const std::wstring& folder)
{
    WIN32_FIND_DATAW found{};
    const HANDLE search = FindFirstFileW((folder + L"\\*").c_str(), &found);
    if (search == INVALID_HANDLE_VALUE)
        return;
    do {
        if ((found.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY) == 0)
            removeInTheEnd(folder + L'\\' + found.cFileName, DeleteFileW);
    } while (FindNextFileW(search, &found));
    FindClose(search);
}

void removeFolder(const std::wstring& path, OwnedHandle held)
{
    removeFiles(path);
    held.reset();
    removeInTheEnd(path, RemoveDirectoryW);
}

} // namespace

ProgramFolder::ProgramFolder() = default;

ProgramFolder::~ProgramFolder()
{
    if (held)
        removeFolder(path, std::move(held));
}

DWORD ProgramFolder::create()
{
    path = newFolderPath();
    SECURITY_ATTRIBUTES attributes{sizeof(attributes), nullptr, FALSE};
    if (path.empty() || !ConvertStringSecurityDescriptorToSecurityDescriptorW(
                            folderAccess, SDDL_REVISION_1, &attributes.lpSecurityDescriptor, nullptr))
        return GetLastError();
    const DWORD error = CreateDirectoryW(path.c_str(), &attributes) ? ERROR_SUCCESS : GetLastError();
    LocalFree(attributes.lpSecurityDescriptor);
    if (error != ERROR_SUCCESS)
        return error;
    held = hold(path, 0);
    return held ? ERROR_SUCCESS : GetLastError();
}

DWORD ProgramFolder::write(const PackedFile& file) const
{
    const HANDLE created = CreateFileW(pathOf(file.name).c_str(), GENERIC_WRITE, 0, nullptr, CREATE_NEW,
                                       FILE_ATTRIBUTE_NORMAL, nullptr);
    if (created == INVALID_HANDLE_VALUE)
        return GetLastError();
    const OwnedHandle target(created);
    DWORD written = 0;
    if (!WriteFile(target.get(), file.bytes.data(), static_cast<DWORD>(file.bytes.size()), &written, nullptr))
        return GetLastError();
    return written == file.bytes.size() ? ERROR_SUCCESS : ERROR_DISK_FULL;
}

void ProgramFolder::removeLeftovers()
{
    const std::wstring folder = temporaryFolder();
    WIN32_FIND_DATAW found{};
    const HANDLE search = FindFirstFileW((folder + namePrefix + L"{*").c_str(), &found);
    if (search == INVALID_HANDLE_VALUE)
        return;
    do {
        const std::wstring path = folder + found.cFileName;
        // The right to delete is had only where nobody holds the folder. It is let go again at once: with it
        // at hand not every system lists a folder.
        const bool isHeld = !hold(path, DELETE);
        OwnedHandle leftover = isHeld ? nullptr : hold(path, 0);
        if (leftover)
            removeFolder(path, std::move(leftover));
    } while (FindNextFileW(search, &found));
    FindClose(search);
}
