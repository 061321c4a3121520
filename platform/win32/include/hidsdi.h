// HID class, user mode.
#pragma once

#include <windows.h>

#include <hidpi.h>

extern "C" {

void NTAPI HidD_GetHidGuid(LPGUID hidGuid);
BOOLEAN NTAPI HidD_GetPreparsedData(HANDLE device, PHIDP_PREPARSED_DATA* preparsedData);
BOOLEAN NTAPI HidD_FreePreparsedData(PHIDP_PREPARSED_DATA preparsedData);
BOOLEAN NTAPI HidD_SetFeature(HANDLE device, PVOID reportBuffer, ULONG reportBufferLength);

}
