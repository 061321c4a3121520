// HID class, user mode, and the HID parser.
#pragma once

#include <windows.h>

extern "C" {

typedef LONG NTSTATUS;
typedef USHORT USAGE;
typedef struct _HIDP_PREPARSED_DATA* PHIDP_PREPARSED_DATA;

#define HIDP_STATUS_SUCCESS ((NTSTATUS)(0x11u << 16))
#define HIDP_STATUS_INVALID_PREPARSED_DATA ((NTSTATUS)0xC0110001)

typedef enum _HIDP_REPORT_TYPE { HidP_Input, HidP_Output, HidP_Feature } HIDP_REPORT_TYPE;

typedef struct _HIDP_CAPS
{
    USAGE Usage;
    USAGE UsagePage;
    USHORT InputReportByteLength;
    USHORT OutputReportByteLength;
    USHORT FeatureReportByteLength;
    USHORT Reserved[17];
    USHORT NumberLinkCollectionNodes;
    USHORT NumberInputButtonCaps;
    USHORT NumberInputValueCaps;
    USHORT NumberInputDataIndices;
    USHORT NumberOutputButtonCaps;
    USHORT NumberOutputValueCaps;
    USHORT NumberOutputDataIndices;
    USHORT NumberFeatureButtonCaps;
    USHORT NumberFeatureValueCaps;
    USHORT NumberFeatureDataIndices;
} HIDP_CAPS, *PHIDP_CAPS;

NTSTATUS NTAPI HidP_GetCaps(PHIDP_PREPARSED_DATA preparsedData, PHIDP_CAPS capabilities);
void NTAPI HidD_GetHidGuid(LPGUID hidGuid);
BOOLEAN NTAPI HidD_GetPreparsedData(HANDLE device, PHIDP_PREPARSED_DATA* preparsedData);
BOOLEAN NTAPI HidD_FreePreparsedData(PHIDP_PREPARSED_DATA preparsedData);
BOOLEAN NTAPI HidD_SetFeature(HANDLE device, PVOID reportBuffer, ULONG reportBufferLength);
}
