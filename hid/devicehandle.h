#pragma once

#include <atomic>

#include <windows.h>

#include "criticalsection.h"

/// An open device file that its users share: whoever closes it closes it for all of them, for good.
///
/// Windows gives the value of a closed handle to whatever is opened next. So the value must not leave use():
/// close() cannot come between the test and the end of the transfer. All operations may be called on any
/// thread.
class DeviceHandle
{
public:
    /// Takes over an open handle.
    explicit DeviceHandle(HANDLE openHandle)
        : handle(openHandle)
    {
    }
    /// Closes the handle, unless the caller of release() does.
    ~DeviceHandle();
    DeviceHandle(const DeviceHandle&) = delete;
    DeviceHandle& operator=(const DeviceHandle&) = delete;

    /// For comparison only. After close() another object may have this value.
    HANDLE value() const { return handle; }

    bool isOpen() const { return usable; }

    /// Lets no further transfer start and closes the handle. It waits for a transfer in progress, so it takes
    /// as long as one transfer.
    void close();

    /// Calls @p transfer(HANDLE), which returns bool, while nobody can close the handle.
    /// @return its result; false, without a call, if the handle is closed.
    template <typename Transfer>
    bool use(Transfer transfer)
    {
        const Guard guard(inUse);
        return usable && transfer(handle);
    }

    /// The value, for a caller who closes it with CloseHandle. The destructor then leaves it open; close()
    /// still closes it.
    HANDLE release();

private:
    const HANDLE handle;
    std::atomic<bool> usable{true};
    CriticalSection inUse; ///< guards the use of the handle
    bool isClosed THREAD_SAFETY(guarded_by(inUse)) = false;
    std::atomic<bool> isReleased{false};
};
