#include "commandedpair.h"

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <mutex>
#include <random>
#include <sstream>
#include <thread>

#include "expectation.h"
#include "verdict.h"

namespace {

constexpr unsigned longestPauseMs = 1000;

void sleepFor(std::uint32_t ms)
{
    std::this_thread::sleep_for(std::chrono::milliseconds(ms));
}

} // namespace

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

CommandedDevice::CommandedDevice(Bus& bus, DeviceType deviceType, const ImageOptions& wanted, int chipId,
                                 int revision)
    : type(deviceType)
    , name(type == DeviceType::Transmitter ? "transmitter" : "headset")
    , image(ImageBuilder::build(wanted))
    , device(bus, sleepFor, setup(wanted, chipId, revision))
    , versionBefore(Verdict::versionOf(device.memory()))
{
}

SimulatedDevice::Setup CommandedDevice::setup(const ImageOptions& wanted, int chipId, int revision) const
{
    ImageOptions installed = wanted;
    installed.version = "1.0.0.20240131.1207"; // the chip returns this text in two rows of 16 bytes
    installed.seed = 99;
    const int port = type == DeviceType::Transmitter ? 1 : 2;
    return {type, chipId, revision, ImageBuilder::build(installed), port, report};
}

bool CommandedDevice::execute(const std::string& verb, std::istream& operands)
{
    if (verb == "plug")
        device.plugIn();
    else if (verb == "unplug")
        device.unplug();
    else if (verb == "count")
        device.clearFault();
    else if (verb == "fault")
        return arm(operands);
    else if (verb == "verdict")
        judge();
    else if (verb == "expectation")
        expect();
    else
        return false;
    return true;
}

bool CommandedDevice::arm(std::istream& operands)
{
    std::string faultName;
    int transfer = 0;
    operands >> faultName >> transfer;
    const Fault fault = faultByName(faultName);
    if (fault == Fault::None || descriptionOf(fault).needsLayer || transfer < 1)
        return false;
    armed = fault;
    device.setFault(fault, transfer);
    return true;
}

void CommandedDevice::judge() const
{
    report(name + ": " + versionBefore + " -> " + Verdict::text(device.memory(), image));
    for (const std::string& refusal : device.refusals())
        report(name + ": refused: " + refusal);
}

/// Prints a regular expression for the result that the updater must log. If the memory is wrong, a second
/// line makes the check fail.
void CommandedDevice::expect() const
{
    const Expectation expected = expectationFor(armed, device.struckAt(), Verdict::commits(image), true);
    const bool succeeds = expected.errorCode == 0;
    std::string result = succeeds ? "finished" : "failed with code " + std::to_string(expected.errorCode);
    if (!succeeds && expected.maySucceed)
        result = "(finished|" + result + ")";
    report("expected: " + std::to_string(static_cast<int>(type)) + ": " + result);
    if (succeeds && !expected.exception && Verdict::firstDifference(device.memory(), image))
        report("expected: the " + name + "'s memory equal to its image");
}

CommandedPair::CommandedPair(Bus& bus, int generation, int chipId, int revision, std::size_t imageBytes)
    : transmitter(bus, DeviceType::Transmitter, ImageBuilder::transmitter(generation, imageBytes), chipId,
                  revision)
    , headset(bus, DeviceType::Headset, ImageBuilder::headset(imageBytes), chipId, revision)
{
}

bool CommandedPair::execute(const std::string& command)
{
    std::istringstream words(command);
    std::string verb;
    std::string operand;
    words >> verb >> operand;
    if (verb == "storm") {
        storm(std::atoi(operand.c_str()));
        return true;
    }
    bool isExecuted = false;
    for (CommandedDevice* const device : {&transmitter, &headset}) {
        if (operand.empty() || operand == device->name)
            isExecuted = device->execute(verb, words);
    }
    return isExecuted;
}

void CommandedPair::storm(int count)
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
