#pragma once
#pragma GCC system_header

#include <windows.h>

#define Unknown UnknownMediaType // because the program's DeviceType has an enumerator Unknown too
#include_next <winioctl.h>
#undef Unknown
