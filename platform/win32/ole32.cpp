// COM, and the audio system's objects.

#include <windows.h>

#include <mmdeviceapi.h>

#include <initguid.h>

#include <functiondiscoverykeys_devpkey.h>

#include <atomic>
#include <cstdlib>
#include <cstring>

#include "machine.h"
#include "openobjects.h"
#include "policyconfiguration.h"
#include "simulatedaudioendpoints.h"

// COM interfaces have no destructor: a virtual one would take entries of the method table.
#pragma GCC diagnostic ignored "-Wnon-virtual-dtor"

namespace {

std::atomic<std::size_t> liveObjects{0};
thread_local int initialisations = 0; // how often COM is initialised on this thread

SimulatedAudioEndpoints& audio()
{
    return *currentMachine().endpoints;
}

LPWSTR newTaskString(const std::wstring& text)
{
    const std::size_t bytes = (text.size() + 1) * sizeof(wchar_t);
    void* const memory = std::malloc(bytes);
    std::memcpy(memory, text.c_str(), bytes);
    ++liveObjects;
    return static_cast<LPWSTR>(memory);
}

/// Starts every operation: clears @p output and checks whether the call may succeed.
template <typename Output>
HRESULT begin(const char* function, Output* output)
{
    if (!output)
        return E_POINTER;
    *output = {};
    return audio().admit(function);
}

/// An object with one interface besides IUnknown. It holds a copy of the audio system's data that it shows.
/// Its creator owns the first reference.
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
        const HRESULT admitted = begin(__func__, object);
        return admitted == S_OK ? give(riid, object) : admitted;
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

/// The properties of one endpoint, read-only.
class PropertyStore final : public ComObject<IPropertyStore, AudioEndpoint>
{
public:
    using ComObject::ComObject;

    HRESULT STDMETHODCALLTYPE GetCount(DWORD*) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE GetAt(DWORD, PROPERTYKEY*) override { return E_NOTIMPL; }

    HRESULT STDMETHODCALLTYPE GetValue(REFPROPERTYKEY key, PROPVARIANT* value) override
    {
        const HRESULT admitted = begin(__func__, value);
        if (admitted != S_OK)
            return admitted;
        if (key != PKEY_DeviceInterface_FriendlyName)
            return S_OK; // a property that the endpoint does not have is empty
        value->vt = VT_LPWSTR;
        value->pwszVal = newTaskString(shown.adapterName);
        return S_OK;
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
        const HRESULT admitted = begin(__func__, properties);
        if (admitted != S_OK)
            return admitted;
        if (access != STGM_READ)
            return E_ACCESSDENIED;
        *properties = new PropertyStore(shown);
        return S_OK;
    }

    HRESULT STDMETHODCALLTYPE GetId(LPWSTR* id) override
    {
        const HRESULT admitted = begin(__func__, id);
        if (admitted != S_OK)
            return admitted;
        *id = newTaskString(shown.id);
        return S_OK;
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
        const HRESULT admitted = begin(__func__, count);
        if (admitted == S_OK)
            *count = static_cast<UINT>(shown.size());
        return admitted;
    }

    HRESULT STDMETHODCALLTYPE Item(UINT index, IMMDevice** device) override
    {
        const HRESULT admitted = begin(__func__, device);
        if (admitted != S_OK)
            return admitted;
        if (index >= shown.size())
            return E_INVALIDARG;
        *device = new Device(shown[index]);
        return S_OK;
    }
};

class DeviceEnumerator final : public ComObject<IMMDeviceEnumerator>
{
public:
    HRESULT STDMETHODCALLTYPE EnumAudioEndpoints(EDataFlow flow, DWORD stateMask,
                                                 IMMDeviceCollection** devices) override
    {
        const HRESULT admitted = begin(__func__, devices);
        if (admitted != S_OK)
            return admitted;
        if (flow >= EDataFlow_enum_count || stateMask == 0 ||
            stateMask & ~static_cast<DWORD>(DEVICE_STATEMASK_ALL))
            return E_INVALIDARG;
        *devices = new DeviceCollection(audio().endpoints(flow, stateMask));
        return S_OK;
    }

    HRESULT STDMETHODCALLTYPE GetDefaultAudioEndpoint(EDataFlow flow, ERole role,
                                                      IMMDevice** endpoint) override
    {
        const HRESULT admitted = begin(__func__, endpoint);
        if (admitted != S_OK)
            return admitted;
        if (flow >= eAll || role >= ERole_enum_count)
            return E_INVALIDARG;
        const auto found = audio().defaultEndpoint(flow, role);
        if (!found)
            return E_NOTFOUND;
        *endpoint = new Device(*found);
        return S_OK;
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
    HRESULT STDMETHODCALLTYPE operation4() override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE operation5() override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE operation6() override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE operation7() override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE operation8() override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE operation9() override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE operation10() override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE operation11() override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE operation12() override { return E_NOTIMPL; }

    HRESULT STDMETHODCALLTYPE SetDefaultEndpoint(LPCWSTR endpointId, ERole role) override
    {
        if (!endpointId)
            return E_POINTER;
        if (role >= ERole_enum_count)
            return E_INVALIDARG;
        const HRESULT admitted = audio().admit(__func__);
        if (admitted != S_OK)
            return admitted;
        return audio().setDefault(endpointId, role) ? S_OK : E_NOTFOUND;
    }
};

template <typename Object>
HRESULT create(const char* creation, REFIID riid, void** object)
{
    const HRESULT admitted = audio().admit(creation);
    if (admitted != S_OK)
        return admitted;
    auto* const created = new Object;
    const HRESULT given = created->give(riid, object);
    created->Release();
    return given;
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
    if (!object)
        return E_POINTER;
    *object = nullptr;
    if (initialisations == 0)
        return CO_E_NOTINITIALIZED;
    if (outer)
        return CLASS_E_NOAGGREGATION;
    if (!(classContext & CLSCTX_INPROC_SERVER))
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
    return audio().admit(__func__); // the objects of this layer are always running
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
