#pragma once

#include <atomic>
#include <functional>
#include <memory>
#include <set>
#include <string>
#include <thread>

#include <libudev.h>

#include "filedescriptor.h"
#include "hidrawinterface.h"

/// Reports the hidraw nodes that arrive and leave. udev has run its rules for a node before the monitor
/// reports the node's arrival.
class UdevMonitor
{
public:
    struct Listener
    {
        std::function<void(const HidrawInterface&)> arrived; ///< may be called twice for one node
        std::function<void(const std::string& systemPath)> left;
        std::function<bool()> retry; ///< see UdevMonitor::retry(); returns whether to repeat the call
    };

    /// The constructor reports the present nodes. After that, the monitor's thread reports the nodes that
    /// arrive and leave. If events of udev are lost, the thread reports the arrival of every present node
    /// again, and the removal of every node that is gone.
    /// @param problem  if no device can be seen, set to the reason, for a log; otherwise not changed.
    UdevMonitor(Listener reportTo, std::string& problem);
    /// Ends the thread; nothing is reported from then on.
    ~UdevMonitor();
    UdevMonitor(const UdevMonitor&) = delete;
    UdevMonitor& operator=(const UdevMonitor&) = delete;

    /// Makes the monitor's thread call Listener::retry once a second. The calls end when Listener::retry
    /// returns false.
    void retry();

private:
    struct Release
    {
        void operator()(udev* released) const { udev_unref(released); }
        void operator()(udev_monitor* released) const { udev_monitor_unref(released); }
        void operator()(udev_enumerate* released) const { udev_enumerate_unref(released); }
        void operator()(udev_device* released) const { udev_device_unref(released); }
    };
    using Enumeration = std::unique_ptr<udev_enumerate, Release>;
    using Device = std::unique_ptr<udev_device, Release>;

    void listen();
    void enumerate();
    void run();
    void receive();
    void report(const std::string& action, udev_device* device);

    const Listener listener;
    std::unique_ptr<udev, Release> context;
    std::unique_ptr<udev_monitor, Release> monitor;
    std::set<std::string> reported; ///< system paths of the nodes that were reported as present
    FileDescriptor wakeUp;
    std::atomic<bool> isEnding{false};
    std::thread thread;
};
