#pragma once

// The kernel's declarations for C++. intrin.h and mingw-w64's wdm.h define the same two functions, so this
// header renames those of wdm.h. ntddk.h includes wdm.h without naming its folder, so the compiler must
// search that folder too. It searches it last, because the hidclass.h in it has wrong control codes; the one
// for programs has the right ones.
#include <intrin.h>
#define InterlockedBitTestAndSet wdmInterlockedBitTestAndSet
#define InterlockedBitTestAndReset wdmInterlockedBitTestAndReset
#include <ntddk.h>
#undef InterlockedBitTestAndSet
#undef InterlockedBitTestAndReset

#include <hidusage.h>

#include <hidclass.h>
