#include "machine.h"

#include <atomic>

#include "callfaults.h"
#include "clock.h"
#include "devicetree.h"
#include "processtable.h"
#include "simulatedservicemanager.h"

namespace {

struct PlainMachine
{
    Clock clock;
    CallFaults faults;
    DeviceTree devices;
    SimulatedServiceManager services{clock, faults};
    ProcessTable processes = ownProcesses();
    Machine machine{&clock, &devices, &services, nullptr, &processes, nullptr, &faults};
};

std::atomic<Machine*>& current()
{
    static auto* const plain = new PlainMachine; // never destroyed: threads may outlive main()
    static std::atomic<Machine*> machine{&plain->machine};
    return machine;
}

} // namespace

Machine& currentMachine()
{
    return *current().load();
}

ScopedMachine::ScopedMachine(Machine& machine)
    : previous(current().exchange(&machine))
{
}

ScopedMachine::~ScopedMachine()
{
    current().store(previous);
}
