#pragma once
#pragma GCC system_header

#include <windows.h>

#define Unknown UnknownMediaType // the devices have an enumerator of that name
#include_next <winioctl.h>
#undef Unknown
