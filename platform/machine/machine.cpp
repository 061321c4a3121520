#include "machine.h"

#include <atomic>

namespace {

class NoDevices : public DeviceTree
{
public:
    std::vector<std::shared_ptr<const DeviceNode>> presentNodes(const GUID&) override { return {}; }

    std::unique_ptr<DeviceFile> open(const std::wstring&, DWORD, DWORD, DWORD& error) override
    {
        error = ERROR_FILE_NOT_FOUND;
        return nullptr;
    }

    bool waitInstallationSettled(DWORD) override { return true; }
    void observe(const std::shared_ptr<DeviceTreeObserver>&) override {}
};

class PlainMachine : public Machine
{
public:
    Clock& clock() override { return realClock; }
    DeviceTree& deviceTree() override { return noDevices; }
    ServiceManager& serviceManager() override { return noServices; }
    AudioEndpoints& audioEndpoints() override { return noEndpoints; }
    ProcessTable& processTable() override { return realProcesses; }
    Session& session() override { return noSession; }

private:
    RealClock realClock;
    NoDevices noDevices;
    NoServices noServices;
    NoEndpoints noEndpoints;
    RealProcessTable realProcesses;
    NoSession noSession;
};

Machine* plainMachine()
{
    static auto* const machine = new PlainMachine; // lives as long as any thread
    return machine;
}

std::atomic<Machine*>& current()
{
    static std::atomic<Machine*> machine{plainMachine()};
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
