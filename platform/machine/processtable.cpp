#include "processtable.h"

#include <filesystem>

#include <unistd.h>

namespace fs = std::filesystem;

namespace {

fs::path procDirectory(DWORD id)
{
    return fs::path("/proc") / std::to_string(id);
}

} // namespace

DWORD ProcessTable::currentId()
{
    return static_cast<DWORD>(getpid());
}

std::vector<ProcessEntry> ProcessTable::snapshot()
{
    const ProcessEntry idle = {0, 0};
    return {idle, {currentId(), static_cast<DWORD>(getppid())}};
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
