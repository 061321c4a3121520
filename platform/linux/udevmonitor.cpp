#include "udevmonitor.h"

#include <cerrno>
#include <cstdint>
#include <fstream>
#include <iterator>

#include <poll.h>
#include <sys/eventfd.h>
#include <unistd.h>

namespace {

constexpr char subsystem[] = "hidraw";
constexpr int retryIntervalMs = 1000;

std::string textOf(const char* value)
{
    return value ? value : "";
}

std::vector<std::uint8_t> contentsOf(const std::string& path)
{
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
}

HidrawInterface interfaceOf(udev_device* device)
{
    HidrawInterface interface;
    interface.systemPath = textOf(udev_device_get_syspath(device));
    interface.devicePath = textOf(udev_device_get_devnode(device));
    // The device owns its parents, so they are not released here.
    if (udev_device* const hid = udev_device_get_parent_with_subsystem_devtype(device, "hid", nullptr)) {
        interface.hidName = textOf(udev_device_get_sysname(hid));
        interface.hidId = textOf(udev_device_get_property_value(hid, "HID_ID"));
        interface.phys = textOf(udev_device_get_property_value(hid, "HID_PHYS"));
        interface.reportDescriptor = contentsOf(textOf(udev_device_get_syspath(hid)) + "/report_descriptor");
    }
    if (udev_device* const usb = udev_device_get_parent_with_subsystem_devtype(device, "usb", "usb_device")) {
        interface.interfaces = textOf(udev_device_get_sysattr_value(usb, "bNumInterfaces"));
        interface.revision = textOf(udev_device_get_sysattr_value(usb, "bcdDevice"));
    }
    return interface;
}

} // namespace

UdevMonitor::UdevMonitor(Listener reportTo, std::string& problem)
    : listener(std::move(reportTo))
    , context(udev_new())
    , wakeUp(eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK))
{
    if (!context || !wakeUp.isOpen() || access("/run/udev/control", F_OK) != 0) {
        problem = "udev is not running";
        return;
    }
    listen();
    if (!monitor) {
        problem = "udev does not report devices that come and go";
        return;
    }
    enumerate();
    if (reported.empty())
        problem = "there is no hidraw device";
    thread = std::thread([this] { run(); });
}

UdevMonitor::~UdevMonitor()
{
    if (!thread.joinable())
        return;
    isEnding = true;
    retry();
    thread.join();
}

void UdevMonitor::retry()
{
    const std::uint64_t once = 1;
    // If write() fails, a wake-up is pending already.
    static_cast<void>(!::write(wakeUp.get(), &once, sizeof(once)));
}

void UdevMonitor::listen()
{
    monitor.reset(udev_monitor_new_from_netlink(context.get(), "udev"));
    if (monitor && (udev_monitor_filter_add_match_subsystem_devtype(monitor.get(), subsystem, nullptr) < 0 ||
                    udev_monitor_enable_receiving(monitor.get()) < 0))
        monitor.reset();
}

/// Reports the arrival of every present node, even if it was reported before. Reports the removal of every
/// reported node that is gone.
void UdevMonitor::enumerate()
{
    const Enumeration enumeration(udev_enumerate_new(context.get()));
    // Skips the nodes for which udev has not run its rules yet. udev reports these nodes later.
    udev_enumerate_add_match_subsystem(enumeration.get(), subsystem);
    udev_enumerate_add_match_is_initialized(enumeration.get());
    udev_enumerate_scan_devices(enumeration.get());
    std::vector<Device> present;
    std::set<std::string> gone = reported;
    udev_list_entry* entry = udev_enumerate_get_list_entry(enumeration.get());
    for (; entry; entry = udev_list_entry_get_next(entry)) {
        Device device(udev_device_new_from_syspath(context.get(), udev_list_entry_get_name(entry)));
        if (!device || !udev_device_get_devnode(device.get()))
            continue; // the node has gone already
        gone.erase(textOf(udev_device_get_syspath(device.get())));
        present.push_back(std::move(device));
    }
    for (const std::string& systemPath : gone) {
        reported.erase(systemPath);
        listener.left(systemPath);
    }
    for (const Device& device : present)
        report("add", device.get());
}

void UdevMonitor::run()
{
    pollfd polled[] = {{wakeUp.get(), POLLIN, 0}, {udev_monitor_get_fd(monitor.get()), POLLIN, 0}};
    int timeoutMs = -1;
    while (!isEnding) {
        const int ready = poll(polled, std::size(polled), timeoutMs);
        if (ready > 0 && polled[1].revents != 0)
            receive();
        std::uint64_t wakeUps = 0;
        const bool isWoken = ::read(wakeUp.get(), &wakeUps, sizeof(wakeUps)) > 0;
        if (isWoken)
            timeoutMs = retryIntervalMs;
        else if (ready == 0 && !listener.retry())
            timeoutMs = -1;
    }
}

void UdevMonitor::receive()
{
    const Device device(udev_monitor_receive_device(monitor.get()));
    if (device)
        report(textOf(udev_device_get_action(device.get())), device.get());
    else if (errno == ENOBUFS) // events are lost, because the socket was full
        enumerate();
}

void UdevMonitor::report(const std::string& action, udev_device* device)
{
    const std::string systemPath = textOf(udev_device_get_syspath(device));
    if (action == "add") {
        reported.insert(systemPath);
        listener.arrived(interfaceOf(device));
    } else if (action == "remove") {
        reported.erase(systemPath);
        listener.left(systemPath);
    }
}
