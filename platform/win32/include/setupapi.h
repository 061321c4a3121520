// Device enumeration.
#pragma once

#include <windows.h>

extern "C" {

#define DIGCF_PRESENT 0x00000002
#define DIGCF_DEVICEINTERFACE 0x00000010
#define SPDRP_DEVICEDESC 0x00000000
#define SPDRP_HARDWAREID 0x00000001
#define SPDRP_FRIENDLYNAME 0x0000000C
#define SPDRP_ENUMERATOR_NAME 0x00000016

typedef PVOID HDEVINFO;

typedef struct _SP_DEVINFO_DATA
{
    DWORD cbSize;
    GUID ClassGuid;
    DWORD DevInst;
    ULONG_PTR Reserved;
} SP_DEVINFO_DATA, *PSP_DEVINFO_DATA;

typedef struct _SP_DEVICE_INTERFACE_DATA
{
    DWORD cbSize;
    GUID InterfaceClassGuid;
    DWORD Flags;
    ULONG_PTR Reserved;
} SP_DEVICE_INTERFACE_DATA, *PSP_DEVICE_INTERFACE_DATA;

#pragma pack(push, 1)
typedef struct _SP_DEVICE_INTERFACE_DETAIL_DATA_W
{
    DWORD cbSize;
    WCHAR DevicePath[1];
} SP_DEVICE_INTERFACE_DETAIL_DATA_W, *PSP_DEVICE_INTERFACE_DETAIL_DATA_W;
#pragma pack(pop)

HDEVINFO WINAPI SetupDiGetClassDevsW(const GUID* classGuid, LPCWSTR enumerator, HWND parent, DWORD flags);
BOOL WINAPI SetupDiEnumDeviceInterfaces(HDEVINFO set, PSP_DEVINFO_DATA device, const GUID* interfaceClassGuid,
                                        DWORD index, PSP_DEVICE_INTERFACE_DATA interfaceData);
BOOL WINAPI SetupDiGetDeviceInterfaceDetailW(HDEVINFO set, PSP_DEVICE_INTERFACE_DATA interfaceData,
                                             PSP_DEVICE_INTERFACE_DETAIL_DATA_W detail, DWORD detailSize,
                                             PDWORD requiredSize, PSP_DEVINFO_DATA device);
BOOL WINAPI SetupDiEnumDeviceInfo(HDEVINFO set, DWORD index, PSP_DEVINFO_DATA device);
BOOL WINAPI SetupDiGetDeviceInstanceIdW(HDEVINFO set, PSP_DEVINFO_DATA device, LPWSTR instanceId,
                                        DWORD instanceIdSize, PDWORD requiredSize);
BOOL WINAPI SetupDiGetDeviceRegistryPropertyW(HDEVINFO set, PSP_DEVINFO_DATA device, DWORD property,
                                              PDWORD propertyRegDataType, PBYTE buffer, DWORD bufferSize,
                                              PDWORD requiredSize);
BOOL WINAPI SetupDiDestroyDeviceInfoList(HDEVINFO set);
}
