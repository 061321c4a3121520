#pragma once

#include <map>
#include <mutex>
#include <utility>

#include "audioendpoints.h"
#include "callfaults.h"

/// Audio endpoints that a test or the bench adds and takes away.
class SimulatedAudioEndpoints : public AudioEndpoints
{
public:
    // How to script it.

    /// Adds an endpoint. Where none was chosen, the first active one of a flow is its default.
    void add(AudioEndpoint endpoint);
    /// Another state, as when its device is unplugged: it is then no default until it is active again.
    void setState(const std::wstring& id, DWORD state);
    /// Makes an endpoint the default as the user would in the system's settings.
    void chooseDefault(const std::wstring& id, ERole role);
    /// Makes the @p nth call of @p function from the start (1 is the first) end with @p result.
    void failCall(AudioFunction function, int nth, HRESULT result);
    /// Makes every call of @p function end with @p result.
    void failCalls(AudioFunction function, HRESULT result);

    // What it recorded.

    struct DefaultSet
    {
        std::wstring id;
        ERole role;
    };
    std::vector<DefaultSet> defaultsSet() const; ///< through the policy-configuration object, in order
    int callCount(AudioFunction function) const;

    // What it serves.

    HRESULT admit(AudioFunction function) override;
    std::vector<AudioEndpoint> endpoints(EDataFlow flow, DWORD stateMask) override;
    std::optional<AudioEndpoint> defaultEndpoint(EDataFlow flow, ERole role) override;
    bool setDefault(const std::wstring& id, ERole role) override;

private:
    bool choose(const std::wstring& id, ERole role);

    mutable std::mutex mutex; ///< guards everything below
    std::vector<AudioEndpoint> all;
    std::map<std::pair<EDataFlow, ERole>, std::wstring> chosen;
    CallFaults<AudioFunction, HRESULT> faults;
    std::map<AudioFunction, HRESULT> lastingFaults;
    std::vector<DefaultSet> recorded;
};
