#pragma once
#pragma GCC system_header

#include <windows.h>

#include_next <objbase.h>
#undef interface // because sources may use this word as a name
