#pragma once

#include <memory>
#include <string>
#include <type_traits>

#include <windows.h>

struct HandleCloser
{
    void operator()(HANDLE handle) const { CloseHandle(handle); }
};

/// Owns a handle and closes it. An OwnedHandle without a handle is null, never INVALID_HANDLE_VALUE.
using OwnedHandle = std::unique_ptr<std::remove_pointer_t<HANDLE>, HandleCloser>;

/// Opens or creates a file with CreateFileW(). Returns null if CreateFileW() fails.
inline OwnedHandle openFile(const std::wstring& path, DWORD access, DWORD share, DWORD disposition,
                            DWORD flags)
{
    const HANDLE handle = CreateFileW(path.c_str(), access, share, nullptr, disposition, flags, nullptr);
    return OwnedHandle(handle == INVALID_HANDLE_VALUE ? nullptr : handle);
}
