// pair GENERATION CHIP REVISION BYTES: simulates a transmitter and a headset on the simulated bus. Writes
// their new images, BYTES bytes each, to "transmitter.ff" and "headset.ef", in the format of the images in a
// firmware archive. Reads the commands of CommandedPair from the standard input, one per line, until "end".
// After each command prints a line "done: COMMAND" or "failed: COMMAND".
#include <cstdio>
#include <fstream>
#include <iostream>

#include "commandedpair.h"
#include "driverbus.h"

namespace {

/// Writes the image as text, one hexadecimal byte per line.
bool writeImage(const char* path, const std::vector<std::uint8_t>& image)
{
    std::ofstream file(path);
    char line[4];
    for (const std::uint8_t byte : image) {
        std::snprintf(line, sizeof(line), "%02X\n", byte);
        file << line;
    }
    return file.flush().good();
}

} // namespace

int wmain(int argc, wchar_t* argv[])
{
    constexpr int arguments = 5;
    if (argc != arguments) {
        std::puts("usage: pair GENERATION CHIP REVISION BYTES");
        return 1;
    }
    DriverBus bus;
    if (!bus.isOpen()) {
        std::puts("cannot open the simulated bus");
        return 1;
    }
    CommandedPair pair(bus, std::stoi(argv[1]), std::stoi(argv[2]), std::stoi(argv[3]), std::stoul(argv[4]));
    if (!writeImage("transmitter.ff", pair.transmitter.image) ||
        !writeImage("headset.ef", pair.headset.image)) {
        std::puts("the images cannot be written");
        return 1;
    }
    report("done: start");
    std::string line;
    while (std::getline(std::cin, line) && line != "end")
        report((pair.execute(line) ? "done: " : "failed: ") + line);
    return 0;
}
