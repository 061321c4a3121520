#pragma once

#include <atomic>

#include <windows.h>

namespace CurrentThread {

inline DWORD nextId()
{
    static std::atomic<DWORD> last{0};
    return ++last;
}

/// The calling thread's identifier. CreateThread sets it before the thread's function runs.
inline thread_local DWORD id = nextId();

} // namespace CurrentThread
