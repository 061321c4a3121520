// Plug and Play configuration manager.
#pragma once

#include <windows.h>

extern "C" DWORD WINAPI CMP_WaitNoPendingInstallEvents(DWORD timeoutMs);
