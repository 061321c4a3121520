#include "abstracthiddevice.h"

#include "hiddevicedescriptor.h"
#include "windowshiddevice.h"

AbstractHidDevice* AbstractHidDevice::create(void* handle, const HidDeviceDescriptor&)
{
    return new WindowsHidDevice(handle);
}

AbstractHidDevice* AbstractHidDevice::create(const HidDeviceDescriptor& descriptor)
{
    return new WindowsHidDevice(descriptor.path());
}
