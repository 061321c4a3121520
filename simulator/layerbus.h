#pragma once

#include <string>
#include <vector>

#include "bus.h"
#include "simulateddevice.h"
#include "simulateddevicetree.h"

/// The bus of the simulated computer. Each interface of a connected device is a node of the computer's device
/// tree.
class LayerBus : public Bus
{
public:
    /// @param deviceTree  must outlive the bus.
    explicit LayerBus(SimulatedDeviceTree& deviceTree);

    void attach(const BusDevice& device) override;
    void detach(int port) override;
    bool requestRemoval(int port, bool isHeld) override;

    /// The path that opens the last interface of the device at @p port; empty if there is no device.
    std::wstring channelPath(int port) const;

private:
    std::vector<std::wstring> pathsAt(int port) const;

    SimulatedDeviceTree& tree;
};

/// @return a function that calls the sleep() of @p clock. @p clock must outlive the function.
inline SleepFunction sleepOn(Clock& clock)
{
    return [&clock](std::uint32_t ms) { clock.sleep(ms); };
}
