// COM: shared types, the root of its interfaces, its creation of objects, and its memory.
#pragma once

#include <windows.h>

typedef unsigned short VARTYPE;

enum VARENUM { VT_EMPTY = 0, VT_LPWSTR = 31 };

typedef struct tagBLOB
{
    ULONG cbSize;
    BYTE* pBlobData;
} BLOB;

typedef struct _tagpropertykey
{
    GUID fmtid;
    DWORD pid;
} PROPERTYKEY;

enum tagCLSCTX { CLSCTX_INPROC_SERVER = 0x1 };

#define CLSCTX_ALL 0x17

struct IUnknown
{
    virtual HRESULT STDMETHODCALLTYPE QueryInterface(REFIID riid, void** object) = 0;
    virtual ULONG STDMETHODCALLTYPE AddRef() = 0;
    virtual ULONG STDMETHODCALLTYPE Release() = 0;
};

typedef IUnknown* LPUNKNOWN;

#define STGM_READ 0x00000000

extern "C" {

HRESULT WINAPI CoCreateInstance(REFCLSID rclsid, LPUNKNOWN outer, DWORD classContext, REFIID riid,
                                LPVOID* object);
void WINAPI CoTaskMemFree(LPVOID memory);
}
