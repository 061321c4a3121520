#pragma once

#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

#include "devicetree.h"
#include "udevmonitor.h"

/// The HID interfaces of the USB devices that are connected to this computer, from udev and hidraw. A node
/// appears after udev has run its rules for it, so no driver installation is ever pending.
///
/// A node that the system refuses to open, because the user lacks the permission or another program has
/// locked it, is tried again once a second. When it can be opened, the tree reports a removal and an arrival.
class LinuxDeviceTree : public DeviceTree
{
public:
    /// The first use of the tree starts the search for devices.
    /// @param log  called on any thread with a sentence for each reason why a device cannot be used.
    explicit LinuxDeviceTree(std::function<void(const std::string&)> log);

    /// A file that is opened for more than queries locks out other programs. If this program has an interface
    /// open twice, the lock holds until both files are closed.
    std::unique_ptr<DeviceFile> open(const std::wstring& path, DWORD access, DWORD share,
                                     DWORD& error) override;

private:
    /// An interface that is plugged in.
    struct Interface
    {
        HidrawInterface description;
        std::vector<std::wstring> paths; ///< interface paths of its nodes
        DWORD refusal = ERROR_SUCCESS;   ///< error if the system refused the last attempt to open it
        DWORD logged = ERROR_SUCCESS;    ///< last logged refusal; ERROR_SUCCESS after an opening
    };

    void start() override;
    void arrived(const HidrawInterface& description);
    std::vector<std::shared_ptr<const DeviceNode>> addNodes(const HidrawInterface& description,
                                                            const ReportDescriptor& descriptor);
    void left(const std::string& systemPath);
    void removeNodes(const std::vector<std::wstring>& paths);
    bool retryRefused();
    bool isOpen(const Interface& interface) const;
    void noteOutcome(const std::wstring& path, DWORD error);
    void logOnce(Interface& interface, const std::wstring& instanceId);

    const std::function<void(const std::string&)> log;
    std::mutex mutex;                            ///< guards what follows
    std::map<std::string, Interface> interfaces; ///< by system path
    std::once_flag started;
    std::unique_ptr<UdevMonitor> monitor; ///< reports to this object
};
