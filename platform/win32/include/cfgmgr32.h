// Plug and Play configuration manager.
#pragma once

#include <windows.h>

#ifdef __cplusplus
extern "C" {
#endif

DWORD WINAPI CMP_WaitNoPendingInstallEvents(DWORD timeoutMs);

#ifdef __cplusplus
}
#endif
