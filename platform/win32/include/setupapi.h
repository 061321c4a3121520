#pragma once
#pragma GCC system_header

#include <windows.h>

#define _WIN64 1 // selects how records are packed
#include_next <setupapi.h>
#undef _WIN64
