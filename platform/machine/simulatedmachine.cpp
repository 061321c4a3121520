#include "simulatedmachine.h"

SimulatedMachine::SimulatedMachine(Clock* ownClock)
    : activeClock(ownClock ? ownClock : &realClock)
    , processes(&realProcesses)
    , tree(*activeClock)
    , services(*activeClock)
    , endpoints(services)
{
}

void SimulatedMachine::failCall(SystemCall call, int nth, DWORD error)
{
    const std::lock_guard<std::mutex> guard(mutex);
    faults.fail(call, nth, error);
}

int SimulatedMachine::callCount(SystemCall call) const
{
    const std::lock_guard<std::mutex> guard(mutex);
    return faults.counted(call);
}

DWORD SimulatedMachine::admit(SystemCall call)
{
    const std::lock_guard<std::mutex> guard(mutex);
    return faults.count(call).value_or(ERROR_SUCCESS);
}
