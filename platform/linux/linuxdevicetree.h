#pragma once

#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

#include "devicetree.h"
#include "udevmonitor.h"

/// The HID interfaces of the USB devices that are connected to this computer, over udev and hidraw. A node is
/// there when the rules of udev have run for it, so that none is ever being installed.
class LinuxDeviceTree : public DeviceTree
{
public:
    /// Nothing is looked for before the first use.
    /// @param log  gets what keeps a device from being used, a sentence each, on any thread.
    explicit LinuxDeviceTree(std::function<void(const std::string&)> log);

    /// Where two of this program's files are open on one interface, the stricter lock of the two holds
    /// against other programs until both are closed.
    std::unique_ptr<DeviceFile> open(const std::wstring& path, DWORD access, DWORD share,
                                     DWORD& error) override;

private:
    void start() override;
    void arrived(const HidrawInterface& interface);
    void left(const std::string& systemPath);
    std::string takeDenial(const std::wstring& path);

    const std::function<void(const std::string&)> log;
    std::map<std::string, std::vector<std::wstring>> arrivals; ///< interface paths by system path
    std::mutex mutex;                                          ///< guards the denials
    std::map<std::wstring, std::string> denials; ///< what to tell once, by interface path as enumerated
    std::once_flag started;
    std::unique_ptr<UdevMonitor> monitor; ///< reports to this
};
