// Implements functions of COM, and the COM objects of the audio system.

#include <windows.h>

#include <mmdeviceapi.h>

#include <initguid.h>

#include <functiondiscoverykeys_devpkey.h>

#include <atomic>
#include <cstdlib>
#include <cwchar>

#include "machine.h"
#include "openobjects.h"
#include "policyconfiguration.h"
#include "simulatedaudioendpoints.h"

// A COM interface has no virtual destructor, because a destructor would add entries to the method table.
#pragma GCC diagnostic ignored "-Wnon-virtual-dtor"

namespace {

std::atomic<std::size_t> liveObjects{0};
thread_local int initialisations = 0; // calls of OleInitialize on this thread, minus calls of OleUninitialize

SimulatedAudioEndpoints& audio()
{
    return *currentMachine().endpoints;
}

LPWSTR newTaskString(const std::wstring& text)
{
    ++liveObjects;
    return wcsdup(text.c_str());
}

/// Carries out a call of the COM function named @p function. Clears @p output. If the audio system admits the
/// call, calls @p store, which fills @p output.
template <typename Output, typename Store>
HRESULT serve(const char* function, Output* output, Store store)
{
    *output = {};
    const HRESULT admitted = audio().admit(function);
    return admitted == S_OK ? store() : admitted;
}

/// A COM object with one interface besides IUnknown. `shown` is its copy of the endpoints that it describes,
/// if any. The creator owns the first reference.
template <typename Interface, typename Shown = std::nullptr_t>
class ComObject : public Interface
{
public:
    explicit ComObject(Shown toShow = {})
        : shown(std::move(toShow))
    {
        ++liveObjects;
    }
    ComObject(const ComObject&) = delete;
    ComObject& operator=(const ComObject&) = delete;

    HRESULT STDMETHODCALLTYPE QueryInterface(REFIID riid, void** object) override
    {
        return serve(__func__, object, [&] { return give(riid, object); });
    }

    ULONG STDMETHODCALLTYPE AddRef() override { return ++references; }

    ULONG STDMETHODCALLTYPE Release() override
    {
        const ULONG left = --references;
        if (left == 0)
            delete this;
        return left;
    }

    HRESULT give(REFIID riid, void** object)
    {
        if (riid != __uuidof(IUnknown) && riid != __uuidof(Interface))
            return E_NOINTERFACE;
        AddRef();
        *object = static_cast<Interface*>(this);
        return S_OK;
    }

protected:
    virtual ~ComObject() { --liveObjects; }

    const Shown shown;

private:
    std::atomic<ULONG> references{1};
};

/// The read-only properties of one audio endpoint.
class PropertyStore final : public ComObject<IPropertyStore, AudioEndpoint>
{
public:
    using ComObject::ComObject;

    HRESULT STDMETHODCALLTYPE GetCount(DWORD*) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE GetAt(DWORD, PROPERTYKEY*) override { return E_NOTIMPL; }

    HRESULT STDMETHODCALLTYPE GetValue(REFPROPERTYKEY key, PROPVARIANT* value) override
    {
        return serve(__func__, value, [&] {
            if (key != PKEY_DeviceInterface_FriendlyName)
                return S_OK; // the endpoint has no other property, so the value is empty
            value->vt = VT_LPWSTR;
            value->pwszVal = newTaskString(shown.adapterName);
            return S_OK;
        });
    }

    HRESULT STDMETHODCALLTYPE SetValue(REFPROPERTYKEY, REFPROPVARIANT) override { return E_ACCESSDENIED; }
    HRESULT STDMETHODCALLTYPE Commit() override { return E_ACCESSDENIED; }
};

class Device final : public ComObject<IMMDevice, AudioEndpoint>
{
public:
    using ComObject::ComObject;

    HRESULT STDMETHODCALLTYPE Activate(REFIID, DWORD, PROPVARIANT*, void**) override { return E_NOTIMPL; }

    HRESULT STDMETHODCALLTYPE OpenPropertyStore(DWORD access, IPropertyStore** properties) override
    {
        return serve(__func__, properties, [&] {
            if (access != STGM_READ)
                return E_ACCESSDENIED;
            *properties = new PropertyStore(shown);
            return S_OK;
        });
    }

    HRESULT STDMETHODCALLTYPE GetId(LPWSTR* id) override
    {
        return serve(__func__, id, [&] {
            *id = newTaskString(shown.id);
            return S_OK;
        });
    }

    HRESULT STDMETHODCALLTYPE GetState(DWORD*) override { return E_NOTIMPL; }
};

/// The endpoints that existed when the collection was created.
class DeviceCollection final : public ComObject<IMMDeviceCollection, std::vector<AudioEndpoint>>
{
public:
    using ComObject::ComObject;

    HRESULT STDMETHODCALLTYPE GetCount(UINT* count) override
    {
        return serve(__func__, count, [&] {
            *count = static_cast<UINT>(shown.size());
            return S_OK;
        });
    }

    HRESULT STDMETHODCALLTYPE Item(UINT index, IMMDevice** device) override
    {
        return serve(__func__, device, [&] {
            if (index >= shown.size())
                return E_INVALIDARG;
            *device = new Device(shown[index]);
            return S_OK;
        });
    }
};

class DeviceEnumerator final : public ComObject<IMMDeviceEnumerator>
{
public:
    HRESULT STDMETHODCALLTYPE EnumAudioEndpoints(EDataFlow flow, DWORD stateMask,
                                                 IMMDeviceCollection** devices) override
    {
        return serve(__func__, devices, [&] {
            *devices = new DeviceCollection(audio().endpoints(flow, stateMask));
            return S_OK;
        });
    }

    HRESULT STDMETHODCALLTYPE GetDefaultAudioEndpoint(EDataFlow flow, ERole role,
                                                      IMMDevice** endpoint) override
    {
        return serve(__func__, endpoint, [&] {
            const auto found = audio().defaultEndpoint(flow, role);
            if (!found)
                return E_NOTFOUND;
            *endpoint = new Device(*found);
            return S_OK;
        });
    }

    HRESULT STDMETHODCALLTYPE GetDevice(LPCWSTR, IMMDevice**) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE RegisterEndpointNotificationCallback(IMMNotificationClient*) override
    {
        return E_NOTIMPL;
    }
    HRESULT STDMETHODCALLTYPE UnregisterEndpointNotificationCallback(IMMNotificationClient*) override
    {
        return E_NOTIMPL;
    }
};

class PolicyConfiguration final : public ComObject<IPolicyConfiguration>
{
public:
    HRESULT STDMETHODCALLTYPE SetDefaultEndpoint(LPCWSTR endpointId, ERole role) override
    {
        const HRESULT admitted = audio().admit(__func__);
        if (admitted != S_OK)
            return admitted;
        return audio().setDefault(endpointId, role) ? S_OK : E_NOTFOUND;
    }
};

template <typename Object>
HRESULT create(const char* className, REFIID riid, void** object)
{
    return serve(className, object, [&] {
        auto* const created = new Object;
        const HRESULT given = created->give(riid, object);
        created->Release();
        return given;
    });
}

} // namespace

std::size_t liveComObjectCount()
{
    return liveObjects;
}

HRESULT WINAPI OleInitialize(LPVOID)
{
    return initialisations++ == 0 ? S_OK : S_FALSE;
}

void WINAPI OleUninitialize()
{
    --initialisations;
}

HRESULT WINAPI CoCreateInstance(REFCLSID rclsid, LPUNKNOWN outer, DWORD classContext, REFIID riid,
                                LPVOID* object)
{
    if (initialisations == 0)
        return CO_E_NOTINITIALIZED;
    if (outer || !(classContext & CLSCTX_INPROC_SERVER))
        return E_INVALIDARG; // neither aggregation nor other kinds of server are modelled
    if (!currentMachine().endpoints)
        return REGDB_E_CLASSNOTREG;
    if (rclsid == __uuidof(MMDeviceEnumerator))
        return create<DeviceEnumerator>("MMDeviceEnumerator", riid, object);
    if (rclsid == __uuidof(PolicyConfigurationClient))
        return create<PolicyConfiguration>("PolicyConfigurationClient", riid, object);
    return REGDB_E_CLASSNOTREG;
}

HRESULT WINAPI OleRun(LPUNKNOWN object)
{
    if (!object)
        return E_INVALIDARG;
    if (initialisations == 0)
        return CO_E_NOTINITIALIZED;
    return audio().admit(__func__); // nothing to start, because the layer's objects always run
}

HRESULT WINAPI PropVariantClear(PROPVARIANT* value)
{
    if (value->vt == VT_LPWSTR)
        CoTaskMemFree(value->pwszVal);
    *value = {};
    return S_OK;
}

void WINAPI CoTaskMemFree(LPVOID memory)
{
    if (!memory)
        return;
    --liveObjects;
    std::free(memory);
}
