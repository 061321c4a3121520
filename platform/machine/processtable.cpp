#include "processtable.h"

#include <filesystem>

#include <unistd.h>

ProcessTable ownProcesses()
{
    const auto own = static_cast<DWORD>(getpid());
    const auto parent = static_cast<DWORD>(getppid());
    ProcessTable table{own, {{0, 0}, {own, parent}}, {}};
    for (const DWORD id : {own, parent}) {
        std::error_code error; // ignored: a path that cannot be read stays empty
        table.imagePaths[id] =
            std::filesystem::read_symlink("/proc/" + std::to_string(id) + "/exe", error).wstring();
    }
    return table;
}
