#include "machine.h"

#include <atomic>

namespace {

class PlainMachine : public Machine
{
public:
    PlainMachine()
    {
        for (const auto creation :
             {AudioFunction::CreateEnumerator, AudioFunction::CreatePolicyConfiguration})
            endpoints.failCalls(creation, REGDB_E_CLASSNOTREG);
    }

    Clock& clock() override { return realClock; }
    DeviceTree& deviceTree() override { return *devices; }
    SimulatedServiceManager& serviceManager() override { return services; }
    SimulatedAudioEndpoints& audioEndpoints() override { return endpoints; }
    ProcessTable& processTable() override { return realProcesses; }
    Session& session() override { return *userSession; }

    void equip(std::unique_ptr<DeviceTree> realDevices, std::unique_ptr<Session> realSession)
    {
        devices = std::move(realDevices);
        userSession = std::move(realSession);
    }

private:
    RealClock realClock;
    std::unique_ptr<DeviceTree> devices = std::make_unique<DeviceTree>();
    SimulatedServiceManager services{realClock};
    SimulatedAudioEndpoints endpoints{services};
    RealProcessTable realProcesses;
    std::unique_ptr<Session> userSession = std::make_unique<Session>();
};

PlainMachine& plainMachine()
{
    static auto* const machine = new PlainMachine; // lives as long as any thread
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
    plainMachine().equip(std::move(devices), std::move(session));
}

ScopedMachine::ScopedMachine(Machine& machine)
    : previous(current().exchange(&machine))
{
}

ScopedMachine::~ScopedMachine()
{
    current().store(previous);
}
