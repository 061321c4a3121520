#include "udevmonitor.h"

#include <cstdint>
#include <cstring>
#include <fstream>
#include <iterator>

#include <poll.h>
#include <sys/eventfd.h>
#include <unistd.h>

namespace {

constexpr char subsystem[] = "hidraw";

struct Unreference
{
    void operator()(udev_device* device) const { udev_device_unref(device); }
    void operator()(udev_enumerate* enumeration) const { udev_enumerate_unref(enumeration); }
};
using Device = std::unique_ptr<udev_device, Unreference>;
using Enumeration = std::unique_ptr<udev_enumerate, Unreference>;

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
    // The parents belong to the device.
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
    , stop(eventfd(0, EFD_CLOEXEC))
{
    if (!context || !stop.isOpen() || access("/run/udev/control", F_OK) != 0) {
        problem = "udev is not running";
        return;
    }
    listen();
    if (!monitor)
        problem = "udev does not tell of devices that come and go";
    else if (!enumerate())
        problem = "there is no hidraw device";
    if (monitor)
        thread = std::thread([this] { run(); });
}

UdevMonitor::~UdevMonitor()
{
    if (!thread.joinable())
        return;
    const std::uint64_t once = 1;
    static_cast<void>(!::write(stop.get(), &once, sizeof(once))); // fails only where it is set already
    thread.join();
}

void UdevMonitor::listen()
{
    monitor.reset(udev_monitor_new_from_netlink(context.get(), "udev"));
    if (monitor && (udev_monitor_filter_add_match_subsystem_devtype(monitor.get(), subsystem, nullptr) < 0 ||
                    udev_monitor_enable_receiving(monitor.get()) < 0))
        monitor.reset();
}

/// @return whether there is any node.
bool UdevMonitor::enumerate()
{
    const Enumeration enumeration(udev_enumerate_new(context.get()));
    // A node whose rules have not run yet is going to be heard of.
    udev_enumerate_add_match_subsystem(enumeration.get(), subsystem);
    udev_enumerate_add_match_is_initialized(enumeration.get());
    udev_enumerate_scan_devices(enumeration.get());
    bool isAny = false;
    udev_list_entry* entry = udev_enumerate_get_list_entry(enumeration.get());
    for (; entry; entry = udev_list_entry_get_next(entry)) {
        const Device device(udev_device_new_from_syspath(context.get(), udev_list_entry_get_name(entry)));
        if (!device || !udev_device_get_devnode(device.get()))
            continue; // it has gone already
        isAny = true;
        listener.arrived(interfaceOf(device.get()));
    }
    return isAny;
}

void UdevMonitor::run()
{
    pollfd polled[] = {{stop.get(), POLLIN, 0}, {udev_monitor_get_fd(monitor.get()), POLLIN, 0}};
    while (polled[0].revents == 0) {
        if (poll(polled, std::size(polled), -1) > 0 && polled[1].revents != 0)
            receive();
    }
}

void UdevMonitor::receive()
{
    const Device device(udev_monitor_receive_device(monitor.get()));
    const std::string action = device ? textOf(udev_device_get_action(device.get())) : "";
    if (action == "add")
        listener.arrived(interfaceOf(device.get()));
    else if (action == "remove")
        listener.left(textOf(udev_device_get_syspath(device.get())));
}
