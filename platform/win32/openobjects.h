#pragma once

#include <cstddef>

// What this process has not closed yet. Tests compare the counts before and after.

/// Handles of every kind (events, threads, files, snapshots, services, device sets, notifications, windows).
std::size_t openHandleCount();

/// Threads of CreateThread whose function has not returned. A thread that was waited for no longer counts.
std::size_t runningThreadCount();

/// COM objects, and blocks of COM's memory.
std::size_t liveComObjectCount();
