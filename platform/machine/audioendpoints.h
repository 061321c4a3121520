#pragma once

#include <optional>
#include <string>
#include <vector>

#include <mmdeviceapi.h>

struct AudioEndpoint
{
    std::wstring id;
    std::wstring adapterName; ///< friendly name of the adapter that it belongs to
    EDataFlow flow = eRender;
    DWORD state = DEVICE_STATE_ACTIVE;
};

/// The calls of the audio system's objects that can fail.
enum class AudioFunction {
    CreateEnumerator,
    CreatePolicyConfiguration,
    RunObject,
    QueryInterface,
    GetDefaultAudioEndpoint,
    EnumAudioEndpoints,
    GetCount,
    Item,
    OpenPropertyStore,
    GetValue,
    GetId,
    SetDefaultEndpoint,
};

/// The computer's audio endpoints. Every operation may be called on any thread.
class AudioEndpoints
{
public:
    virtual ~AudioEndpoints() = default;

    /// Asked before each call. @return S_OK, and the call is served; anything else ends the call with that
    /// result and without output, S_FALSE thus as a success that delivers nothing.
    virtual HRESULT admit(AudioFunction function) = 0;

    /// The endpoints of a flow whose state is in @p stateMask, in the order of enumeration.
    virtual std::vector<AudioEndpoint> endpoints(EDataFlow flow, DWORD stateMask) = 0;

    virtual std::optional<AudioEndpoint> defaultEndpoint(EDataFlow flow, ERole role) = 0;

    /// @return whether there is an endpoint with that identifier.
    virtual bool setDefault(const std::wstring& id, ERole role) = 0;
};

/// A computer without an audio system: none of its objects can be created.
class NoEndpoints : public AudioEndpoints
{
public:
    HRESULT admit(AudioFunction) override { return REGDB_E_CLASSNOTREG; }
    std::vector<AudioEndpoint> endpoints(EDataFlow, DWORD) override { return {}; }
    std::optional<AudioEndpoint> defaultEndpoint(EDataFlow, ERole) override { return std::nullopt; }
    bool setDefault(const std::wstring&, ERole) override { return false; }
};

/// The number of COM objects not released and of COM's memory blocks not freed in this process. A test
/// compares it before and after.
std::size_t liveComObjectCount();
