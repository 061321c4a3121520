// pair GENERATION CHIP REVISION BYTES: simulates a transmitter and a headset on the simulated bus. At first
// both hold an older firmware and are unplugged. Writes their new images, BYTES bytes each, to
// "transmitter.ff" and "headset.ef", in the format that firmware archives contain. Prints each event of the
// devices, and reads commands from the standard input, one per line:
//
//     plug DEVICE
//     unplug DEVICE
//     count DEVICE                  counts the device's transfers from 1 again and disarms its fault
//     fault DEVICE NAME TRANSFER    arms a fault of the bench
//     storm COUNT                   plugs or unplugs a random device COUNT times, then plugs both in
//     expectation                   prints how an update with the armed faults must have ended
//     verdict                       prints versions, and whether each memory equals its image
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
#include "expectation.h"
#include "imagebuilder.h"
#include "simulateddevice.h"
#include "verdict.h"

namespace {

constexpr unsigned longestPauseMs = 1000;

/// Prints a line that starts with the seconds since the start, as the bench does. Thread-safe.
void report(const std::string& text)
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

/// One of the two devices and its new image.
class Candidate
{
public:
    Candidate(Bus& bus, DeviceType deviceType, const ImageOptions& wanted, int chipId, int revision)
        : type(deviceType)
        , name(type == DeviceType::Transmitter ? "transmitter" : "headset")
        , image(ImageBuilder::build(wanted))
        , device(bus, sleepFor, setup(wanted, chipId, revision))
        , before(device.memory())
    {
    }

    /// Writes the image as text, one hexadecimal byte per line.
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
        report(name + ": " + Verdict::text(before, device.memory(), image));
        for (const std::string& refusal : device.refusals())
            report(name + ": refused: " + refusal);
    }

    /// Arms @p fault, which can strike from the transfer with the number @p transfer on. Fault::None disarms.
    /// Transfers are counted from 1 again.
    void arm(Fault fault, int transfer = 1)
    {
        armed = fault;
        if (fault == Fault::None)
            device.clearFault();
        else
            device.setFault(fault, transfer);
    }

    /// Prints the result that the updater must log. Prints another line if the memory must equal the image
    /// but does not.
    void expect() const
    {
        const Expectation expected = expectationFor(armed, device.struckAt(), Verdict::commits(image), true);
        const bool succeeds = expected.errorCode == 0;
        const std::string result =
            succeeds ? "finished" : "failed with code " + std::to_string(expected.errorCode);
        report("expected: " + std::to_string(static_cast<int>(type)) + ": " + result);
        if (succeeds && !expected.exception && Verdict::firstDifference(device.memory(), image))
            report("expected: the " + name + "'s memory equal to its image");
    }

    const DeviceType type;
    const std::string name;
    const std::vector<std::uint8_t> image;
    SimulatedDevice device;

private:
    SimulatedDevice::Setup setup(const ImageOptions& wanted, int chipId, int revision) const
    {
        ImageOptions installed = wanted;
        installed.version = "1.0.0.20240131.1207"; // so long that it takes two rows of an answer
        installed.seed = 99;
        const int port = type == DeviceType::Transmitter ? 1 : 2;
        return {type, chipId, revision, ImageBuilder::build(installed), port, report};
    }

    const std::vector<std::uint8_t> before; ///< the memory's contents at the start
    Fault armed = Fault::None;
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

    /// @return false if there is no such command.
    bool execute(const std::string& line)
    {
        std::istringstream words(line);
        std::string verb;
        std::string operand;
        words >> verb >> operand;
        Candidate& candidate = operand == headset.name ? headset : transmitter;
        SimulatedDevice& device = candidate.device;
        if (verb == "plug")
            device.plugIn();
        else if (verb == "unplug")
            device.unplug();
        else if (verb == "count")
            candidate.arm(Fault::None);
        else if (verb == "fault")
            return arm(candidate, words);
        else if (verb == "storm")
            storm(std::stoi(operand));
        else if (verb == "verdict")
            judge();
        else if (verb == "expectation")
            expect();
        else
            return false;
        return true;
    }

private:
    static bool arm(Candidate& candidate, std::istream& words)
    {
        std::string name;
        int transfer = 0;
        words >> name >> transfer;
        const auto fault = faultByName(name);
        // The HID class driver, not the bus, decides who may open a device.
        if (!fault || descriptionOf(*fault).needsLayer || transfer < 1)
            return false;
        candidate.arm(*fault, transfer);
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

    void expect() const
    {
        transmitter.expect();
        headset.expect();
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
    report("done: start");
    std::string line;
    while (std::getline(std::cin, line) && line != "end")
        report((pair.execute(line) ? "done: " : "no such command: ") + line);
    return 0;
}
