#include "simulateddevice.h"

#include <algorithm>
#include <climits>

#include <hidsdi.h>

#include "imagebuilder.h"

namespace {

constexpr std::uint16_t normalVendorId = 0x7A31;
constexpr std::uint16_t headsetProductId = 0x0006;
constexpr std::uint16_t fallbackTransmitterProductId = 0x0004;
constexpr std::uint16_t programmingVendorId = 0x170D;

constexpr HidCapabilities consumerControl{0x000C, 0x0001, 0};
constexpr HidCapabilities applicationChannel{0xFF00, 0x0001, 64};
constexpr HidCapabilities loaderChannel{0xFF00, 0x0001, 264};

constexpr std::uint32_t disconnectMs = 100;
constexpr std::uint32_t reenumerationMs = 700;
constexpr std::uint32_t powerLossMs = 500;

constexpr int leaveApplication = 0x0A;
constexpr int endOfProgramming = 0x05;
constexpr std::size_t shortAnswerBytes = 8;
constexpr std::size_t statusOffset = 1;
constexpr std::uint8_t noData = 0x01;

constexpr std::uint8_t dataReportId = 0xE4;
constexpr std::size_t payloadOffset = 3;
constexpr std::size_t operationOffset = 8;
constexpr std::size_t addressHighOffset = 10;
constexpr std::uint8_t registerPage = 0xF0;

std::wstring hex4(unsigned value)
{
    wchar_t text[5];
    std::swprintf(text, std::size(text), L"%04X", value);
    return text;
}

/// The phase to which a report belongs; @p current where it does not tell.
Phase phaseOf(const std::uint8_t* report, std::size_t size, Phase current)
{
    if (size > 0 && report[0] == dataReportId)
        return Phase::Download;
    if (size <= addressHighOffset)
        return current;
    if (report[1] == 2)
        return report[payloadOffset] == leaveApplication ? Phase::Leave : Phase::FinalWait;
    switch (report[operationOffset]) {
    case 0x81:
        return Phase::Identify;
    case 0x00:
        return report[addressHighOffset] == registerPage ? Phase::Configure : current;
    case 0x0C:
        return Phase::Erase;
    case 0x03:
        return Phase::Commit;
    default:
        return current;
    }
}

} // namespace

const char* phaseName(Phase phase)
{
    static const char* const names[] = {"leave",    "identify", "configure", "erase",
                                        "download", "commit",   "final wait"};
    return names[static_cast<int>(phase)];
}

/// One HID interface. Opened files keep it alive beyond its time in the tree.
class SimulatedDevice::Interface : public HidFunction
{
public:
    Interface(SimulatedDevice& owner, const HidCapabilities& hidCapabilities)
        : device(owner)
        , caps(hidCapabilities)
    {
    }

    HidCapabilities capabilities() const override { return caps; }
    DWORD setFeature(const std::uint8_t* report, std::size_t size) override
    {
        return device.setFeature(report, size);
    }
    DWORD getFeature(std::uint8_t* report, std::size_t size, std::size_t& received) override
    {
        return device.getFeature(report, size, received);
    }

private:
    SimulatedDevice& device;
    const HidCapabilities caps;
};

SimulatedDevice::SimulatedDevice(SimulatedDeviceTree& machineTree, Clock& machineClock, Setup setup)
    : tree(machineTree)
    , clock(machineClock)
    , reportTo(std::move(setup.report))
    , chip(setup.hardware, setup.image)
    , port(setup.port)
    , thread([this] { runAfterwards(); })
{
}

SimulatedDevice::~SimulatedDevice()
{
    {
        const std::lock_guard<std::mutex> guard(mutex);
        ending = true;
    }
    changed.notify_all();
    thread.join();
    hide();
}

void SimulatedDevice::plugIn()
{
    const std::lock_guard<std::mutex> moving(bus);
    {
        const std::lock_guard<std::mutex> guard(mutex);
        ++cableMoves;
        refusesOpen = false;
    }
    connectToBus();
}

void SimulatedDevice::unplug()
{
    const std::lock_guard<std::mutex> moving(bus);
    {
        const std::lock_guard<std::mutex> guard(mutex);
        ++cableMoves;
    }
    disconnectFromBus();
}

/// The bus is held.
void SimulatedDevice::connectToBus()
{
    {
        const std::lock_guard<std::mutex> guard(mutex);
        if (pluggedIn)
            return;
        pluggedIn = true;
        chip.powerUp();
    }
    show();
    tell(isProgramming() ? "connected, in programming mode" : "connected");
}

/// The bus is held.
void SimulatedDevice::disconnectFromBus()
{
    {
        const std::lock_guard<std::mutex> guard(mutex);
        if (!pluggedIn)
            return;
        pluggedIn = false;
    }
    hide();
    tell("disconnected");
}

void SimulatedDevice::setFault(Fault newFault, int transfer)
{
    const std::lock_guard<std::mutex> guard(mutex);
    fault = newFault;
    faultTransfer = transfer;
    made = {};
    struck.reset();
    phasesSeen.clear();
}

void SimulatedDevice::clearFault()
{
    const std::lock_guard<std::mutex> guard(mutex);
    fault = Fault::None;
    made = {};
    phasesSeen.clear();
    chip.setWrongIdentity(false);
}

SimulatedDevice::Transfers SimulatedDevice::transfers() const
{
    const std::lock_guard<std::mutex> guard(mutex);
    return made;
}

std::optional<SimulatedDevice::Transfers> SimulatedDevice::struckAt() const
{
    const std::lock_guard<std::mutex> guard(mutex);
    return struck;
}

bool SimulatedDevice::isPluggedIn() const
{
    const std::lock_guard<std::mutex> guard(mutex);
    return pluggedIn;
}

bool SimulatedDevice::isProgramming() const
{
    const std::lock_guard<std::mutex> guard(mutex);
    return programming;
}

bool SimulatedDevice::isSettled() const
{
    const std::lock_guard<std::mutex> guard(mutex);
    return actions.empty();
}

std::wstring SimulatedDevice::channelPath() const
{
    const std::lock_guard<std::mutex> guard(mutex);
    return shownPaths.empty() ? std::wstring() : shownPaths.back();
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

DWORD SimulatedDevice::setFeature(const std::uint8_t* report, std::size_t size)
{
    std::unique_lock<std::mutex> lock(mutex);
    const Phase phase = phaseOf(report, size, made.phase);
    const bool isNewPhase = phasesSeen.insert(phase).second;
    const Fault striking = countTransfer(phase, false);
    const int number = made.count;
    if (striking == Fault::TransferFails) {
        lock.unlock();
        tell("fault: transfer " + std::to_string(number) + " fails (" + phaseName(phase) + ")");
        return ERROR_GEN_FAILURE;
    }
    if (striking == Fault::Vanish || striking == Fault::PowerLost) {
        lock.unlock();
        return vanish(striking == Fault::PowerLost);
    }
    if (striking == Fault::WrongIdentity)
        chip.setWrongIdentity(true);
    const int controlRequest = chip.receive(report, size);
    lock.unlock();
    if (isNewPhase)
        tell(std::string(phaseName(phase)) + " from transfer " + std::to_string(number));
    if (controlRequest != 0)
        obey(controlRequest);
    return ERROR_SUCCESS;
}

DWORD SimulatedDevice::getFeature(std::uint8_t* report, std::size_t size, std::size_t& received)
{
    std::unique_lock<std::mutex> lock(mutex);
    const Fault striking = countTransfer(made.phase, true);
    if (striking == Fault::TransferFails)
        return ERROR_GEN_FAILURE;
    if (striking == Fault::Vanish || striking == Fault::PowerLost) {
        lock.unlock();
        return vanish(striking == Fault::PowerLost);
    }
    if (striking == Fault::WrongIdentity)
        chip.setWrongIdentity(true); // for the answers after this one
    std::vector<std::uint8_t> answer = chip.answer(size);
    lock.unlock();
    if (striking == Fault::NoData)
        answer[statusOffset] = noData;
    received = striking == Fault::ShortAnswer ? shortAnswerBytes : std::min(size, answer.size());
    std::copy_n(answer.begin(), received, report);
    return ERROR_SUCCESS;
}

/// Counts a transfer. @return the fault that strikes at it; the lock is held.
Fault SimulatedDevice::countTransfer(Phase phase, bool isAnswer)
{
    made.inPhase = made.count > 0 && phase == made.phase ? made.inPhase + 1 : 1;
    ++made.count;
    made.phase = phase;
    if (phase == Phase::Commit)
        ++made.commits;
    const bool needsAnswer = fault == Fault::NoData || fault == Fault::ShortAnswer;
    const bool isOfRestarts =
        fault == Fault::RefuseOpen || fault == Fault::NeverBack || fault == Fault::OtherPort;
    if (isOfRestarts || (needsAnswer && !isAnswer))
        return Fault::None;
    const Fault striking = fault;
    return strikesNow(striking) ? striking : Fault::None;
}

/// Whether the armed fault is of that kind and its transfer has come; it is used up then. The lock is held.
bool SimulatedDevice::strikesNow(Fault kind)
{
    if (fault == Fault::None || fault != kind || made.count < faultTransfer)
        return false;
    struck = made;
    fault = Fault::None;
    return true;
}

/// The fault that takes the device away, in the middle of a transfer.
DWORD SimulatedDevice::vanish(bool comesBack)
{
    {
        const std::lock_guard<std::mutex> moving(bus);
        Transfers last;
        {
            const std::lock_guard<std::mutex> guard(mutex);
            pluggedIn = false;
            last = made;
        }
        tell(std::string("fault: ") + (comesBack ? "power lost" : "vanished") + " at transfer " +
             std::to_string(last.count) + " (" + phaseName(last.phase) + ")");
        hide();
    }
    if (onVanished)
        onVanished();
    if (comesBack)
        afterwards(powerLossMs, [this] { connectToBus(); });
    return ERROR_DEVICE_NOT_CONNECTED;
}

void SimulatedDevice::obey(int controlRequest)
{
    bool staysAway = false;
    {
        const std::lock_guard<std::mutex> guard(mutex);
        if (controlRequest == leaveApplication)
            programming = true;
        else if (controlRequest == endOfProgramming)
            programming = !ImageBuilder::identityOf(chip.memory());
        else
            return;
        staysAway = strikesNow(Fault::NeverBack);
        refusesOpen = strikesNow(Fault::RefuseOpen);
        if (strikesNow(Fault::OtherPort))
            ++port;
    }
    afterwards(disconnectMs, [this] { disconnectFromBus(); });
    if (!staysAway)
        afterwards(reenumerationMs, [this] { connectToBus(); });
}

/// Puts the device's interfaces into the tree.
void SimulatedDevice::show()
{
    std::vector<DeviceNode> shown;
    DWORD openError = ERROR_SUCCESS;
    {
        const std::lock_guard<std::mutex> guard(mutex);
        shown = nodes();
        shownPaths.clear();
        for (const DeviceNode& node : shown)
            shownPaths.push_back(node.interfacePath);
        chip.setProgrammingMode(programming);
        openError = refusesOpen ? ERROR_ACCESS_DENIED : ERROR_SUCCESS;
    }
    for (DeviceNode& node : shown) {
        tree.refuseOpen(node.interfacePath, openError, openError == ERROR_SUCCESS ? 0 : INT_MAX);
        tree.plug(std::move(node));
    }
}

void SimulatedDevice::hide()
{
    std::vector<std::wstring> paths;
    {
        const std::lock_guard<std::mutex> guard(mutex);
        paths.swap(shownPaths);
    }
    for (const std::wstring& path : paths)
        tree.unplugAndWait(path);
}

void SimulatedDevice::afterwards(std::uint32_t delayMs, std::function<void()> action)
{
    {
        const std::lock_guard<std::mutex> guard(mutex);
        actions.push_back({cableMoves, delayMs, std::move(action)});
    }
    changed.notify_all();
}

void SimulatedDevice::runAfterwards()
{
    std::unique_lock<std::mutex> lock(mutex);
    for (;;) {
        changed.wait(lock, [this] { return ending || !actions.empty(); });
        if (ending)
            return;
        const Action action = actions.front();
        lock.unlock();
        clock.sleep(action.delayMs);
        std::unique_lock<std::mutex> moving(bus);
        lock.lock();
        const bool isOff = action.cableMoves != cableMoves;
        lock.unlock();
        if (!isOff)
            action.run();
        moving.unlock();
        lock.lock();
        actions.pop_front();
    }
}

/// The device's interfaces in its present mode; the lock is held.
std::vector<DeviceNode> SimulatedDevice::nodes()
{
    const bool isTransmitter = chip.hardware().kind == DeviceType::Transmitter;
    const auto identity = ImageBuilder::identityOf(chip.memory());
    const std::uint16_t usualProductId = isTransmitter ? fallbackTransmitterProductId : headsetProductId;
    const std::uint16_t normalProductId = identity ? identity->productId : usualProductId;
    const std::uint16_t loaderProductId = isTransmitter ? 0x0100 : 0x0101;
    const std::wstring vidPid = programming
                                    ? L"VID_" + hex4(programmingVendorId) + L"&PID_" + hex4(loaderProductId)
                                    : L"VID_" + hex4(normalVendorId) + L"&PID_" + hex4(normalProductId);
    std::vector<HidCapabilities> channels{loaderChannel};
    if (!programming)
        channels = {consumerControl, applicationChannel};

    GUID hidClass;
    HidD_GetHidGuid(&hidClass);
    std::vector<DeviceNode> result;
    for (std::size_t i = 0; i < channels.size(); ++i) {
        const std::wstring function = programming ? vidPid : vidPid + L"&MI_0" + std::to_wstring(i + 2);
        const std::wstring place = L"7&1A2B3C" + std::to_wstring(port) + L"&0&0000";
        DeviceNode node;
        node.instanceId = L"HID\\" + function + L"\\" + place;
        node.hardwareIds = {L"HID\\" + vidPid + L"&REV_0100", L"HID\\" + vidPid};
        node.description = channels[i].usagePage == consumerControl.usagePage
                               ? L"HID-compliant consumer control device"
                               : L"HID-compliant vendor-defined device";
        node.enumerator = L"HID";
        node.interfaceClass = hidClass;
        node.interfacePath =
            L"\\\\?\\HID#" + function + L"#" + place + L"#{4d1e55b2-f16f-11cf-88cb-001111000030}";
        node.hid = std::make_shared<Interface>(*this, channels[i]);
        result.push_back(std::move(node));
    }
    return result;
}

void SimulatedDevice::tell(const std::string& text) const
{
    if (reportTo)
        reportTo((chip.hardware().kind == DeviceType::Transmitter ? "transmitter: " : "headset: ") + text);
}
