#pragma once
#pragma GCC system_header

#include <ole2.h>

#define interface struct
#define Headset EndpointFormHeadset // because the program's DeviceType has an enumerator Headset too
#include_next <mmdeviceapi.h>
#undef Headset
#undef interface
