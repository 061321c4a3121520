#pragma once

#include <string>
#include <vector>

#include "ownedhandle.h"
#include "payload.h"

/// A new folder for the program alone, normally in the user's temporary folder. The destructor removes it
/// with all its files.
///
/// If the package runs with an administrator's rights, no process with lower rights can replace the programs
/// in the new folder. Only administrators, the system and the owner have access. The new folder is held open
/// from the check of its owner until the destructor removes it, so nobody else can rename or remove it. The
/// new folder is on a fixed drive with a file system that keeps access control lists. If the temporary folder
/// is not on such a drive, the new folder is in the system's folder for program data.
class ProgramFolder
{
public:
    ProgramFolder() = default;
    ~ProgramFolder();
    ProgramFolder(const ProgramFolder&) = delete;
    ProgramFolder& operator=(const ProgramFolder&) = delete;

    // create() and write() return ERROR_SUCCESS or another error code of the system.

    /// @return ERROR_NO_SECURITY_ON_OBJECT if no drive can protect the folder.
    [[nodiscard]] DWORD create();
    [[nodiscard]] DWORD write(const std::vector<PackedFile>& files) const;

    const std::wstring& path() const { return ownPath; }
    std::wstring pathOf(const std::wstring& name) const { return ownPath + L'\\' + name; }

    /// Removes the folders that earlier packages could not remove, except those that somebody holds open.
    static void removeLeftovers();

private:
    DWORD createIn(const std::wstring& parent);

    std::wstring ownPath; ///< the folder's path without links, as the system resolved it
    OwnedHandle held;     ///< null if there is no folder
};
