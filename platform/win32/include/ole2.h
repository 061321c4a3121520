// The part of OLE above COM. Values of properties: strings, and blobs, which are as large as any.
#pragma once

#include <objbase.h>

typedef struct tagPROPVARIANT
{
    VARTYPE vt;
    WORD wReserved1;
    WORD wReserved2;
    WORD wReserved3;
    union {
        LPWSTR pwszVal;
        BLOB blob;
    };
} PROPVARIANT;

#define REFPROPVARIANT const PROPVARIANT&

extern "C" {

HRESULT WINAPI OleInitialize(LPVOID reserved);
void WINAPI OleUninitialize(void);
HRESULT WINAPI OleRun(LPUNKNOWN object);
HRESULT WINAPI PropVariantClear(PROPVARIANT* value);
}
