#include "simulatedaudioendpoints.h"

#include <algorithm>

SimulatedAudioEndpoints::SimulatedAudioEndpoints(SimulatedServiceManager& services)
    : serviceManager(services)
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

void SimulatedAudioEndpoints::chooseDefault(const std::wstring& id, ERole role)
{
    const std::lock_guard<std::mutex> guard(mutex);
    choose(id, role);
}

void SimulatedAudioEndpoints::failCall(AudioFunction function, int nth, HRESULT result)
{
    const std::lock_guard<std::mutex> guard(mutex);
    faults.fail(function, nth, result);
}

void SimulatedAudioEndpoints::failCalls(AudioFunction function, HRESULT result)
{
    const std::lock_guard<std::mutex> guard(mutex);
    lastingFaults[function] = result;
}

std::vector<SimulatedAudioEndpoints::DefaultSet> SimulatedAudioEndpoints::defaultsSet() const
{
    const std::lock_guard<std::mutex> guard(mutex);
    return recorded;
}

int SimulatedAudioEndpoints::callCount(AudioFunction function) const
{
    const std::lock_guard<std::mutex> guard(mutex);
    return faults.counted(function);
}

HRESULT SimulatedAudioEndpoints::admit(AudioFunction function)
{
    const std::lock_guard<std::mutex> guard(mutex);
    const auto fault = faults.count(function);
    if (fault)
        return *fault;
    const auto lasting = lastingFaults.find(function);
    if (lasting != lastingFaults.end())
        return lasting->second;
    return isToBeHad(function) ? S_OK : HRESULT_FROM_WIN32(ERROR_SERVICE_NOT_ACTIVE);
}

/// Whether what @p function is for does not depend on the audio service, or that runs.
bool SimulatedAudioEndpoints::isToBeHad(AudioFunction function)
{
    const bool isOfService = function == AudioFunction::GetDefaultAudioEndpoint ||
                             function == AudioFunction::EnumAudioEndpoints ||
                             function == AudioFunction::SetDefaultEndpoint;
    if (!isOfService)
        return true;
    const DWORD state = serviceManager.state(L"audiosrv");
    return state == 0 || state == SERVICE_RUNNING;
}

std::vector<AudioEndpoint> SimulatedAudioEndpoints::endpoints(EDataFlow flow, DWORD stateMask)
{
    const std::lock_guard<std::mutex> guard(mutex);
    std::vector<AudioEndpoint> found;
    for (const AudioEndpoint& endpoint : all) {
        if ((flow == eAll || endpoint.flow == flow) && (endpoint.state & stateMask))
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
    const std::lock_guard<std::mutex> guard(mutex);
    recorded.push_back({id, role});
    return choose(id, role);
}

bool SimulatedAudioEndpoints::choose(const std::wstring& id, ERole role)
{
    const auto it = std::find_if(all.begin(), all.end(),
                                 [&](const AudioEndpoint& endpoint) { return endpoint.id == id; });
    if (it == all.end())
        return false;
    chosen[{it->flow, role}] = id;
    return true;
}
