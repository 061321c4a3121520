// Process snapshots.
#pragma once

#include <windows.h>

extern "C" {

#define TH32CS_SNAPPROCESS 0x00000002

typedef struct tagPROCESSENTRY32W
{
    DWORD dwSize;
    DWORD cntUsage;
    DWORD th32ProcessID;
    ULONG_PTR th32DefaultHeapID;
    DWORD th32ModuleID;
    DWORD cntThreads;
    DWORD th32ParentProcessID;
    LONG pcPriClassBase;
    DWORD dwFlags;
    WCHAR szExeFile[MAX_PATH];
} PROCESSENTRY32W, *LPPROCESSENTRY32W;

HANDLE WINAPI CreateToolhelp32Snapshot(DWORD flags, DWORD processId);
BOOL WINAPI Process32FirstW(HANDLE snapshot, LPPROCESSENTRY32W entry);
BOOL WINAPI Process32NextW(HANDLE snapshot, LPPROCESSENTRY32W entry);
}
