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

/// The machine's processes.
class ProcessTable
{
public:
    virtual ~ProcessTable() = default;

    virtual DWORD currentId() = 0;

    /// A snapshot; as on Windows its first entry is the idle process with identifier 0.
    virtual std::vector<ProcessEntry> snapshot() = 0;

    /// Whether a process of that identifier exists and may be queried.
    virtual bool exists(DWORD id) = 0;

    /// The full path of its executable, empty when it cannot be read.
    virtual std::wstring imagePath(DWORD id) = 0;

    /// Whether the program runs as a 32-bit process on a 64-bit system.
    virtual bool isWow64() = 0;
};

/// The processes of the Linux system that the program really runs on, read from /proc.
class RealProcessTable : public ProcessTable
{
public:
    DWORD currentId() override;
    std::vector<ProcessEntry> snapshot() override;
    bool exists(DWORD id) override;
    std::wstring imagePath(DWORD id) override;
    bool isWow64() override;
};
