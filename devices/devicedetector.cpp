#include "devicedetector.h"

bool DeviceDetector::start(DeviceDetectorListener*, const DeviceId*, unsigned int)
{
    return false;
}

void DeviceDetector::stop() {}

HANDLE DeviceDetector::openDevice(DeviceInstance*, int, int, SECURITY_ATTRIBUTES*, DWORD)
{
    return INVALID_HANDLE_VALUE;
}

void DeviceDetector::closeDevice(HANDLE) {}

void DeviceDetector::forget(DeviceInstance*) {}
