#pragma once

// The kernel's declarations for C++. mingw-w64's wdm.h defines two functions again that intrin.h defines.
// ntddk.h includes wdm.h without its folder, so the compiler searches that folder too, after all others: its
// hidclass.h has wrong control codes, the one for programs has the right ones.
#include <intrin.h>
#define InterlockedBitTestAndSet wdmInterlockedBitTestAndSet
#define InterlockedBitTestAndReset wdmInterlockedBitTestAndReset
#include <ntddk.h>
#undef InterlockedBitTestAndSet
#undef InterlockedBitTestAndReset

#include <hidusage.h>

#include <hidclass.h>
