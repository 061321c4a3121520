#include "machine.h"

#include <atomic>

namespace {

struct PlainMachine : Machine
{
    PlainMachine()
    {
        for (const auto creation :
             {AudioFunction::CreateEnumerator, AudioFunction::CreatePolicyConfiguration})
            endpoints.faults.fail(creation, endpoints.faults.everyCall, REGDB_E_CLASSNOTREG);
    }

    Clock& clock() override { return realClock; }
    DeviceTree& deviceTree() override { return *devices; }
    SimulatedServiceManager& serviceManager() override { return services; }
    SimulatedAudioEndpoints& audioEndpoints() override { return endpoints; }
    ProcessTable& processTable() override { return realProcesses; }
    Session& session() override { return *userSession; }

    Clock realClock;
    std::unique_ptr<DeviceTree> devices = std::make_unique<DeviceTree>();
    SimulatedServiceManager services{realClock};
    SimulatedAudioEndpoints endpoints{services};
    ProcessTable realProcesses;
    std::unique_ptr<Session> userSession = std::make_unique<Session>();
};

PlainMachine& plainMachine()
{
    static auto* const machine = new PlainMachine; // never destroyed: threads may outlive main()
    return *machine;
}

std::atomic<Machine*>& current()
{
    static std::atomic<Machine*> machine{&plainMachine()};
    return machine;
}

} // namespace

Machine& currentMachine()
{
    return *current().load();
}

void equipPlainMachine(std::unique_ptr<DeviceTree> devices, std::unique_ptr<Session> session)
{
    plainMachine().devices = std::move(devices);
    plainMachine().userSession = std::move(session);
}

ScopedMachine::ScopedMachine(Machine& machine)
    : previous(current().exchange(&machine))
{
}

ScopedMachine::~ScopedMachine()
{
    current().store(previous);
}
