#include "lockholder.h"

#include <cstdio>
#include <fstream>

#include <sys/stat.h>
#include <sys/sysmacros.h>

namespace {

/// Returns the text that identifies the file in /proc/locks (proc(5)): the major and minor number of its file
/// system, and its inode number.
std::string nameInLocks(const struct stat& file)
{
    char name[64];
    std::snprintf(name, sizeof(name), "%02x:%02x:%llu", major(file.st_dev), minor(file.st_dev),
                  static_cast<unsigned long long>(file.st_ino));
    return name;
}

} // namespace

std::optional<std::string> lockHolder(const std::string& path)
{
    struct stat file = {};
    if (::stat(path.c_str(), &file) != 0)
        return std::nullopt;
    const std::string wanted = nameInLocks(file);
    std::ifstream locks("/proc/locks");
    std::string line;
    while (std::getline(locks, line)) {
        int process = 0;
        char name[64];
        // The line of a process that only waits for a lock does not match: it has "->" before FLOCK.
        if (std::sscanf(line.c_str(), "%*s FLOCK %*s %*s %d %63s", &process, name) != 2 || name != wanted)
            continue;
        const std::string id = std::to_string(process);
        std::string program;
        std::getline(std::ifstream("/proc/" + id + "/comm"), program);
        if (program.empty())
            return "process " + id;
        return program.append(" (process ").append(id).append(")");
    }
    return std::nullopt;
}
