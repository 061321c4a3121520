// Holds the simulated pair on the kernel's bus, and a laptop's lid, and reports what happens to them. It
// takes an argument: the file to write a firmware archive for the pair to. Commands come on the standard
// input, one a line:
//
//     plug, unplug    both devices
//     report-again    the phases of both devices, each at its next transfer
//     compare         both memories with the archive's images
//     close, open     the lid
//
// At the input's end both devices are unplugged.

#include <cstdio>
#include <iostream>
#include <string>

#include "archivebuilder.h"
#include "imagebuilder.h"
#include "lid.h"
#include "simulatedpair.h"
#include "uhidbus.h"
#include "verdict.h"

namespace {

void print(const std::string& text)
{
    std::puts(text.c_str());
    std::fflush(stdout);
}

void unplug(SimulatedPair& pair)
{
    pair.device(DeviceType::Transmitter).unplug();
    pair.device(DeviceType::Headset).unplug();
}

/// Phases are reported once more, each at its next transfer.
void reportPhasesAgain(SimulatedPair& pair)
{
    pair.device(DeviceType::Transmitter).clearFault();
    pair.device(DeviceType::Headset).clearFault();
}

void compare(SimulatedPair& pair, const SimulatedPair::Setup& setup)
{
    const auto isEqual = [&](DeviceType type, const std::vector<std::uint8_t>& image) {
        return !Verdict::firstDifference(pair.device(type).memory(), image);
    };
    print(std::string("transmitter: memory ") +
          (isEqual(DeviceType::Transmitter, setup.transmitterImage) ? "equals the image" : "differs"));
    print(std::string("headset: memory ") +
          (isEqual(DeviceType::Headset, setup.headsetImage) ? "equals the image" : "differs"));
}

void carryOut(const std::string& command, SimulatedPair& pair, const SimulatedPair::Setup& setup,
              const Lid& lid)
{
    if (command == "plug")
        pair.plugIn();
    else if (command == "unplug")
        unplug(pair);
    else if (command == "report-again")
        reportPhasesAgain(pair);
    else if (command == "compare")
        compare(pair, setup);
    else if (command != "close" && command != "open")
        print("no such command: " + command);
    else if (!lid.setClosed(command == "close"))
        print("the lid cannot be moved");
}

} // namespace

int main(int argc, char* argv[])
{
    const std::string obstacle = UhidBus::obstacle();
    if (argc != 2 || !obstacle.empty()) {
        print(argc != 2 ? "usage: pair ARCHIVE" : obstacle);
        return 1;
    }
    SimulatedPair::Setup setup;
    constexpr std::size_t imageBytes = 131072; // an update takes long enough for what the user does meanwhile
    setup.transmitterImage = ImageBuilder::build(ImageBuilder::transmitter(1, imageBytes));
    setup.headsetImage = ImageBuilder::build(ImageBuilder::headset(imageBytes));
    setup.report = print;
    if (!ArchiveBuilder::write(
            QString::fromLocal8Bit(argv[1]),
            ArchiveBuilder::release(setup.transmitterImage, setup.headsetImage, "Notes"))) {
        print("the archive cannot be written");
        return 1;
    }
    UhidBus bus;
    setup.bus = &bus;
    SimulatedMachine machine(nullptr);
    SimulatedPair pair(machine, setup);
    const Lid lid;
    std::string command;
    while (std::getline(std::cin, command))
        carryOut(command, pair, setup, lid);
    unplug(pair);
    return 0;
}
