#pragma once

// The kernel's declarations as C++. mingw-w64's wdm.h defines two functions that its intrin.h has defined
// already, and is included by ntddk.h without its folder, which is therefore searched after all others (its
// own hidclass.h has wrong control codes; the one for programs is right).
#include <intrin.h>
#define InterlockedBitTestAndSet wdmInterlockedBitTestAndSet
#define InterlockedBitTestAndReset wdmInterlockedBitTestAndReset
#include <ntddk.h>
#undef InterlockedBitTestAndSet
#undef InterlockedBitTestAndReset

#include <hidusage.h>

#include <hidclass.h>
