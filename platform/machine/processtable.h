#pragma once

#include <string>
#include <vector>

#include <windows.h>

struct ProcessEntry
{
    DWORD id = 0;
    DWORD parentId = 0;
    std::wstring executable; ///< file name without directory
};

/// The machine's processes: those of the Linux system that the program really runs on, read from /proc, where
/// a test does not say otherwise.
class ProcessTable
{
public:
    virtual ~ProcessTable() = default;

    virtual DWORD currentId();

    /// A snapshot; as on Windows its first entry is the idle process with identifier 0.
    virtual std::vector<ProcessEntry> snapshot();

    /// Whether a process of that identifier exists and may be queried.
    virtual bool exists(DWORD id);

    /// The full path of its executable, empty when it cannot be read.
    virtual std::wstring imagePath(DWORD id);

    /// Whether the program runs as a 32-bit process on a 64-bit system.
    virtual bool isWow64() { return false; }
};
