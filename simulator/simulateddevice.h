#pragma once

#include <condition_variable>
#include <cstdint>
#include <deque>
#include <functional>
#include <memory>
#include <mutex>
#include <optional>
#include <set>
#include <string>
#include <thread>
#include <vector>

#include "faults.h"
#include "simulatedchip.h"
#include "simulateddevicetree.h"

/// The phases of an update as a device sees them, in their order.
enum class Phase { Leave, Identify, Configure, Erase, Download, Commit, FinalWait };

const char* phaseName(Phase phase);

/// A transmitter or headset on a USB port of the simulated computer.
///
/// In its normal mode it shows two HID interfaces under the identity of the firmware in its memory, one for
/// consumer control and the vendor-defined one; in programming mode it shows the one of its chip's loader. It
/// keeps its mode without power: once it was told to leave its application it stays in programming mode until
/// the end of programming is announced and its memory holds a valid image.
///
/// Restarts take their time on the machine's clock, on a thread of the device's own. All operations may be
/// called on any thread. Whatever uses the device has to be gone before it is destroyed.
class SimulatedDevice
{
public:
    // How to script it.

    struct Setup
    {
        SimulatedChip::Hardware hardware;
        std::vector<std::uint8_t> image; ///< in the memory at first
        int port = 1;
        /// Gets a line of text for everything that happens to the device, on the thread where it happens.
        std::function<void(const std::string&)> report;
    };
    SimulatedDevice(SimulatedDeviceTree& machineTree, Clock& machineClock, Setup setup);
    ~SimulatedDevice();

    void plugIn();
    void unplug();

    /// Arms a fault, to strike at the @p transfer-th feature-report transfer from now (1 is the next).
    void setFault(Fault fault, int transfer);
    void clearFault();

    /// Called on the transferring thread when a fault has made the device vanish and all listeners to the
    /// device tree have handled that; to be set before the device is plugged in.
    std::function<void()> onVanished;

    // What it recorded.

    /// Feature-report transfers since a fault was armed or cleared.
    struct Transfers
    {
        int count = 0;
        int commits = 0;            ///< of these
        Phase phase = Phase::Leave; ///< of the last
        int inPhase = 0;            ///< the last one's number in its phase, from 1
    };
    Transfers transfers() const;
    /// The transfers up to the one at which the fault struck, if it did at a transfer.
    std::optional<Transfers> struckAt() const;
    bool isPluggedIn() const; ///< false also while it restarts
    bool isProgramming() const;
    /// Whether nothing is under way: no restart.
    bool isSettled() const;
    std::wstring channelPath() const; ///< of the vendor-defined interface; empty while there is none
    std::vector<std::uint8_t> memory() const;
    std::vector<std::string> refusals() const; ///< commands that the chip did not take, and why

private:
    class Interface;

    DWORD setFeature(const std::uint8_t* report, std::size_t size);
    DWORD getFeature(std::uint8_t* report, std::size_t size, std::size_t& received);
    Fault countTransfer(Phase phase, bool isAnswer);
    bool strikesNow(Fault kind);
    DWORD vanish(bool comesBack);
    void obey(int controlRequest);

    void connectToBus();
    void disconnectFromBus();
    void show();
    void hide();
    void afterwards(std::uint32_t delayMs, std::function<void()> action);
    void runAfterwards();
    std::vector<DeviceNode> nodes();
    void tell(const std::string& text) const;

    SimulatedDeviceTree& tree;
    Clock& clock;
    const std::function<void(const std::string&)> reportTo;

    std::mutex bus;           ///< held while the device comes and goes; taken before `mutex`
    mutable std::mutex mutex; ///< guards everything below; never held while the tree is called
    SimulatedChip chip;
    int port;
    bool pluggedIn = false;
    bool refusesOpen = false; ///< until it is plugged in anew
    bool programming = false;
    std::vector<std::wstring> shownPaths;
    Fault fault = Fault::None; ///< until it has struck, if it strikes once
    int faultTransfer = 0;
    Transfers made;
    std::optional<Transfers> struck;
    std::set<Phase> phasesSeen;

    int cableMoves = 0; ///< by whoever scripts; restarts under way are off then
    struct Action
    {
        int cableMoves; ///< when it was planned
        std::uint32_t delayMs;
        std::function<void()> run;
    };
    std::condition_variable changed;
    std::deque<Action> actions; ///< the first stays until it is done
    bool ending = false;
    std::thread thread;
};
