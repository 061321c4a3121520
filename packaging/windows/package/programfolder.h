#pragma once

#include <string>
#include <vector>

#include "ownedhandle.h"
#include "payload.h"

/// A new folder for the program alone, normally in the user's temporary folder. The destructor removes the
/// folder with all its files.
///
/// Only administrators, the system and the owner have access to the folder. create() opens the folder and
/// checks the folder's owner. The folder is open until the destructor removes it, so no other program can
/// rename or remove the folder.
///
/// If the package runs with an administrator's rights, no process with lower rights can replace the programs
/// in the folder. In this case the folder is on a fixed drive with a file system that keeps access control
/// lists. If the temporary folder does not allow this, the folder is in the system's folder for program data.
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

    /// Removes the folders that earlier packages left behind, except those that somebody holds open.
    static void removeLeftovers();

private:
    DWORD createIn(const std::wstring& parent);

    std::wstring ownPath; ///< the folder's path with all links resolved
    OwnedHandle held;     ///< null if there is no folder
};
