#pragma once

#include <cstddef>

// What this process has not closed yet. Tests compare the counts before and after.

/// Handles of every kind (events, threads, files, snapshots, services, device sets, notifications, windows).
std::size_t openHandleCount();

/// Threads that CreateThread has started and whose function has not returned. A thread is no longer counted
/// after a successful wait for it.
std::size_t runningThreadCount();

/// COM objects, and blocks of COM's memory.
std::size_t liveComObjectCount();
