#pragma once

// The kernel's declarations for C++. intrin.h and mingw-w64's wdm.h define the same two functions, so this
// header renames those of wdm.h. ntddk.h includes wdm.h without naming its folder, so the compiler must
// search that folder too. It searches that folder last, because the hidclass.h there has wrong control codes;
// the hidclass.h for programs has the right ones.
#include <intrin.h>
#define InterlockedBitTestAndSet wdmInterlockedBitTestAndSet
#define InterlockedBitTestAndReset wdmInterlockedBitTestAndReset
#include <ntddk.h>
#undef InterlockedBitTestAndSet
#undef InterlockedBitTestAndReset

#include <hidusage.h>

#include <hidclass.h>
