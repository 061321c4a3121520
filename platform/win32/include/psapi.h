// Process status.
#pragma once

#include <windows.h>

extern "C" DWORD WINAPI K32GetModuleFileNameExW(HANDLE process, HMODULE module, LPWSTR fileName, DWORD size);
