#pragma once

#include <atomic>

#include <windows.h>

#include "criticalsection.h"

/// Holds the handle of an open device for several users. When one user closes the handle, it is closed for
/// all users and stays closed.
///
/// Windows may reuse the value of a closed handle for the next object that is opened. So use the handle only
/// in use(). While use() runs, close() waits. All operations may be called on any thread.
class DeviceHandle
{
public:
    /// Takes over an open handle.
    explicit DeviceHandle(HANDLE openHandle)
        : handle(openHandle)
    {
    }
    /// Closes the handle, unless release() has given it away.
    ~DeviceHandle();
    DeviceHandle(const DeviceHandle&) = delete;
    DeviceHandle& operator=(const DeviceHandle&) = delete;

    /// The handle's value, for comparison only. After close() another object may have this value.
    HANDLE value() const { return handle; }

    bool isOpen() const { return usable; }

    /// Prevents further transfers, waits for a transfer in progress and closes the handle. The call can take
    /// as long as one transfer.
    void close();

    /// Calls the function @p transfer with the handle, which nobody can close meanwhile.
    /// @return the bool that @p transfer returns. If the handle is closed, @p transfer is not called and the
    ///         result is false.
    template <typename Transfer>
    bool use(Transfer transfer)
    {
        const Guard guard(inUse);
        return usable && transfer(handle);
    }

    /// Gives the handle to the caller, who must close it with CloseHandle. The destructor then leaves the
    /// handle open, but close() still closes it.
    HANDLE release();

private:
    const HANDLE handle;
    std::atomic<bool> usable{true};
    CriticalSection inUse; ///< held while the handle is in use
    bool isClosed THREAD_SAFETY(guarded_by(inUse)) = false;
    std::atomic<bool> isReleased{false};
};
