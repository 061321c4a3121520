#pragma once

#include <windows.h>

#include "machine.h"

/// What a function of the Windows interface returns when it fails: FALSE, 0 or null.
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

/// The same for a function that tells its failure by another value.
template <typename Result>
Result fail(DWORD error, Result result)
{
    SetLastError(error);
    return result;
}

/// Whether @p error is none; otherwise it becomes the last error.
inline bool isSuccess(DWORD error)
{
    return error == ERROR_SUCCESS || fail(error);
}

/// Whether the machine serves that call now; otherwise the last error is set.
inline bool isServed(SystemCall call)
{
    return isSuccess(currentMachine().admit(call));
}
