#include "simulatedpair.h"

#include "imagebuilder.h"
#include "simulatedaudioendpoints.h"

namespace {

constexpr DWORD serviceStopMs = 300;
constexpr DWORD serviceStartMs = 400;
constexpr DWORD serviceWaitHintMs = 100;

SimulatedDevice::Setup deviceSetup(const SimulatedPair::Setup& setup, DeviceType type)
{
    const bool isTransmitter = type == DeviceType::Transmitter;
    ImageOptions installed = isTransmitter
                                 ? ImageBuilder::transmitter(setup.generation, setup.transmitterImage.size())
                                 : ImageBuilder::headset(setup.headsetImage.size());
    installed.version = "1.0.0";
    installed.seed = 99;
    const int port = isTransmitter ? 1 : 2;
    return {type, setup.chipId, setup.revision, ImageBuilder::build(installed), port, setup.report};
}

} // namespace

SimulatedPair::SimulatedPair(SimulatedMachine& machine, const Setup& setup)
    : layerBus(machine.deviceTree())
    , bus(setup.bus ? *setup.bus : layerBus)
    , transmitter(bus, sleepOn(machine.clock()), deviceSetup(setup, DeviceType::Transmitter))
    , headset(bus, sleepOn(machine.clock()), deviceSetup(setup, DeviceType::Headset))
{
    SimulatedServiceManager::Service audio;
    audio.name = L"audiosrv";
    audio.stopping.durationMs = serviceStopMs;
    audio.stopping.waitHintMs = serviceWaitHintMs;
    audio.starting.durationMs = serviceStartMs;
    audio.starting.waitHintMs = serviceWaitHintMs;
    machine.serviceManager().add(audio);
    machine.audioEndpoints().add({L"{0.0.0.00000000}.{speakers}", L"Speakers", eRender});
    machine.audioEndpoints().add({L"{0.0.1.00000000}.{microphone}", L"Microphone", eCapture});
}

void SimulatedPair::plugIn()
{
    transmitter.plugIn();
    headset.plugIn();
}
