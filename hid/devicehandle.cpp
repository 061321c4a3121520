#include "devicehandle.h"

#include <utility>

DeviceHandle::~DeviceHandle()
{
    if (!isReleased)
        close();
}

void DeviceHandle::close()
{
    usable = false; // before the lock is taken, so that no further transfer starts meanwhile
    const Guard guard(inUse);
    if (!std::exchange(isClosed, true))
        CloseHandle(handle);
}

HANDLE DeviceHandle::release()
{
    isReleased = true;
    return handle;
}
