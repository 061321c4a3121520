#pragma once

#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

#include "devicetree.h"
#include "udevmonitor.h"

/// The HID interfaces of this computer's USB devices, as udev and the kernel's hidraw driver report them. The
/// device nodes of an interface appear after udev has run its rules for the interface. The nodes are ready
/// then, so waitInstallationSettled() never waits.
///
/// The system refuses to open a node if the user lacks the permission or another program has locked the
/// node. The tree then checks the node once a second. When the node can be opened, the tree reports a
/// removal and an arrival, so that observers try again to open the node.
class LinuxDeviceTree : public DeviceTree
{
public:
    /// The constructor does not search for devices. The first use of the tree starts the search.
    /// @param log  called on any thread with a sentence for each reason why a device cannot be used.
    explicit LinuxDeviceTree(std::function<void(const std::string&)> log);

    /// If @p access is not 0, locks the interface against other programs. The lock holds until this program
    /// has closed all its files on the interface.
    std::unique_ptr<DeviceFile> open(const std::wstring& path, DWORD access, DWORD share,
                                     DWORD& error) override;

private:
    /// An interface that is plugged in.
    struct Interface
    {
        HidrawInterface description;
        std::vector<std::wstring> paths; ///< interface paths of its nodes
        DWORD refusal = ERROR_SUCCESS;   ///< why the system refused the last attempt to open the interface
        DWORD logged = ERROR_SUCCESS;    ///< last logged refusal; ERROR_SUCCESS after a success
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
    std::mutex mutex;                            ///< guards `interfaces`
    std::map<std::string, Interface> interfaces; ///< by system path
    std::once_flag started;
    std::unique_ptr<UdevMonitor> monitor; ///< reports to this object
};
