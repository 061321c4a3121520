#pragma once

#include <memory>
#include <type_traits>

#include <windows.h>

struct HandleCloser
{
    void operator()(HANDLE handle) const { CloseHandle(handle); }
};

/// Null, not INVALID_HANDLE_VALUE, if there is nothing to close.
using OwnedHandle = std::unique_ptr<std::remove_pointer_t<HANDLE>, HandleCloser>;

/// Opens an existing file or folder with CreateFileW(). Null if that fails.
inline OwnedHandle openExisting(const wchar_t* path, DWORD access, DWORD share, DWORD flags)
{
    const HANDLE handle = CreateFileW(path, access, share, nullptr, OPEN_EXISTING, flags, nullptr);
    return OwnedHandle(handle == INVALID_HANDLE_VALUE ? nullptr : handle);
}
