#pragma once
#pragma GCC system_header

#include <windows.h>

#define _WIN64 1 // makes the header pack records as on 64-bit Windows
#include_next <setupapi.h>
#undef _WIN64
