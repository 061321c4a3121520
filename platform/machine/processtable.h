#pragma once

#include <string>
#include <vector>

#include <windows.h>

struct ProcessEntry
{
    DWORD id = 0;
    DWORD parentId = 0;
};

/// The machine's processes. Unless a test replaces them, they are those of the Linux system that the program
/// runs on; a snapshot then lists only the idle process and this one.
class ProcessTable
{
public:
    virtual ~ProcessTable() = default;

    virtual DWORD currentId();

    /// As on Windows, the first entry is the idle process with identifier 0.
    virtual std::vector<ProcessEntry> snapshot();

    /// Whether the process with identifier @p id exists and may be queried.
    virtual bool exists(DWORD id);

    /// The full path of the executable of process @p id; empty if it cannot be read.
    virtual std::wstring imagePath(DWORD id);

    /// Whether the program runs as a 32-bit process on a 64-bit system.
    virtual bool isWow64() { return false; }
};
