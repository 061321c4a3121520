#pragma once

#include <optional>
#include <string>

/// Finds out from /proc/locks which process holds a lock (flock) on the file at @p path.
/// @return such as "bench (process 1234)", or "process 1234" if its name cannot be read; nothing if no
/// process holds a lock.
std::optional<std::string> lockHolder(const std::string& path);
