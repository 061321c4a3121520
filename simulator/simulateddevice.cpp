#include "simulateddevice.h"

#include <algorithm>
#include <memory>
#include <utility>

#include "imagebuilder.h"

namespace {

constexpr std::uint32_t disconnectMs = 100;
constexpr std::uint32_t reenumerationMs = 700;
constexpr std::uint32_t powerLossMs = 500;

constexpr std::uint16_t loaderVendorId = 0x170D;
constexpr std::uint16_t transmitterLoaderProductId = 0x0100;
constexpr std::uint16_t headsetLoaderProductId = 0x0101;

constexpr std::uint16_t consumerPage = 0x000C;
constexpr std::uint16_t vendorPage = 0xFF00;
constexpr std::uint16_t firstUsage = 0x0001;
constexpr int consumerInterface = 2; // the audio interfaces have lower numbers
constexpr int channelInterface = 3;

const std::vector<FeatureReportFormat> applicationReports{{SimulatedChip::commandReportId, 63}};
const std::vector<FeatureReportFormat> loaderReports{{SimulatedChip::commandReportId, 263},
                                                     {SimulatedChip::dataReportId, 263}};

constexpr int portStep = 2; // skips the port of the pair's other device

constexpr std::size_t shortAnswerBytes = 8;

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
    chip.setWrongIdentity(false);
}

Transfer SimulatedDevice::set(int ofConnection, const std::uint8_t* report, std::size_t size)
{
    std::unique_lock<std::mutex> lock(mutex);
    if (!isPresent || ofConnection != connection)
        return Transfer::Gone;
    const SimulatedChip::Command command = chip.understand(report, size);
    const Fault striking = faults.countTransfer(command.phase, false);
    const Transfers made = faults.transfers();
    if (striking != Fault::None) {
        lock.unlock();
        if (const auto outcome = strike(striking, made))
            return *outcome;
        lock.lock();
    }
    command.execute();
    lock.unlock();
    if (made.inPhase.at(made.phase) == 1) {
        log(std::string(phaseName(made.phase)) + " from transfer " + std::to_string(made.count));
        if (onPhase)
            onPhase(made.phase);
    }
    if (command.controlRequest != 0)
        restart(command.controlRequest);
    return Transfer::Done;
}

Transfer SimulatedDevice::get(int ofConnection, std::uint8_t* report, std::size_t size, std::size_t& received)
{
    std::unique_lock<std::mutex> lock(mutex);
    if (!isPresent || ofConnection != connection)
        return Transfer::Gone;
    const Fault striking = faults.countTransfer(std::nullopt, true);
    const Transfers made = faults.transfers();
    if (striking != Fault::None) {
        lock.unlock();
        if (const auto outcome = strike(striking, made))
            return *outcome;
        lock.lock();
    }
    std::vector<std::uint8_t> answer = chip.answer(size);
    lock.unlock();
    if (striking == Fault::NoData)
        answer[SimulatedChip::statusOffset] = SimulatedChip::noData;
    received = std::min(size, striking == Fault::ShortAnswer ? shortAnswerBytes : answer.size());
    std::copy_n(answer.begin(), received, report);
    return Transfer::Done;
}

/// Applies @p fault to the transfer in progress. The count in @p made includes this transfer.
/// @return the outcome of the transfer; empty if the transfer goes on to the chip.
std::optional<Transfer> SimulatedDevice::strike(Fault fault, const Transfers& made)
{
    const std::string at = " at transfer " + std::to_string(made.count) + " (" + phaseName(made.phase) + ")";
    switch (fault) {
    case Fault::TransferFails:
        log("fault: failed" + at);
        return Transfer::Failed;
    case Fault::Vanish:
    case Fault::PowerLost:
        log((fault == Fault::PowerLost ? "fault: power lost" : "fault: vanished") + at);
        return vanish(fault == Fault::PowerLost);
    case Fault::Removed:
    case Fault::RemovalRefused:
        log("fault: orderly removal requested" + at);
        requestRemoval(fault == Fault::RemovalRefused);
        return std::nullopt;
    case Fault::WrongIdentity: {
        const std::lock_guard<std::mutex> guard(mutex);
        chip.setWrongIdentity(true);
        return std::nullopt;
    }
    default:
        return std::nullopt; // the other faults take effect in the answer or at a restart
    }
}

Transfer SimulatedDevice::vanish(bool comesBack)
{
    {
        const std::lock_guard<std::mutex> move(moving);
        disconnectFromBus();
    }
    if (onVanished)
        onVanished();
    if (comesBack)
        later({{powerLossMs, &SimulatedDevice::connectToBus}});
    return Transfer::Gone;
}

/// Requests the removal on a separate thread, so that this thread can end its transfer. A program may wait
/// for the end of the transfer before it answers the request.
void SimulatedDevice::requestRemoval(bool isHeld)
{
    const std::shared_future<void> removal = background.start([this, isHeld] {
        const std::lock_guard<std::mutex> move(moving);
        const bool isRemoved = bus.requestRemoval(port(), isHeld);
        {
            const std::lock_guard<std::mutex> changing(mutex);
            faults.noteEffect();
            isPresent = isPresent && !isRemoved;
        }
        log(isRemoved ? "removed" : "removal refused");
    });
    if (onRemovalRequested)
        onRemovalRequested(removal);
}

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
        log("fault: comes back on another port");
    std::vector<Move> moves{{disconnectMs, &SimulatedDevice::disconnectFromBus}};
    if (striking != Fault::NeverBack)
        moves.push_back({reenumerationMs, &SimulatedDevice::connectToBus});
    later(moves);
}

/// Makes the moves on a separate thread, each after its delay. If someone plugs or unplugs the cable, the
/// remaining moves are skipped.
void SimulatedDevice::later(const std::vector<Move>& moves)
{
    background.start([this, moves, planned = cableMoves.load()] {
        for (const Move& move : moves) {
            sleep(move.delayMs);
            const std::lock_guard<std::mutex> mover(moving);
            if (planned == cableMoves)
                (this->*move.make)();
        }
    });
}

/// Call it with `moving` locked.
void SimulatedDevice::connectToBus()
{
    BusDevice shown;
    {
        const std::lock_guard<std::mutex> guard(mutex);
        if (isPresent)
            return;
        isPresent = true;
        ++connection;
        lastPort = nextPort;
        chip.powerUp(programming);
        shown = busDevice();
    }
    bus.attach(shown);
    log(isProgramming() ? "connected, in programming mode" : "connected");
}

/// The device as a computer sees it. In programming mode the device has the identity of its chip's loader,
/// otherwise the identity of the firmware in its memory. If that firmware is not valid, the device has its
/// usual identity. Call it with `mutex` locked.
BusDevice SimulatedDevice::busDevice()
{
    auto serves = std::make_shared<FeatureReports>();
    serves->set = [this, now = connection](const std::uint8_t* report, std::size_t size) {
        return set(now, report, size);
    };
    serves->get = [this, now = connection](std::uint8_t* report, std::size_t size, std::size_t& received) {
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
    const ImageOptions usual = isTransmitter ? ImageBuilder::transmitter() : ImageBuilder::headset();
    shown.vendorId = usual.vendorId;
    shown.productId = identity ? identity->productId : usual.productId;
    shown.name = isTransmitter ? "VYNT transmitter" : "VYNT headset";
    shown.interfaces = {{consumerInterface, consumerPage, firstUsage, {}, nullptr},
                        {channelInterface, vendorPage, firstUsage, applicationReports, serves}};
    return shown;
}

/// Call it with `moving` locked.
void SimulatedDevice::disconnectFromBus()
{
    {
        const std::lock_guard<std::mutex> guard(mutex);
        if (!isPresent)
            return;
        isPresent = false;
    }
    bus.detach(port());
    log("disconnected");
}

void SimulatedDevice::log(const std::string& text) const
{
    if (reportTo)
        reportTo((chip.device() == DeviceType::Transmitter ? "transmitter: " : "headset: ") + text);
}
