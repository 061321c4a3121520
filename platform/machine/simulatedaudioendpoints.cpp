#include "simulatedaudioendpoints.h"

#include <algorithm>

SimulatedAudioEndpoints::SimulatedAudioEndpoints(SimulatedServiceManager& services, CallFaults& machineFaults)
    : serviceManager(services)
    , faults(machineFaults)
{
}

void SimulatedAudioEndpoints::add(AudioEndpoint endpoint)
{
    const std::lock_guard<std::mutex> guard(mutex);
    all.push_back(std::move(endpoint));
}

void SimulatedAudioEndpoints::setState(const std::wstring& id, DWORD state)
{
    const std::lock_guard<std::mutex> guard(mutex);
    for (AudioEndpoint& endpoint : all) {
        if (endpoint.id == id)
            endpoint.state = state;
    }
}

bool SimulatedAudioEndpoints::chooseDefault(const std::wstring& id, ERole role)
{
    const std::lock_guard<std::mutex> guard(mutex);
    const auto it = std::find_if(all.begin(), all.end(),
                                 [&](const AudioEndpoint& endpoint) { return endpoint.id == id; });
    if (it == all.end())
        return false;
    chosen[{it->flow, role}] = id;
    return true;
}

std::vector<SimulatedAudioEndpoints::DefaultSet> SimulatedAudioEndpoints::defaultsSet() const
{
    const std::lock_guard<std::mutex> guard(mutex);
    return recorded;
}

HRESULT SimulatedAudioEndpoints::admit(const std::string& function)
{
    if (const auto fault = faults.count(function))
        return static_cast<HRESULT>(*fault);
    const bool isOfService = function == "GetDefaultAudioEndpoint" || function == "EnumAudioEndpoints" ||
                             function == "SetDefaultEndpoint";
    const DWORD state = isOfService ? serviceManager.state(L"audiosrv") : SERVICE_RUNNING;
    return state == 0 || state == SERVICE_RUNNING ? S_OK : HRESULT_FROM_WIN32(ERROR_SERVICE_NOT_ACTIVE);
}

std::vector<AudioEndpoint> SimulatedAudioEndpoints::endpoints(EDataFlow flow, DWORD stateMask)
{
    const std::lock_guard<std::mutex> guard(mutex);
    std::vector<AudioEndpoint> found;
    for (const AudioEndpoint& endpoint : all) {
        if (endpoint.flow == flow && (endpoint.state & stateMask))
            found.push_back(endpoint);
    }
    return found;
}

std::optional<AudioEndpoint> SimulatedAudioEndpoints::defaultEndpoint(EDataFlow flow, ERole role)
{
    const std::vector<AudioEndpoint> active = endpoints(flow, DEVICE_STATE_ACTIVE);
    if (active.empty())
        return std::nullopt;
    const std::lock_guard<std::mutex> guard(mutex);
    const auto choice = chosen.find({flow, role});
    const auto it = std::find_if(active.begin(), active.end(), [&](const AudioEndpoint& endpoint) {
        return choice != chosen.end() && endpoint.id == choice->second;
    });
    return it == active.end() ? active.front() : *it;
}

bool SimulatedAudioEndpoints::setDefault(const std::wstring& id, ERole role)
{
    {
        const std::lock_guard<std::mutex> guard(mutex);
        recorded.push_back({id, role});
    }
    return chooseDefault(id, role);
}
