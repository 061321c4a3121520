#pragma once

#include <functional>
#include <memory>
#include <string>
#include <thread>

#include <libudev.h>

#include "filedescriptor.h"
#include "hidrawinterface.h"

/// Hears from udev of the hidraw nodes that come and go, after its rules have run for them.
class UdevMonitor
{
public:
    struct Listener
    {
        std::function<void(const HidrawInterface&)> arrived; ///< may come twice for one node
        std::function<void(const std::string& systemPath)> left;
    };

    /// Reports the nodes that are there, then those that come and go, on a thread of its own.
    /// @param problem  what keeps devices from being seen, for a log; empty where nothing does.
    UdevMonitor(Listener reportTo, std::string& problem);
    /// Ends the thread; nothing is reported from then on.
    ~UdevMonitor();
    UdevMonitor(const UdevMonitor&) = delete;
    UdevMonitor& operator=(const UdevMonitor&) = delete;

private:
    struct Release
    {
        void operator()(udev* released) const { udev_unref(released); }
        void operator()(udev_monitor* released) const { udev_monitor_unref(released); }
    };

    void listen();
    bool enumerate();
    void run();
    void receive();

    const Listener listener;
    std::unique_ptr<udev, Release> context;
    std::unique_ptr<udev_monitor, Release> monitor;
    FileDescriptor stop;
    std::thread thread;
};
