#include "simulatedsession.h"

EXECUTION_STATE SimulatedSession::required() const
{
    const std::lock_guard<std::mutex> guard(mutex);
    EXECUTION_STATE all = 0;
    for (const auto& state : states)
        all |= state.second;
    return all & ~ES_CONTINUOUS;
}

std::wstring SimulatedSession::blockReason(HWND window) const
{
    const std::lock_guard<std::mutex> guard(mutex);
    const auto reason = reasons.find(window);
    return reason == reasons.end() ? std::wstring() : reason->second;
}

EXECUTION_STATE SimulatedSession::setExecutionState(EXECUTION_STATE state)
{
    const std::lock_guard<std::mutex> guard(mutex);
    EXECUTION_STATE& ofThread = states.emplace(std::this_thread::get_id(), ES_CONTINUOUS).first->second;
    const EXECUTION_STATE previous = ofThread;
    if (state & ES_CONTINUOUS) // otherwise it only starts the time until sleep anew
        ofThread = state;
    return previous;
}

bool SimulatedSession::setBlockReason(HWND window, const std::wstring& reason)
{
    const std::lock_guard<std::mutex> guard(mutex);
    reasons[window] = reason;
    return true;
}

bool SimulatedSession::removeBlockReason(HWND window)
{
    const std::lock_guard<std::mutex> guard(mutex);
    return reasons.erase(window) > 0;
}
