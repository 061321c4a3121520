// Device control codes. The one that the program uses is the HID class driver's; the genuine header of that
// one needs this one before it.
#pragma once
