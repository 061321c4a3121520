#pragma once

#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

#include "backgroundtasks.h"
#include "bus.h"

/// The HID bus of the Linux kernel that the program runs on: each interface is a USB HID device that the
/// kernel is told of through /dev/uhid. It does not keep anybody from opening a device:
/// BusDevice::refusesOpen is of no effect.
///
/// A device's reports are served on threads of the bus's own, one for each interface.
class UhidBus : public Bus
{
public:
    /// Why no device can be attached, such as "/dev/uhid: Permission denied"; empty where one can.
    static std::string obstacle();

    UhidBus() = default;
    /// Detaches what is attached and waits until the last transfer is over.
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
