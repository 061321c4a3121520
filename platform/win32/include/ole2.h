// The part of OLE above COM.
#pragma once

#include <objbase.h>

#include <propidl.h>

extern "C" {

HRESULT WINAPI OleInitialize(LPVOID reserved);
void WINAPI OleUninitialize(void);
HRESULT WINAPI OleRun(LPUNKNOWN object);
}
