#include "linuxdevicetree.h"

#include <algorithm>
#include <filesystem>

#include <dbt.h>

#include "hidrawinterface.h"
#include "lockholder.h"

namespace {

std::string textOf(const std::wstring& text)
{
    return std::filesystem::path(text).string();
}

/// Whether the device at @p devicePath can be opened now. @p refusal is the error of the last attempt. If a
/// lock caused that error, returns whether the device is no longer locked. Does not try to lock the device,
/// because another program might then fail to lock it.
bool canBeOpened(const std::string& devicePath, DWORD refusal)
{
    if (refusal == ERROR_SHARING_VIOLATION)
        return !lockHolder(devicePath);
    HidrawDevice device(devicePath);
    if (device.acquire(false) != ERROR_SUCCESS)
        return false;
    device.release();
    return true;
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
    if (error == ERROR_SUCCESS || error == ERROR_ACCESS_DENIED || error == ERROR_SHARING_VIOLATION)
        noteOutcome(path, error);
    return file;
}

void LinuxDeviceTree::start()
{
    std::call_once(started, [this] {
        std::string problem;
        const UdevMonitor::Listener listener{
            [this](const HidrawInterface& description) { arrived(description); },
            [this](const std::string& systemPath) { left(systemPath); },
            [this] { return retryRefused(); },
        };
        monitor = std::make_unique<UdevMonitor>(listener, problem);
        if (!problem.empty())
            log("No device can be seen: " + problem + ".");
    });
}

void LinuxDeviceTree::arrived(const HidrawInterface& description)
{
    const auto descriptor =
        ReportDescriptor::parse(description.reportDescriptor.data(), description.reportDescriptor.size());
    std::vector<std::shared_ptr<const DeviceNode>> added;
    bool isRetry = false;
    {
        // Another thread may open a node as soon as addNodes() has added it. The lock makes noteOutcome() on
        // that thread wait until the interface is in `interfaces`.
        const std::lock_guard<std::mutex> guard(mutex);
        isRetry = interfaces.count(description.systemPath) > 0;
        added = addNodes(description, descriptor);
    }
    if (added.empty())
        return;
    if (!descriptor.fault.empty() && !isRetry)
        log("The report descriptor of " + textOf(added.front()->instanceId) + " " + descriptor.fault);
    for (const auto& newcomer : added) {
        for (const auto& observer : listening())
            static_cast<void>(observer->onEvent(DBT_DEVICEARRIVAL, *newcomer));
    }
}

/// Adds the nodes of an interface. The caller holds the mutex.
/// @return the added nodes; none if the interface's nodes are present already.
std::vector<std::shared_ptr<const DeviceNode>> LinuxDeviceTree::addNodes(const HidrawInterface& description,
                                                                         const ReportDescriptor& descriptor)
{
    const auto device = std::make_shared<HidrawDevice>(description.devicePath);
    std::vector<std::shared_ptr<const DeviceNode>> added;
    std::vector<std::wstring> paths;
    for (DeviceNode& node : nodesOf(description, descriptor, device)) {
        const auto newcomer = add(std::move(node));
        if (!newcomer)
            return {};
        added.push_back(newcomer);
        paths.push_back(newcomer->interfacePath);
    }
    Interface& interface = interfaces[description.systemPath];
    interface = {description, paths, ERROR_SUCCESS, interface.logged};
    return added;
}

void LinuxDeviceTree::left(const std::string& systemPath)
{
    std::vector<std::wstring> paths;
    {
        const std::lock_guard<std::mutex> guard(mutex);
        if (const auto gone = interfaces.extract(systemPath))
            paths = gone.mapped().paths;
    }
    removeNodes(paths);
}

void LinuxDeviceTree::removeNodes(const std::vector<std::wstring>& paths)
{
    std::vector<std::shared_ptr<const DeviceNode>> removed;
    removed.reserve(paths.size());
    for (const std::wstring& path : paths)
        removed.push_back(remove(path));
    for (const auto& former : removed) {
        for (const auto& observer : listening())
            static_cast<void>(observer->onEvent(DBT_DEVICEREMOVECOMPLETE, *former));
    }
}

/// Checks each interface that the system refused to open. Reports a removal and an arrival of each interface
/// that can be opened now.
/// @return whether any of the checked interfaces still cannot be opened.
bool LinuxDeviceTree::retryRefused()
{
    std::vector<Interface> ready;
    bool remains = false;
    {
        const std::lock_guard<std::mutex> guard(mutex);
        for (const auto& [systemPath, interface] : interfaces) {
            if (interface.refusal == ERROR_SUCCESS)
                continue;
            if (canBeOpened(interface.description.devicePath, interface.refusal))
                ready.push_back(interface);
            else
                remains = true;
        }
    }
    for (const Interface& interface : ready) {
        if (isOpen(interface))
            continue; // this program has opened it meanwhile
        removeNodes(interface.paths);
        arrived(interface.description);
    }
    return remains;
}

bool LinuxDeviceTree::isOpen(const Interface& interface) const
{
    return std::any_of(interface.paths.begin(), interface.paths.end(), [this](const std::wstring& path) {
        const auto node = find(path);
        return node && countOpenFiles(node.get()) > 0;
    });
}

void LinuxDeviceTree::noteOutcome(const std::wstring& path, DWORD error)
{
    const auto node = find(path);
    // If this program has the node open, assume that its own share mode made this open() fail.
    if (!node || (error != ERROR_SUCCESS && countOpenFiles(node.get()) > 0))
        return;
    {
        const std::lock_guard<std::mutex> guard(mutex);
        const auto opened = std::find_if(interfaces.begin(), interfaces.end(), [&](const auto& entry) {
            const auto& paths = entry.second.paths;
            return std::find(paths.begin(), paths.end(), node->interfacePath) != paths.end();
        });
        if (opened == interfaces.end())
            return;
        opened->second.refusal = error;
        if (error == ERROR_SUCCESS) {
            opened->second.logged = ERROR_SUCCESS;
            return;
        }
        logOnce(opened->second, node->instanceId);
    }
    monitor->retry();
}

/// Logs why the system refuses to open the interface. If several attempts in a row fail for the same reason,
/// logs the reason once. The caller holds the mutex.
void LinuxDeviceTree::logOnce(Interface& interface, const std::wstring& instanceId)
{
    if (std::exchange(interface.logged, interface.refusal) == interface.refusal)
        return;
    const std::string& device = interface.description.devicePath;
    if (interface.refusal == ERROR_ACCESS_DENIED)
        log("You may not open " + device + ", which is " + textOf(instanceId) +
            ". Install this program's package: its udev rule gives you the permission.");
    else
        log(device + ", which is " + textOf(instanceId) + ", is in use by " +
            lockHolder(device).value_or("another program") + ". Close that program.");
}
