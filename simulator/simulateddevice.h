#pragma once

#include <atomic>
#include <cstdint>
#include <functional>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

#include "backgroundtasks.h"
#include "bus.h"
#include "faults.h"
#include "simulatedchip.h"

/// Blocks the calling thread for @p ms milliseconds of whatever clock the simulation runs by.
using SleepFunction = std::function<void(std::uint32_t ms)>;

/// A transmitter or headset on a port of a bus.
///
/// In its normal mode it shows two HID interfaces under the identity of the firmware in its memory, one for
/// consumer control and the vendor-defined one; in programming mode it shows the one of its chip's loader. It
/// keeps its mode without power: once it was told to leave its application it stays in programming mode until
/// the end of programming is announced and its memory holds a valid image.
///
/// Restarts take their time, on threads of the device's own. All operations may be called on any thread.
/// Whatever uses the device has to be gone before it is destroyed.
class SimulatedDevice
{
public:
    // How to script it.

    struct Setup
    {
        DeviceType type = DeviceType::Transmitter;
        int chipId = 12;
        int revision = 2;
        std::vector<std::uint8_t> image; ///< in the memory at first, which is built for it
        int port = 1;
        /// Gets a line of text for everything that happens to the device, on the thread where it happens.
        std::function<void(const std::string&)> report;
    };
    /// @param clockSleep  lets restarts take their time.
    SimulatedDevice(Bus& deviceBus, SleepFunction clockSleep, const Setup& setup);
    ~SimulatedDevice();

    void plugIn();
    void unplug();

    /// Arms a fault, to strike at the @p transfer-th feature-report transfer from now (1 is the next).
    void setFault(Fault fault, int transfer);
    void clearFault();

    /// Called on the transferring thread when a fault has made the device vanish and all who listen to the
    /// bus have handled that; to be set before the device is plugged in.
    std::function<void()> onVanished;
    /// Called on the transferring thread when the first transfer of a phase, since a fault was armed or
    /// cleared, has got through; to be set before the device is plugged in.
    std::function<void(Phase)> onPhase;

    // What it recorded.

    /// Since a fault was armed or cleared.
    Transfers transfers() const { return copyOf(faults.transfers()); }
    /// The transfers up to the one at which the fault struck, if it did.
    std::optional<Transfers> struckAt() const { return copyOf(faults.struckAt()); }
    /// False also while it restarts.
    bool isPluggedIn() const { return copyOf(isPresent); }
    bool isProgramming() const { return copyOf(programming); }
    /// Whether nothing is under way: no restart.
    bool isSettled() const { return restarts.areOver(); }
    /// At which it is or was last.
    int port() const { return copyOf(lastPort); }
    std::vector<std::uint8_t> memory() const { return copyOf(chip.memory()); }
    /// Commands that the chip did not take, and why.
    std::vector<std::string> refusals() const { return copyOf(chip.refusals()); }

private:
    /// What @p member is, unchanged meanwhile.
    template <typename Member>
    Member copyOf(const Member& member) const
    {
        const std::lock_guard<std::mutex> guard(mutex);
        return member;
    }

    struct Move
    {
        std::uint32_t delayMs; ///< after the one before
        void (SimulatedDevice::*make)();
    };

    // What it answers. A transfer on its way to an earlier stay at the bus never reaches the device.
    Transfer set(int ofStay, const std::uint8_t* report, std::size_t size);
    Transfer get(int ofStay, std::uint8_t* report, std::size_t size, std::size_t& received);

    // What a fault does to it.
    Fault countTransfer(std::optional<Phase> phase, bool isAnswer);
    Transfer suffer(Fault fault, const Transfers& made);

    // How it comes, goes and restarts.
    BusDevice face();
    void restart(int controlRequest);
    void later(const std::vector<Move>& moves);
    void connectToBus();
    void disconnectFromBus();

    void tell(const std::string& text) const;

    Bus& bus;
    const SleepFunction sleep;
    const std::function<void(const std::string&)> reportTo;

    std::mutex moving;                ///< held while the device comes and goes; taken before `mutex`
    std::atomic<int> cableMoves = {}; ///< by whoever scripts; restarts under way are off then
    mutable std::mutex mutex;         ///< guards what follows; never held while the bus is called
    SimulatedChip chip;
    FaultPlan faults;
    int nextPort; ///< at which it comes
    int lastPort = 0;
    int stay = 0; ///< at the bus: the how many-th
    bool isPresent = false;
    bool refusesOpen = false; ///< until it is plugged in anew
    bool programming = false;

    BackgroundTasks restarts;
};
