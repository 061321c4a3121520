#include "session.h"

#include <utility>

EXECUTION_STATE Session::setExecutionState(EXECUTION_STATE state)
{
    const std::lock_guard<std::mutex> guard(mutex);
    EXECUTION_STATE& ofThread = states.emplace(std::this_thread::get_id(), ES_CONTINUOUS).first->second;
    const EXECUTION_STATE previous = std::exchange(ofThread, state);
    EXECUTION_STATE required = 0;
    for (const auto& entry : states)
        required |= entry.second;
    if (require(required & ~ES_CONTINUOUS))
        return previous;
    ofThread = previous;
    return 0;
}
