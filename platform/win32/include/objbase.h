// COM's creation of objects, and its memory.
#pragma once

#include <unknwn.h>

#define STGM_READ 0x00000000

extern "C" {

HRESULT WINAPI CoCreateInstance(REFCLSID rclsid, LPUNKNOWN outer, DWORD classContext, REFIID riid,
                                LPVOID* object);
void WINAPI CoTaskMemFree(LPVOID memory);
}
