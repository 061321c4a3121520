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

/// Blocks the calling thread for @p ms milliseconds of the simulation's clock.
using SleepFunction = std::function<void(std::uint32_t ms)>;

/// A transmitter or headset on a port of a bus.
///
/// In normal mode the device has the identity of the firmware in its memory. It shows two HID interfaces, one
/// for consumer control and a vendor-defined one. In programming mode it shows only the interface of its
/// chip's loader. A request to leave the application starts programming mode. An end-of-programming request
/// ends programming mode if the memory holds a valid image at that time. A loss of power does not change the
/// mode.
///
/// Restarts take time and run on the device's threads. All operations may be called on any thread. Nothing
/// may use the device when it is destroyed.
class SimulatedDevice
{
public:
    // These members script the device.

    struct Setup
    {
        DeviceType type = DeviceType::Transmitter;
        int chipId = 12;
        int revision = 2;
        std::vector<std::uint8_t> image; ///< image at the start of the memory; announces the memory's size
        int port = 1;
        /// Called with a line of text for each event of the device, on the thread where the event happens.
        std::function<void(const std::string&)> report;
    };
    /// @param clockSleep  called for each delay, such as the delays of a restart.
    SimulatedDevice(Bus& deviceBus, SleepFunction clockSleep, const Setup& setup);
    ~SimulatedDevice();

    void plugIn();
    void unplug();
    /// Carries out a control request: restarts the device in the mode that the request leads to. Ignores an
    /// unknown request.
    void restart(int controlRequest);

    /// Arms a fault in place of an earlier one. @p transfer is the earliest feature-report transfer at which
    /// the fault can strike; 1 is the next transfer.
    void setFault(Fault fault, int transfer);
    void clearFault() { setFault(Fault::None, 1); }

    /// Called after a fault has disconnected the device from the bus (see Bus::detach()), on the thread of
    /// the transfer at which the fault strikes. Set this callback before the device is plugged in.
    std::function<void()> onVanished;
    /// Called when the first transfer of a phase has succeeded, on the thread of that transfer. After a fault
    /// is armed or cleared, every phase counts as new. Set this callback before the device is plugged in.
    std::function<void(Phase)> onPhase;

    /// Called after a fault has requested an orderly removal, on the thread of the transfer at which the
    /// fault strikes. The future is ready when the removal is over. Do not wait for the future in this
    /// callback, because the removal may wait for the transfer. Set this callback before the device is
    /// plugged in.
    std::function<void(const std::shared_future<void>&)> onRemovalRequested;

    // These functions return the device's state and what it recorded.

    /// The transfers since a fault was last armed or cleared.
    Transfers transfers() const { return copyOf(faults.transfers()); }
    /// The transfers up to and including the transfer at which the fault struck; empty if the fault has not
    /// struck.
    std::optional<Transfers> struckAt() const { return copyOf(faults.struckAt()); }
    /// Whether the device is connected. A device that is away during a restart is not connected.
    bool isPluggedIn() const { return copyOf(isPresent); }
    bool isProgramming() const { return copyOf(programming); }
    /// @return false while a restart or an orderly removal is under way.
    bool isSettled() const { return background.areOver(); }
    /// The port that the device is plugged into, or was plugged into last.
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
        std::uint32_t delayMs; ///< delay after the previous move
        void (SimulatedDevice::*make)();
    };

    // set() and get() serve the computer's transfers. A transfer that was started on an earlier connection
    // never reaches the device.
    Transfer set(int ofConnection, const std::uint8_t* report, std::size_t size);
    Transfer get(int ofConnection, std::uint8_t* report, std::size_t size, std::size_t& received);

    // These functions apply faults.
    std::optional<Transfer> strike(Fault fault, const Transfers& made);
    Transfer vanish(bool comesBack);
    void requestRemoval(bool isHeld);

    // These functions connect, disconnect and restart the device.
    BusDevice busDevice();
    void later(const std::vector<Move>& moves);
    void connectToBus();
    void disconnectFromBus();

    void log(const std::string& text) const;

    Bus& bus;
    const SleepFunction sleep;
    const std::function<void(const std::string&)> reportTo;

    std::mutex moving;                ///< held to connect or disconnect the device; lock it before `mutex`
    std::atomic<int> cableMoves = {}; ///< counts moves of the cable; each move cancels the planned restarts
    mutable std::mutex mutex;         ///< guards what follows; never held while the bus is called
    SimulatedChip chip;
    FaultPlan faults;
    int nextPort; ///< port of the next connection
    int lastPort = 0;
    int connection = 0; ///< counts the connections to the bus
    bool isPresent = false;
    bool refusesOpen = false; ///< if true, no program can open the device until the next plug-in or restart
    bool programming = false;

    BackgroundTasks background;
};
