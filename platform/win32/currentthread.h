#pragma once

#include <windows.h>

/// Thread identifiers. A thread gets one when it first asks, or before it runs when CreateThread makes it.
namespace CurrentThread {

DWORD id();
DWORD nextId();
void adopt(DWORD id);

} // namespace CurrentThread
