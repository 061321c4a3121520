#pragma once

#include <vector>

#include <windows.h>

#include <winternl.h>

struct Possessions
{
    ULONG handles = 0;
    ULONG threads = 0;
};

/// @return how many handles and threads the process has according to the system's process list; zeros if
/// there is no such process. GetProcessHandleCount() does not work in Wine. Callers link ntdll.
inline Possessions possessionsOf(DWORD process)
{
    ULONG size = 0;
    NtQuerySystemInformation(SystemProcessInformation, nullptr, 0, &size);
    std::vector<BYTE> list(2 * size);
    if (!NT_SUCCESS(NtQuerySystemInformation(SystemProcessInformation, list.data(),
                                             static_cast<ULONG>(list.size()), nullptr)))
        return {};
    const BYTE* at = list.data();
    for (;;) {
        const auto* const entry = reinterpret_cast<const SYSTEM_PROCESS_INFORMATION*>(at);
        if (entry->UniqueProcessId == UlongToHandle(process))
            return {entry->HandleCount, entry->NumberOfThreads};
        if (entry->NextEntryOffset == 0)
            return {};
        at += entry->NextEntryOffset;
    }
}
