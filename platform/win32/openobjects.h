#pragma once

#include <cstddef>

// Counts what this process has not closed yet. Tests compare the counts before and after an operation.

/// @return the number of open handles of every kind (events, threads, files, snapshots, services, device
/// sets, notifications, windows).
std::size_t openHandleCount();

/// @return the number of threads that CreateThread has started and whose function has not returned. After a
/// successful wait for a thread, the thread is no longer counted.
std::size_t runningThreadCount();

/// @return the number of COM objects and of blocks of COM's memory that were not released.
std::size_t liveComObjectCount();
