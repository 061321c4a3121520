#pragma once

#include <optional>
#include <string>

/// Finds out from /proc/locks which process holds a lock (flock) on the file at @p path.
/// @return a text such as "bench (process 1234)", or "process 1234" if the process's name cannot be read;
///     std::nullopt if no process holds a lock.
std::optional<std::string> lockHolder(const std::string& path);
