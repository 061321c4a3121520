#include "simulatedmachine.h"

SimulatedMachine::SimulatedMachine(VirtualClock* virtualClock)
    : activeClock(virtualClock ? static_cast<Clock*>(virtualClock) : &realClock)
    , processes(&realProcesses)
    , tree(*activeClock)
    , services(*activeClock)
{
}
