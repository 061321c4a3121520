#include "audioendpointskeeper.h"

#include <memory>
#include <optional>

#include <QRegExp>

#include <windows.h>

#include <ole2.h>

#include <mmdeviceapi.h>

#include "compointer_p.h"

// A COM interface has no destructor: a virtual one would take places in its method table.
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wnon-virtual-dtor"

/// The system's undocumented interface to its sound settings: of its operations only the thirteenth, counting
/// those of IUnknown, is of use here. The others hold their places in the method table.
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

#pragma GCC diagnostic pop

namespace {

using Defaults = std::multimap<std::wstring, int>;

constexpr IID unknownInterface = {
    0x00000000, 0x0000, 0x0000, {0xC0, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x46}};
constexpr CLSID enumeratorClass = {
    0xBCDE0395, 0xE52F, 0x467C, {0x8E, 0x3D, 0xC4, 0x57, 0x92, 0x91, 0x69, 0x2E}};
constexpr IID enumeratorInterface = {
    0xA95664D2, 0x9614, 0x4F35, {0xA7, 0x46, 0xDE, 0x8D, 0xB6, 0x36, 0x17, 0xE6}};
constexpr CLSID policyConfigurationClass = {
    0x294935CE, 0xF637, 0x4E7C, {0xA4, 0x1B, 0xAB, 0x25, 0x54, 0x60, 0xB8, 0x62}};
constexpr IID policyConfigurationInterface = {
    0x568B9108, 0x44BF, 0x40B4, {0x90, 0x06, 0x86, 0xAF, 0xE5, 0xB5, 0xA6, 0x20}};

/// The friendly name of a device interface, which is the audio adapter's.
constexpr PROPERTYKEY adapterFriendlyName = {
    {0x026E516E, 0xB814, 0x414B, {0x83, 0xCD, 0x85, 0x6D, 0x6F, 0xEF, 0x48, 0x22}}, 2};

/// Everything but endpoints whose adapter is not there.
constexpr DWORD presentStates = DEVICE_STATE_ACTIVE | DEVICE_STATE_DISABLED | DEVICE_STATE_UNPLUGGED;

template <typename Interface>
[[nodiscard]] HRESULT createObject(REFCLSID classId, REFIID interfaceId, ComPointer<Interface>& object)
{
    void* created = nullptr;
    HRESULT result = CoCreateInstance(classId, nullptr, CLSCTX_ALL, unknownInterface, &created);
    ComPointer<IUnknown> unknown;
    unknown.reset(static_cast<IUnknown*>(created));
    if (SUCCEEDED(result))
        result = unknown.get() ? OleRun(unknown.get()) : E_POINTER;
    if (FAILED(result))
        return result;
    void* queried = nullptr;
    result = unknown.get()->QueryInterface(interfaceId, &queried);
    object.reset(static_cast<Interface*>(queried));
    return result;
}

std::optional<std::wstring> adapterName(const ComPointer<IMMDevice>& endpoint)
{
    ComPointer<IPropertyStore> properties;
    if (FAILED(endpoint.call(&IMMDevice::OpenPropertyStore, STGM_READ, properties.receive())))
        return std::nullopt;
    PROPVARIANT name = {};
    const std::unique_ptr<PROPVARIANT, decltype(&PropVariantClear)> clearing(&name, &PropVariantClear);
    if (FAILED(properties.call(&IPropertyStore::GetValue, adapterFriendlyName, &name)))
        return std::nullopt;
    if (name.vt != VT_LPWSTR || !name.pwszVal)
        return std::nullopt;
    return name.pwszVal;
}

/// @p name without the number that the system puts before the names of like adapters.
std::wstring normalised(const std::wstring& name)
{
    const QRegExp words(QStringLiteral("(?:\\d*[- ]*)([A-Za-z ]+)"), Qt::CaseInsensitive, QRegExp::RegExp2);
    words.indexIn(QString::fromStdWString(name));
    return words.cap(1).toStdWString();
}

void makeDefault(LPCWSTR endpointId, ERole role)
{
    ComPointer<IPolicyConfiguration> policy;
    if (FAILED(createObject(policyConfigurationClass, policyConfigurationInterface, policy)))
        return;
    // Nothing can be done about a failure: the user's choice in the sound settings remains.
    static_cast<void>(policy.call(&IPolicyConfiguration::SetDefaultEndpoint, endpointId, role));
}

/// Makes @p endpoint the default for the roles recorded under its adapter's name, and takes those out of
/// @p defaults.
void takeRoles(const ComPointer<IMMDevice>& endpoint, Defaults& defaults)
{
    const std::optional<std::wstring> name = adapterName(endpoint);
    if (!name)
        return;
    const auto [first, last] = defaults.equal_range(*name);
    if (first == last)
        return;
    LPWSTR text = nullptr;
    const HRESULT result = endpoint.call(&IMMDevice::GetId, &text);
    const std::unique_ptr<wchar_t, decltype(&CoTaskMemFree)> id(text, &CoTaskMemFree);
    if (FAILED(result) || !id)
        return;
    for (auto entry = first; entry != last; ++entry)
        makeDefault(id.get(), static_cast<ERole>(entry->second));
    defaults.erase(first, last);
}

Defaults record(EDataFlow flow)
{
    Defaults defaults;
    ComPointer<IMMDeviceEnumerator> enumerator;
    if (FAILED(createObject(enumeratorClass, enumeratorInterface, enumerator)))
        return defaults;
    for (const ERole role : {eConsole, eMultimedia, eCommunications}) {
        ComPointer<IMMDevice> endpoint;
        if (FAILED(enumerator.call(&IMMDeviceEnumerator::GetDefaultAudioEndpoint, flow, role,
                                   endpoint.receive())))
            continue;
        if (const auto name = adapterName(endpoint))
            defaults.emplace(normalised(*name), role);
    }
    return defaults;
}

void apply(EDataFlow flow, Defaults defaults)
{
    ComPointer<IMMDeviceEnumerator> enumerator;
    if (FAILED(createObject(enumeratorClass, enumeratorInterface, enumerator)))
        return;
    ComPointer<IMMDeviceCollection> endpoints;
    if (FAILED(enumerator.call(&IMMDeviceEnumerator::EnumAudioEndpoints, flow, presentStates,
                               endpoints.receive())))
        return;
    UINT count = 0;
    if (FAILED(endpoints.call(&IMMDeviceCollection::GetCount, &count)))
        return;
    for (UINT index = 0; index < count && !defaults.empty(); ++index) {
        ComPointer<IMMDevice> endpoint;
        if (SUCCEEDED(endpoints.call(&IMMDeviceCollection::Item, index, endpoint.receive())))
            takeRoles(endpoint, defaults);
    }
}

} // namespace

AudioEndpointsKeeper::AudioEndpointsKeeper()
    : renderDefaults(record(eRender))
    , captureDefaults(record(eCapture))
{
}

AudioEndpointsKeeper::~AudioEndpointsKeeper()
{
    restore();
}

void AudioEndpointsKeeper::restore()
{
    apply(eRender, renderDefaults);
    apply(eCapture, captureDefaults);
}
