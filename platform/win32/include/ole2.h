#pragma once
#pragma GCC system_header

#include <objbase.h>

#define interface struct
#include_next <ole2.h>
#undef interface
#undef WIN32
