#pragma once

#include <optional>
#include <string>

/// Which process holds a lock (flock) on a file, from /proc/locks.
/// @return such as "bench (process 1234)", or "process 1234" if its name cannot be read; nothing if no
/// process holds one.
std::optional<std::string> lockHolder(const std::string& path);
