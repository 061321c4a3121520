#pragma once

#include <cstddef>

// What this process has not closed yet. A test compares it before and after.

/// Handles of every kind (events, threads, files, snapshots, services, device sets, notifications, windows).
std::size_t openHandleCount();

/// Threads made by CreateThread whose function has not returned. One that was waited for is not among them.
std::size_t runningThreadCount();

/// COM objects, and blocks of COM's memory.
std::size_t liveComObjectCount();
