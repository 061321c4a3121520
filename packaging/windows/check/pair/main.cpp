// pair ARCHIVE GENERATION CHIP REVISION BYTES: a transmitter and a headset for the simulated bus, with an
// older firmware, unplugged, and an archive with the firmware that they are to get, images of that many
// bytes. Prints what happens to them, and obeys the lines of its standard input:
//
//     plug DEVICE | unplug DEVICE
//     fault DEVICE NAME TRANSFER      as in the bench
//     storm COUNT                     plugs and unplugs both in turn, with pauses from none to a second;
//     plugged in the end verdict                         a line per device: versions, and whether its memory
//     equals its image end
//
// After each command it prints a line "done: COMMAND".
#include <cstdio>
#include <iostream>
#include <map>
#include <random>
#include <sstream>
#include <string>

#include "archivebuilder.h"
#include "driverbus.h"
#include "eventlog.h"
#include "imagebuilder.h"
#include "simulateddevice.h"
#include "verdict.h"

namespace {

constexpr unsigned longestPauseMs = 1000;

EventLog& eventLog()
{
    static EventLog log;
    return log;
}

void tell(const std::string& text)
{
    eventLog().add(QString::fromStdString(text));
}

void sleepFor(std::uint32_t ms)
{
    Sleep(ms);
}

/// One of the two, and what it is to become.
class Candidate
{
public:
    Candidate(Bus& bus, DeviceType type, ImageOptions wanted, int chipId, int revision, int port)
        : image(ImageBuilder::build(wanted))
        , device(bus, sleepFor, setup(type, wanted, chipId, revision, port))
        , verdict(type, device, toByteArray(image))
    {
        verdict.begin();
    }

    const std::vector<std::uint8_t> image;
    SimulatedDevice device;
    Verdict verdict;

private:
    SimulatedDevice::Setup setup(DeviceType type, ImageOptions installed, int chipId, int revision,
                                 int port) const
    {
        installed = ImageBuilder::forMemoryOf(installed, image);
        installed.version = "1.0.0";
        installed.seed = 99;
        const std::vector<std::uint8_t> memory = ImageBuilder::build(installed);
        return {SimulatedChip::hardwareFor(type, chipId, revision, memory), memory, port, tell};
    }
};

class Pair
{
public:
    Pair(Bus& bus, int generation, int chipId, int revision, int bytes)
        : transmitter(bus, DeviceType::Transmitter, sized(ImageBuilder::transmitter(generation), bytes),
                      chipId, revision, 1)
        , headset(bus, DeviceType::Headset, sized(ImageBuilder::headset(), bytes), chipId, revision, 2)
    {
    }

    bool writeArchive(const QString& path) const
    {
        return ArchiveBuilder::write(
            path, ArchiveBuilder::release(transmitter.image, headset.image, "Made for a check."));
    }

    /// @return whether there is such a command.
    bool obey(const std::string& line)
    {
        std::istringstream words(line);
        std::string verb;
        std::string name;
        words >> verb >> name;
        SimulatedDevice& device = (name == "headset" ? headset : transmitter).device;
        if (verb == "plug")
            device.plugIn();
        else if (verb == "unplug")
            device.unplug();
        else if (verb == "fault")
            return arm(device, words);
        else if (verb == "storm")
            storm(std::stoi(name));
        else if (verb == "verdict")
            judge();
        else
            return false;
        return true;
    }

private:
    static ImageOptions sized(ImageOptions options, int bytes)
    {
        options.size = bytes;
        return options;
    }

    static bool arm(SimulatedDevice& device, std::istream& words)
    {
        std::string name;
        int transfer = 0;
        words >> name >> transfer;
        const auto fault = faultByName(name);
        // Who may open a device is decided by the HID class driver, not by the bus.
        if (!fault || *fault == Fault::RefuseOpen || transfer < 1)
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
        constexpr int noError = 0;
        for (const Candidate* candidate : {&transmitter, &headset}) {
            eventLog().add(candidate->verdict.text(noError));
            for (const std::string& refusal : candidate->device.refusals())
                tell("refused: " + refusal);
        }
    }

    Candidate transmitter;
    Candidate headset;
};

} // namespace

int main(int argc, char* argv[])
{
    constexpr int arguments = 6;
    DriverBus bus;
    if (argc != arguments || !bus.isOpen()) {
        std::puts("wrong arguments, or no bus");
        return 1;
    }
    Pair pair(bus, std::stoi(argv[2]), std::stoi(argv[3]), std::stoi(argv[4]), std::stoi(argv[5]));
    if (!pair.writeArchive(QString::fromLocal8Bit(argv[1]))) {
        std::puts("the archive cannot be written");
        return 1;
    }
    tell("done: start");
    std::string line;
    while (std::getline(std::cin, line) && line != "end")
        tell((pair.obey(line) ? "done: " : "no such command: ") + line);
    return 0;
}
