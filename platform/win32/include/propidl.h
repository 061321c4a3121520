// Values of properties; of their types strings, and blobs, which are as large as a value gets.
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

HRESULT WINAPI PropVariantClear(PROPVARIANT* value);
}
