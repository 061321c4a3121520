// Makes the <windows.h> of mingw-w64 fit a compiler for this system. See docs/architecture.md, "The headers".
#pragma once
#pragma GCC system_header

// __CYGWIN__ and _WIN64 select a target whose "long" has 64 bits. The other macros remove keywords that only
// compilers for Windows know.
#define __CYGWIN__ 1
#define _WIN64 1
#define __cdecl
#define __stdcall
#define __declspec(attribute)

#include_next <windows.h>

// If these macros stayed defined, other libraries would conclude that the program runs on Windows.
#undef __CYGWIN__
#undef _WIN64
#undef WIN32

// Allows several translation units to define the same constant.
#undef DECLSPEC_SELECTANY
#define DECLSPEC_SELECTANY __attribute__((weak))

// On Windows <wchar.h> declares this function. This system's <wchar.h> does not.
extern "C" int _wcsicmp(const wchar_t* a, const wchar_t* b);
