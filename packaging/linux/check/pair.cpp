// pair ARCHIVE: simulates a transmitter and a headset on the kernel's HID bus, and a laptop's lid. Writes a
// firmware archive for the pair to the file ARCHIVE. Prints each event of the devices, and reads commands
// from the standard input, one per line:
//
//     plug, unplug    plugs both devices in, or unplugs both
//     report-again    makes both devices print each phase again, at the phase's next transfer
//     compare         prints whether each memory equals its image in the archive
//     close, open     closes or opens the lid
//
// At the end of the input it unplugs both devices.

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

/// Makes both devices report each phase again, at the phase's next transfer.
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
    constexpr std::size_t imageBytes = 131072; // large enough for the user to act during the update
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
