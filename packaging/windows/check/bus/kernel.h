#pragma once

// Includes the kernel's declarations for C++.
//
// intrin.h and mingw-w64's wdm.h define the same two functions. So the macros rename the functions of wdm.h.
//
// mingw-w64 has its headers for drivers in the folder "ddk". The compiler must search this folder too,
// because ntddk.h includes wdm.h without the folder's name. The compiler must search this folder last,
// because the hidclass.h in "ddk" has wrong control codes. The hidclass.h for programs has the right ones.
#include <intrin.h>
#define InterlockedBitTestAndSet wdmInterlockedBitTestAndSet
#define InterlockedBitTestAndReset wdmInterlockedBitTestAndReset
#include <ntddk.h>
#undef InterlockedBitTestAndSet
#undef InterlockedBitTestAndReset

#include <hidusage.h>

#include <hidclass.h>
