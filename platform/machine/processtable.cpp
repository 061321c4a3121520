#include "processtable.h"

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <optional>

#include <unistd.h>

namespace fs = std::filesystem;

namespace {

fs::path procDirectory(DWORD id)
{
    return fs::path("/proc") / std::to_string(id);
}

/// One process from /proc/<id>/stat: "id (name) state parent ...". The name may hold blanks and brackets.
std::optional<ProcessEntry> readEntry(DWORD id)
{
    std::ifstream file(procDirectory(id) / "stat");
    const std::string stat{std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
    const auto open = stat.find('(');
    const auto close = stat.rfind(')');
    constexpr std::size_t stateLength = 4; // ") S "
    if (open == std::string::npos || close == std::string::npos || close + stateLength >= stat.size())
        return std::nullopt;
    ProcessEntry entry;
    entry.id = id;
    entry.parentId = static_cast<DWORD>(std::strtoul(stat.c_str() + close + stateLength, nullptr, 10));
    entry.executable = fs::path(stat.substr(open + 1, close - open - 1)).wstring();
    return entry;
}

} // namespace

DWORD ProcessTable::currentId()
{
    return static_cast<DWORD>(getpid());
}

std::vector<ProcessEntry> ProcessTable::snapshot()
{
    std::vector<ProcessEntry> entries{{0, 0, L"[System Process]"}};
    std::error_code error;
    for (const auto& directory : fs::directory_iterator("/proc", error)) {
        const std::string name = directory.path().filename().string();
        if (!std::all_of(name.begin(), name.end(), [](char c) { return c >= '0' && c <= '9'; }))
            continue;
        if (const auto entry = readEntry(static_cast<DWORD>(std::strtoul(name.c_str(), nullptr, 10))))
            entries.push_back(*entry);
    }
    return entries;
}

bool ProcessTable::exists(DWORD id)
{
    std::error_code error;
    return id != 0 && fs::exists(procDirectory(id), error);
}

std::wstring ProcessTable::imagePath(DWORD id)
{
    std::error_code error;
    const fs::path path = fs::read_symlink(procDirectory(id) / "exe", error);
    return error ? std::wstring() : path.wstring();
}
