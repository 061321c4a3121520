#include "simulateddevice.h"

#include <algorithm>
#include <utility>

#include "busface.h"
#include "imagebuilder.h"

namespace {

constexpr std::uint32_t disconnectMs = 100;
constexpr std::uint32_t reenumerationMs = 700;
constexpr std::uint32_t powerLossMs = 500;

constexpr int portStep = 2; // past the port of the pair's other device

constexpr int leaveApplication = 0x0A;
constexpr int endOfProgramming = 0x05;
constexpr std::size_t shortAnswerBytes = 8;
constexpr std::size_t statusOffset = 1;
constexpr std::uint8_t noData = 0x01;

/// Whether the fault keeps a transfer from the chip.
bool isPrevented(Fault striking)
{
    return striking == Fault::TransferFails || striking == Fault::Vanish || striking == Fault::PowerLost;
}

} // namespace

/// One time at the bus. A transfer that was on its way when it ended never reaches the device, which may be
/// back by then.
class SimulatedDevice::Stay : public FeatureReports
{
public:
    explicit Stay(SimulatedDevice& device)
        : of(device)
    {
    }
    Transfer set(const std::uint8_t* report, std::size_t size) override
    {
        return of.set(*this, report, size);
    }
    Transfer get(std::uint8_t* report, std::size_t size, std::size_t& received) override
    {
        return of.get(*this, report, size, received);
    }

private:
    SimulatedDevice& of;
};

SimulatedDevice::SimulatedDevice(Bus& deviceBus, SleepFunction sleep, Setup setup)
    : bus(deviceBus)
    , reportTo(std::move(setup.report))
    , chip(setup.hardware, setup.image)
    , nextPort(setup.port)
    , restarts(std::move(sleep))
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
    faults.arm(fault, transfer);
}

void SimulatedDevice::clearFault()
{
    const std::lock_guard<std::mutex> guard(mutex);
    faults.clear();
    chip.setWrongIdentity(false);
}

Transfers SimulatedDevice::transfers() const
{
    const std::lock_guard<std::mutex> guard(mutex);
    return faults.transfers();
}

std::optional<Transfers> SimulatedDevice::struckAt() const
{
    const std::lock_guard<std::mutex> guard(mutex);
    return faults.struckAt();
}

bool SimulatedDevice::isPluggedIn() const
{
    const std::lock_guard<std::mutex> guard(mutex);
    return present != nullptr;
}

bool SimulatedDevice::isProgramming() const
{
    const std::lock_guard<std::mutex> guard(mutex);
    return programming;
}

int SimulatedDevice::port() const
{
    const std::lock_guard<std::mutex> guard(mutex);
    return lastPort;
}

std::vector<std::uint8_t> SimulatedDevice::memory() const
{
    const std::lock_guard<std::mutex> guard(mutex);
    return chip.memory();
}

std::vector<std::string> SimulatedDevice::refusals() const
{
    const std::lock_guard<std::mutex> guard(mutex);
    return chip.refusals();
}

Transfer SimulatedDevice::set(const Stay& stay, const std::uint8_t* report, std::size_t size)
{
    const SimulatedChip::Command command = SimulatedChip::understand(report, size);
    std::unique_lock<std::mutex> lock(mutex);
    if (present.get() != &stay)
        return Transfer::Gone;
    const Fault striking = countTransfer(command.phase, false);
    const Transfers made = faults.transfers();
    if (isPrevented(striking)) {
        lock.unlock();
        return suffer(striking, made);
    }
    chip.obey(command);
    lock.unlock();
    if (made.in(made.phase) == 1) {
        tell(std::string(phaseName(made.phase)) + " from transfer " + std::to_string(made.count));
        if (onPhase)
            onPhase(made.phase);
    }
    if (command.kind == SimulatedChip::Command::ControlRequest)
        restart(command.request);
    return Transfer::Done;
}

Transfer SimulatedDevice::get(const Stay& stay, std::uint8_t* report, std::size_t size, std::size_t& received)
{
    std::unique_lock<std::mutex> lock(mutex);
    if (present.get() != &stay)
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
        answer[statusOffset] = noData;
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
    vanish();
    if (fault == Fault::PowerLost)
        later(powerLossMs, &SimulatedDevice::connectToBus);
    return Transfer::Gone;
}

/// Takes the device away in the middle of a transfer.
void SimulatedDevice::vanish()
{
    {
        const std::lock_guard<std::mutex> move(moving);
        disconnectFromBus();
    }
    if (onVanished)
        onVanished();
}

/// What a control request brings about.
void SimulatedDevice::restart(int controlRequest)
{
    Fault striking = Fault::None;
    {
        const std::lock_guard<std::mutex> guard(mutex);
        if (controlRequest == leaveApplication)
            programming = true;
        else if (controlRequest == endOfProgramming)
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
    later(disconnectMs, &SimulatedDevice::disconnectFromBus);
    if (striking != Fault::NeverBack)
        later(reenumerationMs, &SimulatedDevice::connectToBus);
}

/// Moves the device after @p delayMs, unless its cable was moved meanwhile.
void SimulatedDevice::later(std::uint32_t delayMs, void (SimulatedDevice::*move)())
{
    restarts.add(delayMs, [this, move, planned = cableMoves.load()] {
        const std::lock_guard<std::mutex> mover(moving);
        if (planned == cableMoves)
            (this->*move)();
    });
}

/// `moving` is held.
void SimulatedDevice::connectToBus()
{
    BusDevice face;
    {
        const std::lock_guard<std::mutex> guard(mutex);
        if (present)
            return;
        present = std::make_shared<Stay>(*this);
        chip.powerUp();
        chip.setProgrammingMode(programming);
        face = busFace(chip, programming, present);
        face.port = lastPort = nextPort;
        face.refusesOpen = refusesOpen;
    }
    bus.attach(face);
    tell(isProgramming() ? "connected, in programming mode" : "connected");
}

/// `moving` is held.
void SimulatedDevice::disconnectFromBus()
{
    {
        const std::lock_guard<std::mutex> guard(mutex);
        if (!present)
            return;
        present.reset();
    }
    bus.detach(port());
    tell("disconnected");
}

void SimulatedDevice::tell(const std::string& text) const
{
    if (reportTo)
        reportTo((chip.hardware().kind == DeviceType::Transmitter ? "transmitter: " : "headset: ") + text);
}
