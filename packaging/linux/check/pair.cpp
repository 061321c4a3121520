// Holds the simulated pair on the kernel's bus and tells what happens to it. Commands on the standard input,
// one a line: "plug" and "unplug", of both devices; at the input's end both are unplugged.

#include <cstdio>
#include <iostream>
#include <string>

#include "imagebuilder.h"
#include "simulatedpair.h"
#include "uhidbus.h"

namespace {

void tell(const std::string& text)
{
    std::puts(text.c_str());
    std::fflush(stdout);
}

void unplug(SimulatedPair& pair)
{
    pair.device(DeviceType::Transmitter).unplug();
    pair.device(DeviceType::Headset).unplug();
}

} // namespace

int main()
{
    const std::string obstacle = UhidBus::obstacle();
    if (!obstacle.empty()) {
        tell(obstacle);
        return 1;
    }
    SimulatedPair::Setup setup;
    setup.transmitterImage = ImageBuilder::build(ImageBuilder::transmitter(1));
    setup.headsetImage = ImageBuilder::build(ImageBuilder::headset());
    setup.report = tell;
    UhidBus bus;
    setup.bus = &bus;
    SimulatedMachine machine(nullptr);
    SimulatedPair pair(machine, setup);
    std::string command;
    while (std::getline(std::cin, command)) {
        if (command == "plug")
            pair.plugIn();
        else if (command == "unplug")
            unplug(pair);
        else
            tell("no such command: " + command);
    }
    unplug(pair);
    return 0;
}
