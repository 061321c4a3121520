#include "machine.h"

#include <atomic>

#include "callfaults.h"
#include "clock.h"
#include "devicetree.h"
#include "processtable.h"
#include "session.h"
#include "simulatedaudioendpoints.h"
#include "simulatedservicemanager.h"

namespace {

struct PlainMachine
{
    PlainMachine()
    {
        for (const char* const className : {"MMDeviceEnumerator", "PolicyConfigurationClient"})
            faults.fail(className, CallFaults::everyCall, static_cast<DWORD>(REGDB_E_CLASSNOTREG));
    }

    Clock clock;
    CallFaults faults;
    DeviceTree devices;
    SimulatedServiceManager services{clock, faults};
    SimulatedAudioEndpoints endpoints{services, faults};
    ProcessTable processes;
    Session session;
    Machine machine{&clock, &devices, &services, &endpoints, &processes, &session, &faults};
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
