// Property stores, and Core Audio's endpoint devices.
#pragma once

#include <ole2.h>

#define REFPROPERTYKEY const PROPERTYKEY&

struct IPropertyStore : public IUnknown
{
    virtual HRESULT STDMETHODCALLTYPE GetCount(DWORD* count) = 0;
    virtual HRESULT STDMETHODCALLTYPE GetAt(DWORD index, PROPERTYKEY* key) = 0;
    virtual HRESULT STDMETHODCALLTYPE GetValue(REFPROPERTYKEY key, PROPVARIANT* value) = 0;
    virtual HRESULT STDMETHODCALLTYPE SetValue(REFPROPERTYKEY key, REFPROPVARIANT value) = 0;
    virtual HRESULT STDMETHODCALLTYPE Commit() = 0;
};

#define E_NOTFOUND HRESULT_FROM_WIN32(ERROR_NOT_FOUND)

#define DEVICE_STATE_ACTIVE 0x1
#define DEVICE_STATE_DISABLED 0x2
#define DEVICE_STATE_NOTPRESENT 0x4
#define DEVICE_STATE_UNPLUGGED 0x8
#define DEVICE_STATEMASK_ALL 0xf

typedef enum _EDataFlow { eRender = 0, eCapture = 1, eAll = 2, EDataFlow_enum_count = 3 } EDataFlow;

typedef enum _ERole { eConsole = 0, eMultimedia = 1, eCommunications = 2, ERole_enum_count = 3 } ERole;

struct IMMNotificationClient;

struct IMMDevice : public IUnknown
{
    virtual HRESULT STDMETHODCALLTYPE Activate(REFIID iid, DWORD classContext, PROPVARIANT* activationParams,
                                               void** object) = 0;
    virtual HRESULT STDMETHODCALLTYPE OpenPropertyStore(DWORD access, IPropertyStore** properties) = 0;
    virtual HRESULT STDMETHODCALLTYPE GetId(LPWSTR* id) = 0;
    virtual HRESULT STDMETHODCALLTYPE GetState(DWORD* state) = 0;
};

struct IMMDeviceCollection : public IUnknown
{
    virtual HRESULT STDMETHODCALLTYPE GetCount(UINT* count) = 0;
    virtual HRESULT STDMETHODCALLTYPE Item(UINT index, IMMDevice** device) = 0;
};

struct IMMDeviceEnumerator : public IUnknown
{
    virtual HRESULT STDMETHODCALLTYPE EnumAudioEndpoints(EDataFlow dataFlow, DWORD stateMask,
                                                         IMMDeviceCollection** devices) = 0;
    virtual HRESULT STDMETHODCALLTYPE GetDefaultAudioEndpoint(EDataFlow dataFlow, ERole role,
                                                              IMMDevice** endpoint) = 0;
    virtual HRESULT STDMETHODCALLTYPE GetDevice(LPCWSTR id, IMMDevice** device) = 0;
    virtual HRESULT STDMETHODCALLTYPE RegisterEndpointNotificationCallback(IMMNotificationClient* client) = 0;
    virtual HRESULT STDMETHODCALLTYPE
    UnregisterEndpointNotificationCallback(IMMNotificationClient* client) = 0;
};
