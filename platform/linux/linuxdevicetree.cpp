#include "linuxdevicetree.h"

#include <filesystem>

#include <dbt.h>

#include "hidrawinterface.h"

namespace {

std::string textOf(const std::wstring& text)
{
    return std::filesystem::path(text).string();
}

} // namespace

LinuxDeviceTree::LinuxDeviceTree(std::function<void(const std::string&)> treeLog)
    : log(std::move(treeLog))
{
}

std::unique_ptr<DeviceFile> LinuxDeviceTree::open(const std::wstring& path, DWORD access, DWORD share,
                                                  DWORD& error)
{
    auto file = DeviceTree::open(path, access, share, error);
    const std::string denial = error == ERROR_ACCESS_DENIED ? takeDenial(path) : std::string();
    if (!denial.empty())
        log(denial);
    return file;
}

void LinuxDeviceTree::start()
{
    std::call_once(started, [this] {
        std::string problem;
        const UdevMonitor::Listener listener{[this](const HidrawInterface& interface) { arrived(interface); },
                                             [this](const std::string& systemPath) { left(systemPath); }};
        monitor = std::make_unique<UdevMonitor>(listener, problem);
        if (!problem.empty())
            log("No device can be seen: " + problem + ".");
    });
}

void LinuxDeviceTree::arrived(const HidrawInterface& interface)
{
    const auto descriptor =
        ReportDescriptor::parse(interface.reportDescriptor.data(), interface.reportDescriptor.size());
    const auto device = std::make_shared<HidrawDevice>(interface.devicePath);
    std::vector<std::shared_ptr<const DeviceNode>> added;
    for (DeviceNode& node : nodesOf(interface, descriptor, device)) {
        const auto newcomer = add(std::move(node));
        if (!newcomer)
            return;
        added.push_back(newcomer);
        arrivals[interface.systemPath].push_back(newcomer->interfacePath);
        const std::lock_guard<std::mutex> guard(mutex);
        denials[enumeratedPath(newcomer->interfacePath)] =
            "You may not open " + interface.devicePath + ", which is " + textOf(newcomer->instanceId) +
            ". Install this program's package, whose udev rule lets you, and plug the device in again.";
    }
    if (!added.empty() && !descriptor.fault.empty())
        log("The report descriptor of " + textOf(added.front()->instanceId) + " " + descriptor.fault);
    for (const auto& newcomer : added) {
        for (const auto& observer : listening())
            static_cast<void>(observer->hear(DBT_DEVICEARRIVAL, *newcomer));
    }
}

void LinuxDeviceTree::left(const std::string& systemPath)
{
    std::vector<std::shared_ptr<const DeviceNode>> gone;
    for (const std::wstring& path : std::exchange(arrivals[systemPath], {})) {
        takeDenial(path);
        gone.push_back(remove(path));
    }
    arrivals.erase(systemPath);
    for (const auto& former : gone) {
        for (const auto& observer : listening())
            static_cast<void>(observer->hear(DBT_DEVICEREMOVECOMPLETE, *former));
    }
}

/// @return what to tell of a denial at @p path, once for each node; empty where that has been told.
std::string LinuxDeviceTree::takeDenial(const std::wstring& path)
{
    const std::lock_guard<std::mutex> guard(mutex);
    const auto denial = denials.extract(enumeratedPath(path));
    return denial ? denial.mapped() : std::string();
}
