#include "devicehandle.h"

#include <utility>

DeviceHandle::~DeviceHandle()
{
    if (!isReleased)
        close();
}

void DeviceHandle::close()
{
    usable = false; // set before waiting for the lock, so that no further transfer starts
    const Guard guard(inUse);
    if (!std::exchange(isClosed, true))
        CloseHandle(handle);
}

HANDLE DeviceHandle::release()
{
    isReleased = true;
    return handle;
}
