#pragma once

#include <windows.h>

#include "callfaults.h"
#include "machine.h"

/// Converts to the value that most functions of the Windows interface return on failure: FALSE, 0 or null.
struct Failure
{
    template <typename Result>
    operator Result() const
    {
        return Result();
    }
};

/// Sets the calling thread's last error and returns a value that converts to FALSE, 0 or null.
inline Failure fail(DWORD error)
{
    SetLastError(error);
    return {};
}

/// Sets the last error and returns @p result, for functions whose failure value is not FALSE, 0 or null.
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

/// Counts a call of the function named @p function. If a test makes this call fail, sets the last error and
/// returns false.
inline bool isServed(const char* function)
{
    return isSuccess(currentMachine().faults->count(function).value_or(ERROR_SUCCESS));
}
