#include "simulatedmachine.h"

#include "simulatedaudioendpoints.h"

SimulatedMachine::SimulatedMachine(Clock* ownClock)
    : tree(ownClock ? *ownClock : realClock)
    , services(ownClock ? *ownClock : realClock, faults)
    , endpoints(std::make_unique<SimulatedAudioEndpoints>(services, faults))
    , machine{ownClock ? ownClock : &realClock,
              &tree,
              &services,
              endpoints.get(),
              &processTable,
              &userSession,
              &faults}
{
}

SimulatedMachine::~SimulatedMachine() = default;
