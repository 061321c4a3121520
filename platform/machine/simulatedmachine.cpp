#include "simulatedmachine.h"

SimulatedMachine::SimulatedMachine(Clock* ownClock)
    : activeClock(ownClock ? ownClock : &realClock)
    , processes(&realProcesses)
    , tree(*activeClock)
    , services(*activeClock)
{
}
