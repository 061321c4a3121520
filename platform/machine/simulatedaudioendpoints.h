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
    std::wstring adapterName; ///< friendly name of the endpoint's adapter
    EDataFlow flow = eRender;
    DWORD state = DEVICE_STATE_ACTIVE;
};

/// The computer's audio endpoints, none at first. They are unavailable while the audio service does not run.
/// Every operation may be called on any thread.
class SimulatedAudioEndpoints
{
public:
    /// Does not own its arguments. If @p services has no audio service, the endpoints are always available.
    SimulatedAudioEndpoints(SimulatedServiceManager& services, CallFaults& machineFaults);

    // How to script the endpoints.

    /// Adds an endpoint. While no active endpoint of a flow is chosen as the default, the flow's first active
    /// endpoint is the default.
    void add(AudioEndpoint endpoint);
    /// Changes an endpoint's state, for example to unplugged. Only an active endpoint can be a default.
    void setState(const std::wstring& id, DWORD state);
    /// Makes an endpoint the default, as the user would in the system's settings.
    /// @return whether there is an endpoint with the identifier @p id.
    bool chooseDefault(const std::wstring& id, ERole role);

    // What the endpoints recorded.

    struct DefaultSet
    {
        std::wstring id;
        ERole role;
    };
    std::vector<DefaultSet> defaultsSet() const; ///< set through the policy-configuration object, in order

    // Called by the COM functions.

    /// Decides whether a COM function may go on. The function calls admit() first.
    /// @param function  the function's name. If the function creates an object, the name of the
    ///     object's class.
    /// @return S_OK if the function may go on. Otherwise the function must end without output and return the
    /// same code. The code may be S_FALSE, although that is a success code.
    HRESULT admit(const std::string& function);

    /// The endpoints of @p flow that have a state in @p stateMask, in the order in which they were added.
    std::vector<AudioEndpoint> endpoints(EDataFlow flow, DWORD stateMask);

    std::optional<AudioEndpoint> defaultEndpoint(EDataFlow flow, ERole role);

    /// Records the call and returns the result of chooseDefault().
    bool setDefault(const std::wstring& id, ERole role);

private:
    SimulatedServiceManager& serviceManager;
    CallFaults& faults;
    mutable std::mutex mutex; ///< guards the members below
    std::vector<AudioEndpoint> all;
    std::map<std::pair<EDataFlow, ERole>, std::wstring> chosen;
    std::vector<DefaultSet> recorded;
};
