#pragma once

#include <windows.h>

/// The Windows error code for an errno value of a device's open or transfer, as a program written for Windows
/// expects it: ERROR_DEVICE_NOT_CONNECTED where the device has gone, ERROR_ACCESS_DENIED,
/// ERROR_SHARING_VIOLATION where somebody else has it, ERROR_GEN_FAILURE where it does not answer as it
/// should.
DWORD windowsError(int errnoValue);
