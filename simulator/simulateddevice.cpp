#include "simulateddevice.h"

#include <algorithm>
#include <memory>
#include <utility>

#include "imagebuilder.h"

namespace {

constexpr std::uint32_t disconnectMs = 100;
constexpr std::uint32_t reenumerationMs = 700;
constexpr std::uint32_t powerLossMs = 500;

constexpr std::uint16_t normalVendorId = 0x7A31;
constexpr std::uint16_t usualTransmitterProductId = 0x0004;
constexpr std::uint16_t headsetProductId = 0x0006;
constexpr std::uint16_t loaderVendorId = 0x170D;
constexpr std::uint16_t transmitterLoaderProductId = 0x0100;
constexpr std::uint16_t headsetLoaderProductId = 0x0101;

constexpr std::uint16_t consumerPage = 0x000C;
constexpr std::uint16_t vendorPage = 0xFF00;
constexpr std::uint16_t firstUsage = 0x0001;
constexpr int consumerInterface = 2; // those before are the audio functions
constexpr int channelInterface = 3;

const std::vector<FeatureReportFormat> applicationReports{{SimulatedChip::commandReportId, 63}};
const std::vector<FeatureReportFormat> loaderReports{{SimulatedChip::commandReportId, 263},
                                                     {SimulatedChip::dataReportId, 263}};

constexpr int portStep = 2; // past the port of the pair's other device

constexpr std::size_t shortAnswerBytes = 8;

/// Whether the fault keeps a transfer from the chip.
bool isPrevented(Fault striking)
{
    return striking == Fault::TransferFails || striking == Fault::Vanish || striking == Fault::PowerLost;
}

} // namespace

SimulatedDevice::SimulatedDevice(Bus& deviceBus, SleepFunction clockSleep, const Setup& setup)
    : bus(deviceBus)
    , sleep(std::move(clockSleep))
    , reportTo(setup.report)
    , chip(setup.type, setup.chipId, setup.revision, setup.image)
    , nextPort(setup.port)
{
}

SimulatedDevice::~SimulatedDevice()
{
    unplug();
}

void SimulatedDevice::plugIn()
{
    const std::lock_guard<std::mutex> move(moving);
    ++cableMoves;
    {
        const std::lock_guard<std::mutex> guard(mutex);
        refusesOpen = false;
    }
    connectToBus();
}

void SimulatedDevice::unplug()
{
    const std::lock_guard<std::mutex> move(moving);
    ++cableMoves;
    disconnectFromBus();
}

void SimulatedDevice::setFault(Fault fault, int transfer)
{
    const std::lock_guard<std::mutex> guard(mutex);
    faults = FaultPlan(fault, transfer);
}

void SimulatedDevice::clearFault()
{
    const std::lock_guard<std::mutex> guard(mutex);
    faults = FaultPlan();
    chip.setWrongIdentity(false);
}

Transfer SimulatedDevice::set(int ofStay, const std::uint8_t* report, std::size_t size)
{
    std::unique_lock<std::mutex> lock(mutex);
    if (!isPresent || ofStay != stay)
        return Transfer::Gone;
    const SimulatedChip::Command command = chip.understand(report, size);
    const Fault striking = countTransfer(command.phase, false);
    const Transfers made = faults.transfers();
    if (isPrevented(striking)) {
        lock.unlock();
        return suffer(striking, made);
    }
    command.obey();
    lock.unlock();
    if (made.inPhase.at(made.phase) == 1) {
        tell(std::string(phaseName(made.phase)) + " from transfer " + std::to_string(made.count));
        if (onPhase)
            onPhase(made.phase);
    }
    if (command.controlRequest != 0)
        restart(command.controlRequest);
    return Transfer::Done;
}

Transfer SimulatedDevice::get(int ofStay, std::uint8_t* report, std::size_t size, std::size_t& received)
{
    std::unique_lock<std::mutex> lock(mutex);
    if (!isPresent || ofStay != stay)
        return Transfer::Gone;
    const Fault striking = countTransfer(std::nullopt, true);
    if (isPrevented(striking)) {
        const Transfers made = faults.transfers();
        lock.unlock();
        return suffer(striking, made);
    }
    std::vector<std::uint8_t> answer = chip.answer(size);
    lock.unlock();
    if (striking == Fault::NoData)
        answer[SimulatedChip::statusOffset] = SimulatedChip::noData;
    received = std::min(size, striking == Fault::ShortAnswer ? shortAnswerBytes : answer.size());
    std::copy_n(answer.begin(), received, report);
    return Transfer::Done;
}

/// @return the fault that strikes at this transfer. `mutex` is held.
Fault SimulatedDevice::countTransfer(std::optional<Phase> phase, bool isAnswer)
{
    const Fault striking = faults.countTransfer(phase, isAnswer);
    if (striking == Fault::WrongIdentity)
        chip.setWrongIdentity(true);
    return striking;
}

/// @return what becomes of the transfer that a fault prevents.
Transfer SimulatedDevice::suffer(Fault fault, const Transfers& made)
{
    const std::string at = " at transfer " + std::to_string(made.count) + " (" + phaseName(made.phase) + ")";
    if (fault == Fault::TransferFails) {
        tell("fault: failed" + at);
        return Transfer::Failed;
    }
    tell((fault == Fault::PowerLost ? "fault: power lost" : "fault: vanished") + at);
    {
        const std::lock_guard<std::mutex> move(moving);
        disconnectFromBus();
    }
    if (onVanished)
        onVanished();
    if (fault == Fault::PowerLost)
        later({{powerLossMs, &SimulatedDevice::connectToBus}});
    return Transfer::Gone;
}

/// What a control request brings about.
void SimulatedDevice::restart(int controlRequest)
{
    Fault striking = Fault::None;
    {
        const std::lock_guard<std::mutex> guard(mutex);
        if (controlRequest == SimulatedChip::leaveApplication)
            programming = true;
        else if (controlRequest == SimulatedChip::endOfProgramming)
            programming = !ImageBuilder::identityOf(chip.memory());
        else
            return;
        striking = faults.restart();
        refusesOpen = striking == Fault::RefuseOpen;
        if (striking == Fault::OtherPort)
            nextPort += portStep;
    }
    if (striking == Fault::OtherPort)
        tell("fault: comes back on another port");
    std::vector<Move> moves{{disconnectMs, &SimulatedDevice::disconnectFromBus}};
    if (striking != Fault::NeverBack)
        moves.push_back({reenumerationMs, &SimulatedDevice::connectToBus});
    later(moves);
}

/// Moves the device in time, unless its cable is moved meanwhile.
void SimulatedDevice::later(const std::vector<Move>& moves)
{
    restarts.start([this, moves, planned = cableMoves.load()] {
        for (const Move& move : moves) {
            sleep(move.delayMs);
            const std::lock_guard<std::mutex> mover(moving);
            if (planned == cableMoves)
                (this->*move.make)();
        }
    });
}

/// `moving` is held.
void SimulatedDevice::connectToBus()
{
    BusDevice shown;
    {
        const std::lock_guard<std::mutex> guard(mutex);
        if (isPresent)
            return;
        isPresent = true;
        ++stay;
        lastPort = nextPort;
        chip.powerUp(programming);
        shown = face();
    }
    bus.attach(shown);
    tell(isProgramming() ? "connected, in programming mode" : "connected");
}

/// How it shows itself to a computer: in programming mode as its chip's loader, otherwise under the identity
/// of the firmware in its memory, or its usual one where that is not valid. `mutex` is held.
BusDevice SimulatedDevice::face()
{
    auto serves = std::make_shared<FeatureReports>();
    serves->set = [this, now = stay](const std::uint8_t* report, std::size_t size) {
        return set(now, report, size);
    };
    serves->get = [this, now = stay](std::uint8_t* report, std::size_t size, std::size_t& received) {
        return get(now, report, size, received);
    };
    const bool isTransmitter = chip.device() == DeviceType::Transmitter;
    BusDevice shown;
    shown.port = lastPort;
    shown.refusesOpen = refusesOpen;
    if (programming) {
        shown.vendorId = loaderVendorId;
        shown.productId = isTransmitter ? transmitterLoaderProductId : headsetLoaderProductId;
        shown.name = "VYNT loader";
        shown.interfaces = {{std::nullopt, vendorPage, firstUsage, loaderReports, serves}};
        return shown;
    }
    const auto identity = ImageBuilder::identityOf(chip.memory());
    const std::uint16_t usualProductId = isTransmitter ? usualTransmitterProductId : headsetProductId;
    shown.vendorId = normalVendorId;
    shown.productId = identity ? identity->productId : usualProductId;
    shown.name = isTransmitter ? "VYNT transmitter" : "VYNT headset";
    shown.interfaces = {{consumerInterface, consumerPage, firstUsage, {}, nullptr},
                        {channelInterface, vendorPage, firstUsage, applicationReports, serves}};
    return shown;
}

/// `moving` is held.
void SimulatedDevice::disconnectFromBus()
{
    {
        const std::lock_guard<std::mutex> guard(mutex);
        if (!isPresent)
            return;
        isPresent = false;
    }
    bus.detach(port());
    tell("disconnected");
}

void SimulatedDevice::tell(const std::string& text) const
{
    if (reportTo)
        reportTo((chip.device() == DeviceType::Transmitter ? "transmitter: " : "headset: ") + text);
}
