#pragma once

#include <windows.h>

/// How a file is open.
struct ShareMode
{
    DWORD access; ///< GENERIC_READ, GENERIC_WRITE, both, or 0 for queries only
    DWORD share;  ///< what others may have: FILE_SHARE_READ, FILE_SHARE_WRITE, both, or 0

    /// Whether somebody else may have the file open as @p other. One for queries only takes no part in
    /// sharing.
    bool admits(const ShareMode& other) const
    {
        if (access == 0 || other.access == 0)
            return true;
        return allows(other.access) && other.allows(access);
    }

private:
    bool allows(DWORD wanted) const
    {
        if ((wanted & GENERIC_READ) && !(share & FILE_SHARE_READ))
            return false;
        return !(wanted & GENERIC_WRITE) || (share & FILE_SHARE_WRITE);
    }
};
