#pragma once

#include <atomic>

#include <windows.h>

/// Thread identifiers.
namespace CurrentThread {

inline DWORD nextId()
{
    static std::atomic<DWORD> last{0};
    return ++last;
}

/// The calling thread's. Set before it runs where CreateThread makes it.
inline thread_local DWORD id = nextId();

} // namespace CurrentThread
