#pragma once

#include <windows.h>

#include "callfaults.h"
#include "machine.h"

/// What most functions of the Windows interface return if they fail: FALSE, 0 or null.
struct Failure
{
    template <typename Result>
    operator Result() const
    {
        return Result();
    }
};

/// Sets the calling thread's last error.
inline Failure fail(DWORD error)
{
    SetLastError(error);
    return {};
}

/// Sets the last error and returns @p result; for functions whose failure value is not FALSE, 0 or null.
template <typename Result>
Result fail(DWORD error, Result result)
{
    SetLastError(error);
    return result;
}

/// Whether @p error is ERROR_SUCCESS. Any other error becomes the last error.
inline bool isSuccess(DWORD error)
{
    return error == ERROR_SUCCESS || fail(error);
}

/// Counts a call of @p function. @return whether the call may succeed; if not, the last error is set.
inline bool isServed(const char* function)
{
    return isSuccess(currentMachine().faults->count(function).value_or(ERROR_SUCCESS));
}
