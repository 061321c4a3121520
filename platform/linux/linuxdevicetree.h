#pragma once

#include <functional>
#include <memory>
#include <string>

#include "devicetree.h"

/// The HID interfaces of the USB devices that are connected to this computer, over udev and hidraw.
class LinuxDeviceTree : public DeviceTree
{
public:
    /// Nothing is looked for before the first use.
    /// @param log  gets what keeps a device from being used, a sentence each, on any thread.
    explicit LinuxDeviceTree(std::function<void(const std::string&)> log);
    ~LinuxDeviceTree() override;

    std::vector<std::shared_ptr<const DeviceNode>> presentNodes(const GUID& interfaceClass) override;
    /// Where two of this program's files are open on one interface, the stricter lock of the two holds
    /// against other programs until both are closed.
    std::unique_ptr<DeviceFile> open(const std::wstring& path, DWORD access, DWORD share,
                                     DWORD& error) override;
    /// The rules of udev have run before a device is told of: always true.
    bool waitInstallationSettled(DWORD timeoutMs) override;
    void observe(const std::shared_ptr<DeviceTreeObserver>& observer) override;

private:
    struct State;
    class File;

    State& started();

    const std::shared_ptr<State> state; ///< shared with the open files, which may outlive the tree
};
