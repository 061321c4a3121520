// Types that COM's headers share.
#pragma once

#include <windows.h>

#include <winerror.h>

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

typedef enum tagCLSCTX {
    CLSCTX_INPROC_SERVER = 0x1,
    CLSCTX_INPROC_HANDLER = 0x2,
    CLSCTX_LOCAL_SERVER = 0x4,
    CLSCTX_REMOTE_SERVER = 0x10
} CLSCTX;

#define CLSCTX_ALL (CLSCTX_INPROC_SERVER | CLSCTX_INPROC_HANDLER | CLSCTX_LOCAL_SERVER | CLSCTX_REMOTE_SERVER)
