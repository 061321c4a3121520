// pair GENERATION CHIP REVISION BYTES: a transmitter and a headset for the simulated bus, with an older
// firmware, unplugged. Writes the images that they are to get, of that many bytes, to "transmitter.ff" and
// "headset.ef", as archives hold them. Prints what happens to the devices, and obeys the lines of its
// standard input:
//
//     plug DEVICE | unplug DEVICE
//     fault DEVICE NAME TRANSFER      as in the bench
//     storm COUNT                     plugs and unplugs either, with pauses up to a second; plugged in at the
//     end verdict                         per device its versions, and whether its memory equals its image
//     end
//
// After each command it prints a line "done: COMMAND".
#include <algorithm>
#include <chrono>
#include <cstdio>
#include <fstream>
#include <iostream>
#include <mutex>
#include <random>
#include <sstream>
#include <string>

#include "driverbus.h"
#include "imagebuilder.h"
#include "simulateddevice.h"
#include "verdict.h"

namespace {

constexpr unsigned longestPauseMs = 1000;

/// Prints a line as the bench does, with the seconds since the start. Any thread.
void tell(const std::string& text)
{
    using Clock = std::chrono::steady_clock;
    static const Clock::time_point start = Clock::now();
    static std::mutex mutex;
    const std::lock_guard<std::mutex> guard(mutex);
    const std::chrono::duration<double> seconds = Clock::now() - start;
    std::printf("[%8.3f] %s\n", seconds.count(), text.c_str());
    std::fflush(stdout);
}

void sleepFor(std::uint32_t ms)
{
    Sleep(ms);
}

/// One of the two, and what it is to become.
class Candidate
{
public:
    Candidate(Bus& bus, DeviceType type, const ImageOptions& wanted, int chipId, int revision)
        : name(type == DeviceType::Transmitter ? "transmitter" : "headset")
        , image(ImageBuilder::build(wanted))
        , device(bus, sleepFor, setup(type, wanted, chipId, revision))
        , before(device.memory())
    {
    }

    /// Writes the image as text, a byte per line.
    bool writeImage(const std::string& path) const
    {
        std::ofstream file(path);
        char line[4];
        for (const std::uint8_t byte : image) {
            std::snprintf(line, sizeof(line), "%02X\n", byte);
            file << line;
        }
        return file.flush().good();
    }

    void judge() const
    {
        tell(name + ": " + Verdict::text(before, device.memory(), image));
        for (const std::string& refusal : device.refusals())
            tell(name + ": refused: " + refusal);
    }

    const std::string name;
    const std::vector<std::uint8_t> image;
    SimulatedDevice device;

private:
    SimulatedDevice::Setup setup(DeviceType type, const ImageOptions& wanted, int chipId, int revision) const
    {
        ImageOptions installed = ImageBuilder::forMemoryOf(wanted, image);
        installed.version = "1.0.0.20240131.1207"; // in two rows of an answer
        installed.seed = 99;
        const int port = type == DeviceType::Transmitter ? 1 : 2;
        return {type, chipId, revision, ImageBuilder::build(installed), port, tell};
    }

    const std::vector<std::uint8_t> before; ///< the memory
};

class Pair
{
public:
    Pair(Bus& bus, int generation, int chipId, int revision, std::size_t bytes)
        : transmitter(bus, DeviceType::Transmitter, ImageBuilder::transmitter(generation, bytes), chipId,
                      revision)
        , headset(bus, DeviceType::Headset, ImageBuilder::headset(bytes), chipId, revision)
    {
    }

    bool writeImages() const
    {
        return transmitter.writeImage("transmitter.ff") && headset.writeImage("headset.ef");
    }

    /// @return whether there is such a command.
    bool obey(const std::string& line)
    {
        std::istringstream words(line);
        std::string verb;
        std::string operand;
        words >> verb >> operand;
        SimulatedDevice& device = (operand == headset.name ? headset : transmitter).device;
        if (verb == "plug")
            device.plugIn();
        else if (verb == "unplug")
            device.unplug();
        else if (verb == "fault")
            return arm(device, words);
        else if (verb == "storm")
            storm(std::stoi(operand));
        else if (verb == "verdict")
            judge();
        else
            return false;
        return true;
    }

private:
    static bool arm(SimulatedDevice& device, std::istream& words)
    {
        std::string name;
        int transfer = 0;
        words >> name >> transfer;
        const auto fault = faultByName(name);
        // Who may open a device is decided by the HID class driver, not by the bus.
        if (!fault || descriptionOf(*fault).needsLayer || transfer < 1)
            return false;
        device.setFault(*fault, transfer);
        return true;
    }

    void storm(int count)
    {
        std::mt19937 generator(1);
        for (int i = 0; i < count; ++i) {
            SimulatedDevice& device = (generator() % 2 == 0 ? headset : transmitter).device;
            if (device.isPluggedIn())
                device.unplug();
            else
                device.plugIn();
            const unsigned pause = generator() % longestPauseMs;
            sleepFor(generator() % 2 == 0 ? 0 : pause);
        }
        transmitter.device.plugIn();
        headset.device.plugIn();
    }

    void judge() const
    {
        transmitter.judge();
        headset.judge();
    }

    Candidate transmitter;
    Candidate headset;
};

} // namespace

int wmain(int argc, wchar_t* argv[])
{
    constexpr int arguments = 5;
    DriverBus bus;
    if (argc != arguments || !bus.isOpen()) {
        std::puts("wrong arguments, or no bus");
        return 1;
    }
    Pair pair(bus, std::stoi(argv[1]), std::stoi(argv[2]), std::stoi(argv[3]), std::stoul(argv[4]));
    if (!pair.writeImages()) {
        std::puts("the images cannot be written");
        return 1;
    }
    tell("done: start");
    std::string line;
    while (std::getline(std::cin, line) && line != "end")
        tell((pair.obey(line) ? "done: " : "no such command: ") + line);
    return 0;
}
