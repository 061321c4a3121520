// The root of COM's interfaces. Interfaces are for C++ only.
#pragma once

#include <wtypes.h>

struct IUnknown
{
    virtual HRESULT STDMETHODCALLTYPE QueryInterface(REFIID riid, void** object) = 0;
    virtual ULONG STDMETHODCALLTYPE AddRef() = 0;
    virtual ULONG STDMETHODCALLTYPE Release() = 0;
};

typedef IUnknown* LPUNKNOWN;
