#pragma once

#include <string>
#include <vector>

#include "ownedhandle.h"
#include "payload.h"

/// A folder in the user's temporary folder for the program alone; removed, with all that is in it, at the
/// end.
///
/// Where the package runs with an administrator's rights, no process of lower rights can exchange what is
/// started from here: only administrators, the system and the owner have access, and from the moment when the
/// owner was verified until the end the folder is held open, so that it can be neither renamed nor removed.
class ProgramFolder
{
public:
    ProgramFolder();
    ~ProgramFolder();
    ProgramFolder(const ProgramFolder&) = delete;
    ProgramFolder& operator=(const ProgramFolder&) = delete;

    // These return an error code of the system, ERROR_SUCCESS where they are done.

    [[nodiscard]] DWORD create();
    [[nodiscard]] DWORD write(const PackedFile& file) const;

    std::wstring pathOf(const std::wstring& name) const { return path + L'\\' + name; }

    /// Removes the folders of earlier packages that could not remove their own: those that nobody holds.
    static void removeLeftovers();

private:
    std::wstring path;
    OwnedHandle held; ///< null while there is no folder
};
