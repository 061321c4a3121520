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

/// Reports the hidraw nodes that come and go, after udev has run its rules for them.
class UdevMonitor
{
public:
    struct Listener
    {
        std::function<void(const HidrawInterface&)> arrived; ///< may be called twice for one node
        std::function<void(const std::string& systemPath)> left;
        std::function<bool()> retry; ///< see UdevMonitor::retry(); returns whether to repeat the call
    };

    /// Reports the nodes that are present, and returns. From then on the monitor's thread reports the nodes
    /// that come and go. If events of udev are lost, the thread compares the reported nodes with the present
    /// nodes.
    /// @param problem  set to the reason, for a log, if no device can be seen; otherwise stays empty.
    UdevMonitor(Listener reportTo, std::string& problem);
    /// Ends the thread; nothing is reported from then on.
    ~UdevMonitor();
    UdevMonitor(const UdevMonitor&) = delete;
    UdevMonitor& operator=(const UdevMonitor&) = delete;

    /// Makes the monitor's thread call Listener::retry once a second until that function returns false.
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
