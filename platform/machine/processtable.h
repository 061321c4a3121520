#pragma once

#include <map>
#include <string>
#include <vector>

#include <windows.h>

struct ProcessEntry
{
    DWORD id = 0;
    DWORD parentId = 0;
};

/// The machine's processes.
struct ProcessTable
{
    DWORD ownId = 0;
    /// The list of processes. As on Windows, the first one is the idle process, with identifier 0.
    std::vector<ProcessEntry> snapshot;
    /// Maps a process identifier to the path of the executable; the path is empty if it cannot be read. A
    /// process without an entry cannot be opened.
    std::map<DWORD, std::wstring> imagePaths;
    bool isWow64 = false; ///< whether the program runs as a 32-bit process on a 64-bit system
};

/// Returns the program's own process on this Linux system, its parent process, and the idle process.
ProcessTable ownProcesses();
