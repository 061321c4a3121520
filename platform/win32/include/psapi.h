// Process status.
#pragma once

#include <windows.h>

#ifdef __cplusplus
extern "C" {
#endif

DWORD WINAPI K32GetModuleFileNameExW(HANDLE process, HMODULE module, LPWSTR fileName, DWORD size);

#ifdef __cplusplus
}
#endif
