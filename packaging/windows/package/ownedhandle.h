#pragma once

#include <memory>
#include <type_traits>

#include <windows.h>

struct HandleCloser
{
    void operator()(HANDLE handle) const { CloseHandle(handle); }
};

/// Closes the handle that it owns. An owner without a handle is null, never INVALID_HANDLE_VALUE.
using OwnedHandle = std::unique_ptr<std::remove_pointer_t<HANDLE>, HandleCloser>;

/// Opens an existing file or folder with CreateFileW(). Returns null if that fails.
inline OwnedHandle openExisting(const wchar_t* path, DWORD access, DWORD share, DWORD flags)
{
    const HANDLE handle = CreateFileW(path, access, share, nullptr, OPEN_EXISTING, flags, nullptr);
    return OwnedHandle(handle == INVALID_HANDLE_VALUE ? nullptr : handle);
}
