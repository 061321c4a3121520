#pragma once
#pragma GCC system_header

#include <windows.h>

#define Unknown UnknownMediaType // DeviceType has an enumerator of that name
#include_next <winioctl.h>
#undef Unknown
