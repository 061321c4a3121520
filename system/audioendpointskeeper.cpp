#include "audioendpointskeeper.h"

#include <memory>
#include <optional>

#include <QRegExp>

#include <windows.h>

#include <ole2.h>

#include <mmdeviceapi.h>

#include <initguid.h>

#include <functiondiscoverykeys_devpkey.h>

#include "compointer_p.h"
#include "policyconfiguration.h"

namespace {

using Defaults = std::multimap<std::wstring, int>;

/// All states except DEVICE_STATE_NOTPRESENT, the state of an endpoint whose adapter is missing.
constexpr DWORD presentStates = DEVICE_STATE_ACTIVE | DEVICE_STATE_DISABLED | DEVICE_STATE_UNPLUGGED;

template <typename Interface>
[[nodiscard]] HRESULT createObject(REFCLSID classId, ComPointer<Interface>& object)
{
    void* created = nullptr;
    HRESULT result = CoCreateInstance(classId, nullptr, CLSCTX_ALL, __uuidof(IUnknown), &created);
    ComPointer<IUnknown> unknown;
    unknown.reset(static_cast<IUnknown*>(created));
    if (SUCCEEDED(result))
        result = unknown.get() ? OleRun(unknown.get()) : E_POINTER;
    if (FAILED(result))
        return result;
    void* queried = nullptr;
    result = unknown.get()->QueryInterface(__uuidof(Interface), &queried);
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
    if (FAILED(properties.call(&IPropertyStore::GetValue, PKEY_DeviceInterface_FriendlyName, &name)))
        return std::nullopt;
    if (name.vt != VT_LPWSTR || !name.pwszVal)
        return std::nullopt;
    return name.pwszVal;
}

/// Returns the first run of Latin letters and blanks in @p name. This leaves out the number that the system
/// puts before the name if several adapters have the same name.
std::wstring normalised(const std::wstring& name)
{
    const QRegExp words(QStringLiteral("(?:\\d*[- ]*)([A-Za-z ]+)"), Qt::CaseInsensitive, QRegExp::RegExp2);
    words.indexIn(QString::fromStdWString(name));
    return words.cap(1).toStdWString();
}

void makeDefault(LPCWSTR endpointId, ERole role)
{
    ComPointer<IPolicyConfiguration> policy;
    if (FAILED(createObject(__uuidof(PolicyConfigurationClient), policy)))
        return;
    // A failure is ignored, because the user can still choose the default in the sound settings.
    static_cast<void>(policy.call(&IPolicyConfiguration::SetDefaultEndpoint, endpointId, role));
}

/// Looks up the roles of the endpoint's adapter in @p defaults, makes @p endpoint the default in these roles,
/// and removes the adapter's entries from @p defaults.
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
    if (FAILED(createObject(__uuidof(MMDeviceEnumerator), enumerator)))
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
    if (FAILED(createObject(__uuidof(MMDeviceEnumerator), enumerator)))
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
