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
/// keeps its mode without power: after the request to leave its application it stays in programming mode
/// until the end of programming is announced and its memory holds a valid image.
///
/// Restarts take their time, on threads of the device's own. All operations may be called on any thread.
/// Whoever uses the device must be gone before it is destroyed.
class SimulatedDevice
{
public:
    // How to script it.

    struct Setup
    {
        DeviceType type = DeviceType::Transmitter;
        int chipId = 12;
        int revision = 2;
        std::vector<std::uint8_t> image; ///< the memory's first content; the memory has the size it announces
        int port = 1;
        /// Gets a line of text for each event of the device, on the thread where it happens.
        std::function<void(const std::string&)> report;
    };
    /// @param clockSleep  lets restarts take their time.
    SimulatedDevice(Bus& deviceBus, SleepFunction clockSleep, const Setup& setup);
    ~SimulatedDevice();

    void plugIn();
    void unplug();

    /// Arms a fault, to strike from the @p transfer-th feature-report transfer from now on (1 is the next).
    void setFault(Fault fault, int transfer);
    void clearFault();

    /// Called on the transferring thread when a fault has made the device vanish and all listeners of the bus
    /// have handled that. Set it before the device is plugged in.
    std::function<void()> onVanished;
    /// Called on the transferring thread when the first transfer of a phase, since a fault was armed or
    /// cleared, has succeeded. Set it before the device is plugged in.
    std::function<void(Phase)> onPhase;

    /// Called on the transferring thread when a fault has requested an orderly removal; the future is ready
    /// when it is over. Do not wait for it within the transfer, which the removal may wait for. Set it before
    /// the device is plugged in.
    std::function<void(const std::shared_future<void>&)> onRemovalRequested;

    // What it recorded.

    /// Since a fault was armed or cleared.
    Transfers transfers() const { return copyOf(faults.transfers()); }
    /// The transfers up to the one at which the fault struck, if it did.
    std::optional<Transfers> struckAt() const { return copyOf(faults.struckAt()); }
    /// False also while it restarts.
    bool isPluggedIn() const { return copyOf(isPresent); }
    bool isProgramming() const { return copyOf(programming); }
    /// Whether no restart and no orderly removal is under way.
    bool isSettled() const { return background.areOver(); }
    /// Where it is plugged in, or was last.
    int port() const { return copyOf(lastPort); }
    std::vector<std::uint8_t> memory() const { return copyOf(chip.memory()); }
    /// Why the chip refused commands, in order.
    std::vector<std::string> refusals() const { return copyOf(chip.refusals()); }

private:
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

    // Its answers. A transfer that was started on an earlier connection never reaches the device.
    Transfer set(int ofConnection, const std::uint8_t* report, std::size_t size);
    Transfer get(int ofConnection, std::uint8_t* report, std::size_t size, std::size_t& received);

    // Its faults.
    std::optional<Transfer> strike(Fault fault, const Transfers& made);
    Transfer vanish(bool comesBack);
    void requestRemoval(bool isHeld);

    // How it comes, goes and restarts.
    BusDevice busDevice();
    void restart(int controlRequest);
    void later(const std::vector<Move>& moves);
    void connectToBus();
    void disconnectFromBus();

    void log(const std::string& text) const;

    Bus& bus;
    const SleepFunction sleep;
    const std::function<void(const std::string&)> reportTo;

    std::mutex moving;                ///< held while the device comes and goes; taken before `mutex`
    std::atomic<int> cableMoves = {}; ///< a restart that was planned before the last of them is off
    mutable std::mutex mutex;         ///< guards what follows; never held while the bus is called
    SimulatedChip chip;
    FaultPlan faults;
    int nextPort; ///< of the next connection
    int lastPort = 0;
    int connection = 0; ///< counts the connections to the bus
    bool isPresent = false;
    bool refusesOpen = false; ///< until it is plugged in again
    bool programming = false;

    BackgroundTasks background;
};
