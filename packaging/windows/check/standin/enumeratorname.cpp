// Replaces SETUPAPI.dll, because Wine 8's own DLL does not know SPDRP_ENUMERATOR_NAME. Returns the first part
// of the device's instance identifier for this property. On Windows that part is the enumerator's name.
// Forwards all other calls to Wine's SETUPAPI.dll.
#include <cwchar>
#include <string>

#include <windows.h>

#include <setupapi.h>

extern "C" BOOL WINAPI registryProperty(HDEVINFO set, PSP_DEVINFO_DATA device, DWORD property, PDWORD type,
                                        PBYTE buffer, DWORD size, PDWORD required)
{
    if (property != SPDRP_ENUMERATOR_NAME)
        return SetupDiGetDeviceRegistryPropertyW(set, device, property, type, buffer, size, required);
    wchar_t identifier[MAX_PATH]{};
    if (!SetupDiGetDeviceInstanceIdW(set, device, identifier, MAX_PATH, nullptr))
        return FALSE;
    const std::wstring name(identifier, std::wcscspn(identifier, L"\\"));
    const auto bytes = static_cast<DWORD>(name.size() + 1) * DWORD{sizeof(wchar_t)};
    if (type)
        *type = REG_SZ;
    if (required)
        *required = bytes;
    if (!buffer || size < bytes) {
        SetLastError(ERROR_INSUFFICIENT_BUFFER);
        return FALSE;
    }
    CopyMemory(buffer, name.c_str(), bytes);
    return TRUE;
}
