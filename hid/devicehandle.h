#pragma once

#include <atomic>

#include <windows.h>

#include "criticalsection.h"

/// An open device file that several users share. When one of them closes it, it is closed for all of them and
/// stays closed.
///
/// Windows may reuse the value of a closed handle for the next object that is opened. So use the handle only
/// in use(), during which close() cannot close it. All operations may be called on any thread.
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

    /// The handle's value, for comparison only. After close() another object may have this value.
    HANDLE value() const { return handle; }

    bool isOpen() const { return usable; }

    /// Lets no further transfer start and closes the handle. It waits for a transfer in progress, so it takes
    /// as long as one transfer.
    void close();

    /// Calls @p transfer(HANDLE), which returns bool, while nobody can close the handle.
    /// @return the result of @p transfer; false, without a call, if the handle is closed.
    template <typename Transfer>
    bool use(Transfer transfer)
    {
        const Guard guard(inUse);
        return usable && transfer(handle);
    }

    /// Returns the handle to a caller who closes it with CloseHandle. After that the destructor leaves the
    /// handle open, but close() still closes it.
    HANDLE release();

private:
    const HANDLE handle;
    std::atomic<bool> usable{true};
    CriticalSection inUse; ///< guards the use of the handle
    bool isClosed THREAD_SAFETY(guarded_by(inUse)) = false;
    std::atomic<bool> isReleased{false};
};
