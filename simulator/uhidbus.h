#pragma once

#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

#include "backgroundtasks.h"
#include "bus.h"

/// Plugs devices into the kernel of the Linux system that the program runs on. Each interface becomes a USB
/// HID device that is created through /dev/uhid. BusDevice::refusesOpen has no effect, because root may open
/// every device.
///
/// The bus serves the reports of each interface on a thread of its own.
class UhidBus : public Bus
{
public:
    /// @return why no device can be attached, such as "/dev/uhid: Permission denied"; empty if nothing
    /// prevents it.
    static std::string obstacle();

    UhidBus() = default;
    /// Detaches all devices and waits until the last transfer is over.
    ~UhidBus() override;
    UhidBus(const UhidBus&) = delete;
    UhidBus& operator=(const UhidBus&) = delete;

    void attach(const BusDevice& device) override;
    void detach(int port) override;

private:
    class Attached;

    std::mutex mutex; ///< guards what follows
    std::map<int, std::vector<std::shared_ptr<Attached>>> ports;

    BackgroundTasks servers;
};
