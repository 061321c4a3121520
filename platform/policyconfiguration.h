#pragma once

#include <windows.h>

#include <ole2.h>

#include <mmdeviceapi.h>

// A COM interface has no virtual destructor, because a destructor would add entries to the method table.
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wnon-virtual-dtor"

/// A COM interface to the sound settings of Windows. No Windows header declares it. Operations 1 to 3 are
/// those of IUnknown. Operations 4 to 12 only fill the method table. The program uses operation 13,
/// SetDefaultEndpoint.
struct IPolicyConfiguration : public IUnknown
{
    virtual HRESULT STDMETHODCALLTYPE operation4() { return E_NOTIMPL; }
    virtual HRESULT STDMETHODCALLTYPE operation5() { return E_NOTIMPL; }
    virtual HRESULT STDMETHODCALLTYPE operation6() { return E_NOTIMPL; }
    virtual HRESULT STDMETHODCALLTYPE operation7() { return E_NOTIMPL; }
    virtual HRESULT STDMETHODCALLTYPE operation8() { return E_NOTIMPL; }
    virtual HRESULT STDMETHODCALLTYPE operation9() { return E_NOTIMPL; }
    virtual HRESULT STDMETHODCALLTYPE operation10() { return E_NOTIMPL; }
    virtual HRESULT STDMETHODCALLTYPE operation11() { return E_NOTIMPL; }
    virtual HRESULT STDMETHODCALLTYPE operation12() { return E_NOTIMPL; }
    virtual HRESULT STDMETHODCALLTYPE SetDefaultEndpoint(LPCWSTR endpointId, ERole role) = 0;
};

#pragma GCC diagnostic pop

__CRT_UUID_DECL(IPolicyConfiguration, 0x568B9108, 0x44BF, 0x40B4, 0x90, 0x06, 0x86, 0xAF, 0xE5, 0xB5, 0xA6,
                0x20)

/// The COM class that implements IPolicyConfiguration.
class PolicyConfigurationClient;

__CRT_UUID_DECL(PolicyConfigurationClient, 0x294935CE, 0xF637, 0x4E7C, 0xA4, 0x1B, 0xAB, 0x25, 0x54, 0x60,
                0xB8, 0x62)
