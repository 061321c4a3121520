#include "simulatedpair.h"

#include "imagebuilder.h"

namespace {

constexpr DWORD serviceStopMs = 300;
constexpr DWORD serviceStartMs = 400;
constexpr DWORD serviceWaitHintMs = 100;

SimulatedDevice::Setup deviceSetup(const SimulatedPair::Setup& setup, ImageOptions installed,
                                   const std::vector<std::uint8_t>& wanted, DeviceType type)
{
    installed = ImageBuilder::forMemoryOf(installed, wanted);
    installed.version = "1.0.0";
    installed.seed = 99;
    const int port = type == DeviceType::Transmitter ? 1 : 2;
    return {type, setup.chipId, setup.revision, ImageBuilder::build(installed), port, setup.report};
}

Bus& busOf(const SimulatedPair::Setup& setup, LayerBus& layerBus)
{
    return setup.bus ? *setup.bus : layerBus;
}

} // namespace

SimulatedPair::SimulatedPair(SimulatedMachine& machine, const Setup& setup)
    : layerBus(machine.deviceTree())
    , transmitter(busOf(setup, layerBus), sleepOn(machine.clock()),
                  deviceSetup(setup, ImageBuilder::transmitter(setup.generation), setup.transmitterImage,
                              DeviceType::Transmitter))
    , headset(busOf(setup, layerBus), sleepOn(machine.clock()),
              deviceSetup(setup, ImageBuilder::headset(), setup.headsetImage, DeviceType::Headset))
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
