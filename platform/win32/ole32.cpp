// COM, and the audio system's objects.

#include <mmdeviceapi.h>

#include <atomic>
#include <cstdlib>
#include <cstring>

#include "machine.h"
#include "openobjects.h"

// COM's interfaces have no destructor: a virtual one would take places in their method tables.
#pragma GCC diagnostic ignored "-Wnon-virtual-dtor"

/// The system's undocumented interface to the default endpoints. Callers have to declare it themselves; word
/// for word alike, or the types differ for the undefined-behaviour sanitizer.
struct IPolicyConfiguration : public IUnknown
{
    virtual HRESULT STDMETHODCALLTYPE operation4() = 0;
    virtual HRESULT STDMETHODCALLTYPE operation5() = 0;
    virtual HRESULT STDMETHODCALLTYPE operation6() = 0;
    virtual HRESULT STDMETHODCALLTYPE operation7() = 0;
    virtual HRESULT STDMETHODCALLTYPE operation8() = 0;
    virtual HRESULT STDMETHODCALLTYPE operation9() = 0;
    virtual HRESULT STDMETHODCALLTYPE operation10() = 0;
    virtual HRESULT STDMETHODCALLTYPE operation11() = 0;
    virtual HRESULT STDMETHODCALLTYPE operation12() = 0;
    virtual HRESULT STDMETHODCALLTYPE SetDefaultEndpoint(LPCWSTR endpointId, ERole role) = 0;
};

namespace {

constexpr GUID unknownInterface = {
    0x00000000, 0x0000, 0x0000, {0xC0, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x46}};
constexpr GUID enumeratorClass = {
    0xBCDE0395, 0xE52F, 0x467C, {0x8E, 0x3D, 0xC4, 0x57, 0x92, 0x91, 0x69, 0x2E}};
constexpr GUID enumeratorInterface = {
    0xA95664D2, 0x9614, 0x4F35, {0xA7, 0x46, 0xDE, 0x8D, 0xB6, 0x36, 0x17, 0xE6}};
constexpr GUID collectionInterface = {
    0x0BD7A1BE, 0x7A1A, 0x44DB, {0x83, 0x97, 0xCC, 0x53, 0x92, 0x38, 0x7B, 0x5E}};
constexpr GUID deviceInterface = {
    0xD666063F, 0x1587, 0x4E43, {0x81, 0xF1, 0xB9, 0x48, 0xE8, 0x07, 0x36, 0x3F}};
constexpr GUID propertyStoreInterface = {
    0x886D8EEB, 0x8CF2, 0x4446, {0x8D, 0x02, 0xCD, 0xBA, 0x1D, 0xBD, 0xCF, 0x99}};
constexpr GUID policyConfigurationClass = {
    0x294935CE, 0xF637, 0x4E7C, {0xA4, 0x1B, 0xAB, 0x25, 0x54, 0x60, 0xB8, 0x62}};
constexpr GUID policyConfigurationInterface = {
    0x568B9108, 0x44BF, 0x40B4, {0x90, 0x06, 0x86, 0xAF, 0xE5, 0xB5, 0xA6, 0x20}};

/// The friendly name of a device interface, here of the audio adapter's.
constexpr PROPERTYKEY interfaceFriendlyName = {
    {0x026E516E, 0xB814, 0x414B, {0x83, 0xCD, 0x85, 0x6D, 0x6F, 0xEF, 0x48, 0x22}}, 2};

std::atomic<std::size_t> liveObjects{0};
thread_local int initialisations = 0; // of COM, on this thread

SimulatedAudioEndpoints& audio()
{
    return currentMachine().audioEndpoints();
}

LPWSTR newTaskString(const std::wstring& text)
{
    const std::size_t bytes = (text.size() + 1) * sizeof(wchar_t);
    void* const memory = std::malloc(bytes);
    std::memcpy(memory, text.c_str(), bytes);
    ++liveObjects;
    return static_cast<LPWSTR>(memory);
}

/// What an operation begins with: its output is emptied, and the audio system asked.
template <typename Output>
HRESULT begin(AudioFunction function, Output* output)
{
    if (!output)
        return E_POINTER;
    *output = {};
    return audio().admit(function);
}

/// An object with one interface beside IUnknown, and what it shows of the audio system. It begins with one
/// reference, the creator's.
template <typename Interface, const IID& interfaceId, typename Shown = std::nullptr_t>
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
        const HRESULT admitted = begin(AudioFunction::QueryInterface, object);
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
        if (riid != unknownInterface && riid != interfaceId)
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

/// The properties of one endpoint, to be read only.
class PropertyStore final : public ComObject<IPropertyStore, propertyStoreInterface, AudioEndpoint>
{
public:
    using ComObject::ComObject;

    HRESULT STDMETHODCALLTYPE GetCount(DWORD*) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE GetAt(DWORD, PROPERTYKEY*) override { return E_NOTIMPL; }

    HRESULT STDMETHODCALLTYPE GetValue(REFPROPERTYKEY key, PROPVARIANT* value) override
    {
        const HRESULT admitted = begin(AudioFunction::GetValue, value);
        if (admitted != S_OK)
            return admitted;
        if (key.fmtid != interfaceFriendlyName.fmtid || key.pid != interfaceFriendlyName.pid)
            return S_OK; // a property that the endpoint does not have is empty
        value->vt = VT_LPWSTR;
        value->pwszVal = newTaskString(shown.adapterName);
        return S_OK;
    }

    HRESULT STDMETHODCALLTYPE SetValue(REFPROPERTYKEY, REFPROPVARIANT) override { return E_ACCESSDENIED; }
    HRESULT STDMETHODCALLTYPE Commit() override { return E_ACCESSDENIED; }
};

class Device final : public ComObject<IMMDevice, deviceInterface, AudioEndpoint>
{
public:
    using ComObject::ComObject;

    HRESULT STDMETHODCALLTYPE Activate(REFIID, DWORD, PROPVARIANT*, void**) override { return E_NOTIMPL; }

    HRESULT STDMETHODCALLTYPE OpenPropertyStore(DWORD access, IPropertyStore** properties) override
    {
        const HRESULT admitted = begin(AudioFunction::OpenPropertyStore, properties);
        if (admitted != S_OK)
            return admitted;
        if (access != STGM_READ)
            return E_ACCESSDENIED;
        *properties = new PropertyStore(shown);
        return S_OK;
    }

    HRESULT STDMETHODCALLTYPE GetId(LPWSTR* id) override
    {
        const HRESULT admitted = begin(AudioFunction::GetId, id);
        if (admitted != S_OK)
            return admitted;
        *id = newTaskString(shown.id);
        return S_OK;
    }

    HRESULT STDMETHODCALLTYPE GetState(DWORD*) override { return E_NOTIMPL; }
};

/// The endpoints that there were when it was made.
class DeviceCollection final
    : public ComObject<IMMDeviceCollection, collectionInterface, std::vector<AudioEndpoint>>
{
public:
    using ComObject::ComObject;

    HRESULT STDMETHODCALLTYPE GetCount(UINT* count) override
    {
        const HRESULT admitted = begin(AudioFunction::GetCount, count);
        if (admitted == S_OK)
            *count = static_cast<UINT>(shown.size());
        return admitted;
    }

    HRESULT STDMETHODCALLTYPE Item(UINT index, IMMDevice** device) override
    {
        const HRESULT admitted = begin(AudioFunction::Item, device);
        if (admitted != S_OK)
            return admitted;
        if (index >= shown.size())
            return E_INVALIDARG;
        *device = new Device(shown[index]);
        return S_OK;
    }
};

class DeviceEnumerator final : public ComObject<IMMDeviceEnumerator, enumeratorInterface>
{
public:
    HRESULT STDMETHODCALLTYPE EnumAudioEndpoints(EDataFlow flow, DWORD stateMask,
                                                 IMMDeviceCollection** devices) override
    {
        const HRESULT admitted = begin(AudioFunction::EnumAudioEndpoints, devices);
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
        const HRESULT admitted = begin(AudioFunction::GetDefaultAudioEndpoint, endpoint);
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

class PolicyConfiguration final : public ComObject<IPolicyConfiguration, policyConfigurationInterface>
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
        const HRESULT admitted = audio().admit(AudioFunction::SetDefaultEndpoint);
        if (admitted != S_OK)
            return admitted;
        return audio().setDefault(endpointId, role) ? S_OK : E_NOTFOUND;
    }
};

template <typename Object>
HRESULT create(AudioFunction creation, REFIID riid, void** object)
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
    if (rclsid == enumeratorClass)
        return create<DeviceEnumerator>(AudioFunction::CreateEnumerator, riid, object);
    if (rclsid == policyConfigurationClass)
        return create<PolicyConfiguration>(AudioFunction::CreatePolicyConfiguration, riid, object);
    return REGDB_E_CLASSNOTREG;
}

HRESULT WINAPI OleRun(LPUNKNOWN object)
{
    if (!object)
        return E_INVALIDARG;
    if (initialisations == 0)
        return CO_E_NOTINITIALIZED;
    return audio().admit(AudioFunction::RunObject); // no object here needs to be put into the running state
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
