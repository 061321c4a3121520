#pragma once
#pragma GCC system_header

#include <ole2.h>

#define interface struct
#define Headset EndpointFormHeadset // DeviceType has an enumerator of that name
#include_next <mmdeviceapi.h>
#undef Headset
#undef interface
