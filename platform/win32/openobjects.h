#pragma once

#include <cstddef>

// What this process has not closed yet. A test compares it before and after.

/// Handles of every kind (events, threads, files, snapshots, services, device sets, notifications, windows).
std::size_t openHandleCount();

/// COM objects, and blocks of COM's memory.
std::size_t liveComObjectCount();
