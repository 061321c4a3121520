#pragma once

#include <windows.h>

#include "threadsafety.h"

/// A critical section of Windows, which is a recursive lock.
class THREAD_SAFETY(capability("lock")) CriticalSection
{
public:
    CriticalSection() { InitializeCriticalSection(&section); }
    ~CriticalSection() { DeleteCriticalSection(&section); }
    CriticalSection(const CriticalSection&) = delete;
    CriticalSection& operator=(const CriticalSection&) = delete;

    void lock() THREAD_SAFETY(acquire_capability()) { EnterCriticalSection(&section); }
    void unlock() THREAD_SAFETY(release_capability()) { LeaveCriticalSection(&section); }

private:
    CRITICAL_SECTION section;
};

/// Holds a lock until the end of its scope, like std::lock_guard, but with annotations that Clang can check.
class THREAD_SAFETY(scoped_lockable) Guard
{
public:
    explicit Guard(CriticalSection& toHold) THREAD_SAFETY(acquire_capability(toHold))
        : held(toHold)
    {
        held.lock();
    }
    ~Guard() THREAD_SAFETY(release_capability()) { held.unlock(); }
    Guard(const Guard&) = delete;
    Guard& operator=(const Guard&) = delete;

private:
    CriticalSection& held;
};
