// Implements the functions of Windows that list, open and examine processes.

#include <windows.h>

#include <tlhelp32.h>

#include <psapi.h>

#include <vector>

#include "handletable.h"
#include "lasterror.h"
#include "processtable.h"

namespace {

struct Snapshot
{
    std::vector<ProcessEntry> entries;
    std::size_t next = 0;
};
using SnapshotObject = ObjectWith<KernelObject, Snapshot>;

struct Process
{
    DWORD id;
    DWORD access;
};
using ProcessObject = ObjectWith<KernelObject, Process>;

} // namespace

HANDLE WINAPI CreateToolhelp32Snapshot(DWORD flags, DWORD)
{
    if (flags != TH32CS_SNAPPROCESS)
        return fail(ERROR_INVALID_PARAMETER, INVALID_HANDLE_VALUE); // other snapshots are not modelled
    return HandleTable::add(std::make_shared<SnapshotObject>(Snapshot{currentMachine().processes->snapshot}));
}

BOOL WINAPI Process32FirstW(HANDLE handle, LPPROCESSENTRY32W entry)
{
    const auto snapshot = HandleTable::get<SnapshotObject>(handle);
    if (!snapshot)
        return FALSE;
    snapshot->next = 0;
    return Process32NextW(handle, entry);
}

BOOL WINAPI Process32NextW(HANDLE handle, LPPROCESSENTRY32W entry)
{
    const auto snapshot = HandleTable::get<SnapshotObject>(handle);
    if (!snapshot)
        return FALSE;
    if (entry->dwSize != sizeof(*entry))
        return fail(ERROR_INVALID_PARAMETER);
    if (snapshot->next >= snapshot->entries.size())
        return fail(ERROR_NO_MORE_FILES);
    const ProcessEntry& process = snapshot->entries[snapshot->next++];
    *entry = {};
    entry->dwSize = sizeof(*entry);
    entry->th32ProcessID = process.id;
    entry->th32ParentProcessID = process.parentId;
    return TRUE;
}

HANDLE WINAPI GetCurrentProcess()
{
    return INVALID_HANDLE_VALUE; // the value of this pseudo handle on Windows
}

DWORD WINAPI GetCurrentProcessId()
{
    return currentMachine().processes->ownId;
}

HANDLE WINAPI OpenProcess(DWORD desiredAccess, BOOL, DWORD processId)
{
    if (currentMachine().processes->imagePaths.count(processId) == 0)
        return fail(ERROR_INVALID_PARAMETER);
    if (desiredAccess == 0)
        return fail(ERROR_ACCESS_DENIED);
    return HandleTable::add(std::make_shared<ProcessObject>(Process{processId, desiredAccess}));
}

DWORD WINAPI K32GetModuleFileNameExW(HANDLE handle, HMODULE module, LPWSTR fileName, DWORD size)
{
    const auto process = HandleTable::get<ProcessObject>(handle);
    if (!process)
        return 0;
    constexpr DWORD needed = PROCESS_QUERY_INFORMATION | PROCESS_VM_READ;
    if ((process->access & needed) != needed)
        return fail(ERROR_ACCESS_DENIED);
    const std::wstring& path = currentMachine().processes->imagePaths.at(process->id);
    if (path.empty() || module || size == 0)
        return fail(ERROR_ACCESS_DENIED);
    const std::size_t length = path.copy(fileName, size - 1);
    fileName[length] = L'\0';
    return static_cast<DWORD>(length);
}

BOOL WINAPI IsWow64Process(HANDLE process, PBOOL wow64Process)
{
    if (process != GetCurrentProcess())
        return fail(ERROR_INVALID_HANDLE); // other processes are not modelled
    *wow64Process = currentMachine().processes->isWow64;
    return TRUE;
}
