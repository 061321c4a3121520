#pragma once
#pragma GCC system_header

#include <windows.h>

#include_next <objbase.h>
#undef interface // a word that sources may use
