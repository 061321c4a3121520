// Control codes of the HID class driver.
#pragma once

#define IOCTL_HID_GET_FEATURE 0x000B0192
