#pragma once

#include <map>
#include <mutex>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include <mmdeviceapi.h>

#include "callfaults.h"
#include "simulatedservicemanager.h"

struct AudioEndpoint
{
    std::wstring id;
    std::wstring adapterName; ///< friendly name of the adapter that it belongs to
    EDataFlow flow = eRender;
    DWORD state = DEVICE_STATE_ACTIVE;
};

/// The computer's audio endpoints, none at first. They are unavailable while the audio service does not run.
/// Every operation may be called on any thread.
class SimulatedAudioEndpoints
{
public:
    /// The services are borrowed. If the audio service is not among them, it counts as running.
    SimulatedAudioEndpoints(SimulatedServiceManager& services, CallFaults& machineFaults);

    // How to script it.

    /// Adds an endpoint. Until one is chosen, the first active endpoint of a flow is its default.
    void add(AudioEndpoint endpoint);
    /// Changes an endpoint's state, as unplugging its device does. Only an active endpoint can be a default.
    void setState(const std::wstring& id, DWORD state);
    /// Makes an endpoint the default as the user would in the system's settings.
    /// @return whether there is an endpoint with that identifier.
    bool chooseDefault(const std::wstring& id, ERole role);

    // What it recorded.

    struct DefaultSet
    {
        std::wstring id;
        ERole role;
    };
    std::vector<DefaultSet> defaultsSet() const; ///< set through the policy-configuration object, in order

    // What it serves.

    /// Call it at the start of each COM function. @p function is its name, or the class's, as in CallFaults.
    /// @return S_OK if the function may go on. Otherwise the function must return this value without output,
    /// even if it is the success S_FALSE.
    HRESULT admit(const std::string& function);

    /// The endpoints of a flow whose state is in @p stateMask, in the order in which they were added.
    std::vector<AudioEndpoint> endpoints(EDataFlow flow, DWORD stateMask);

    std::optional<AudioEndpoint> defaultEndpoint(EDataFlow flow, ERole role);

    /// Records the call, and does the same as chooseDefault().
    bool setDefault(const std::wstring& id, ERole role);

private:
    SimulatedServiceManager& serviceManager;
    CallFaults& faults;
    mutable std::mutex mutex; ///< guards what follows
    std::vector<AudioEndpoint> all;
    std::map<std::pair<EDataFlow, ERole>, std::wstring> chosen;
    std::vector<DefaultSet> recorded;
};
