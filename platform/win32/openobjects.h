#pragma once

#include <cstddef>

// These functions count what this process has not closed yet. Tests compare the counts before and after
// an operation.

/// @return the number of open handles of every kind, including those of services, notifications and windows.
std::size_t openHandleCount();

/// @return the number of threads that CreateThread has started and whose function has not returned. Once a
/// wait for a thread has succeeded, the number no longer includes the thread.
std::size_t runningThreadCount();

/// @return the number of COM objects, and of strings from COM functions, that were not released.
std::size_t liveComObjectCount();
