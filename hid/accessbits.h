#pragma once

#include <windows.h>

/// Describes the rights with which a device is opened, and the rights that others may have at the same time.
namespace Access {

enum Bits { None = 0, Read = 1, Write = 2, ReadWrite = Read | Write };

/// The next two functions convert Access::Bits to CreateFileW's arguments.
constexpr DWORD desiredAccess(int access)
{
    return (access & Read ? DWORD{GENERIC_READ} : 0) | (access & Write ? DWORD{GENERIC_WRITE} : 0);
}
constexpr DWORD shareMode(int share)
{
    return (share & Read ? DWORD{FILE_SHARE_READ} : 0) | (share & Write ? DWORD{FILE_SHARE_WRITE} : 0);
}

} // namespace Access
