// Device control codes.
#pragma once

#define FILE_DEVICE_KEYBOARD 0x0000000b
#define METHOD_OUT_DIRECT 2
#define FILE_ANY_ACCESS 0
#define CTL_CODE(DeviceType, Function, Method, Access)                                                       \
    (((DeviceType) << 16) | ((Access) << 14) | ((Function) << 2) | (Method))
