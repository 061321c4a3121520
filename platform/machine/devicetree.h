#pragma once

#include <cstdint>
#include <future>
#include <memory>
#include <string>
#include <vector>

#include <windows.h>

/// The properties of a HID interface, from its report descriptor.
struct HidCapabilities
{
    std::uint16_t usagePage = 0;
    std::uint16_t usage = 0;
    std::uint16_t featureReportBytes = 0; ///< length of the longest report, including its ID; 0: no report
};

/// How a file is open: its own access, and the access that it allows to other files.
struct ShareMode
{
    DWORD access; ///< GENERIC_READ, GENERIC_WRITE, both, or 0 for queries only
    DWORD share;  ///< the access that others may have: FILE_SHARE_READ, FILE_SHARE_WRITE, both, or 0
};

/// Makes the HID transfers of a device interface. Transfers may run on any thread, but only one at a time for
/// each open file.
class HidFunction
{
public:
    virtual ~HidFunction() = default;

    virtual HidCapabilities capabilities() const = 0;

    /// DeviceTree calls open() for each file that it opens on the interface, and close() after closing the
    /// file. Calls of open() and close() do not overlap.
    /// @return 0, or the Windows error code with which opening the file fails.
    virtual DWORD open(const ShareMode& /*mode*/) { return ERROR_SUCCESS; }
    virtual void close() {}

    /// May return false before the tree reports that the device is gone.
    virtual bool isConnected() const { return true; }

    /// Sends one feature report to the device. @p report[0] is the report ID.
    /// @return 0, or the Windows error code with which the transfer fails.
    virtual DWORD setFeature(const std::uint8_t* report, std::size_t size) = 0;

    /// Receives one feature report: fills @p report with at most @p size bytes and sets @p received to their
    /// number. On entry @p report[0] is the report ID.
    /// @return 0, or the Windows error code with which the transfer fails.
    virtual DWORD getFeature(std::uint8_t* report, std::size_t size, std::size_t& received) = 0;
};

/// A device node that has exactly one device interface. Windows makes such a node for each HID
/// top-level collection.
struct DeviceNode
{
    std::wstring instanceId;               ///< such as HID\VID_7A31&PID_0004&MI_03\7&1A2B3C4D&0&0000
    std::vector<std::wstring> hardwareIds; ///< most specific first; empty if the property cannot be read
    std::wstring description;              ///< empty if the property cannot be read
    std::wstring friendlyName;             ///< empty if the node has none
    std::wstring enumerator;               ///< such as HID; empty if the property cannot be read
    GUID interfaceClass = {};
    std::wstring interfacePath; ///< path for CreateFileW; in mixed case, as in broadcasts
    std::shared_ptr<HidFunction> hid;
};

/// Returns the path in lower case, as an enumeration of devices spells it.
std::wstring enumeratedPath(std::wstring interfacePath);

/// Receives the events of a device tree. Each event arrives on the thread that causes it.
class DeviceTreeObserver
{
public:
    virtual ~DeviceTreeObserver() = default;

    /// Whether the observer watches an open file rather than an interface class.
    virtual bool watchesFile() const = 0;

    /// Handles an event of WM_DEVICECHANGE. DBT_DEVICEQUERYREMOVE means that the user wants to remove the
    /// device. DBT_DEVICEQUERYREMOVEFAILED means that the device is not removed. DBT_DEVNODES_CHANGED only
    /// announces that another event follows.
    /// @return a future that becomes ready when the observer has handled the event. After
    /// DBT_DEVICEQUERYREMOVE and DBT_DEVICEQUERYREMOVEFAILED, the caller waits for the future before it calls
    /// the next observer. After other events the caller need not wait.
    virtual std::future<void> onEvent(WPARAM event, const DeviceNode& node) = 0;
};

class DeviceFile;

/// The computer's devices. This base class has none. Every operation may be called on any thread.
class DeviceTree
{
public:
    DeviceTree();
    virtual ~DeviceTree() = default;
    DeviceTree(const DeviceTree&) = delete;
    DeviceTree& operator=(const DeviceTree&) = delete;

    /// The present nodes of an interface class, in the order of their arrival.
    std::vector<std::shared_ptr<const DeviceNode>> presentNodes(const GUID& interfaceClass);

    /// Opens the interface at @p path. Upper and lower case are equal in paths.
    /// @param access  GENERIC_READ, GENERIC_WRITE, both, or 0 for queries only.
    /// @param share   FILE_SHARE_READ, FILE_SHARE_WRITE, both, or 0.
    /// @return the open file. On failure sets @p error to a Windows error code and returns null.
    virtual std::unique_ptr<DeviceFile> open(const std::wstring& path, DWORD access, DWORD share,
                                             DWORD& error);

    /// Waits until no driver is being installed, but at most @p timeoutMs. @return false after the timeout.
    virtual bool waitInstallationSettled(DWORD /*timeoutMs*/) { return true; }

    /// Reports events to @p observer as long as the observer exists. The tree does not own the observer.
    void observe(const std::shared_ptr<DeviceTreeObserver>& observer);

protected:
    /// Called at the start of presentNodes(), open() and observe().
    virtual void start() {}

    /// Adds @p node. @return the added node; null if a node with the same path is present already.
    std::shared_ptr<const DeviceNode> add(DeviceNode node);
    /// Removes the node at @p path. Files that are open on this node stay open but are no longer connected.
    /// @return the removed node; null if there is no such node.
    std::shared_ptr<const DeviceNode> remove(const std::wstring& path);
    std::shared_ptr<const DeviceNode> find(const std::wstring& path) const;

    /// Counts the files that are open on @p node, or all open files if @p node is null.
    std::size_t countOpenFiles(const DeviceNode* node) const;

    /// The observers, in the order of their registration.
    std::vector<std::shared_ptr<DeviceTreeObserver>> listening() const;

private:
    friend class DeviceFile;
    struct Present;
    struct State;

    const std::shared_ptr<State> state; ///< shared with open files, which may outlive the tree
};

/// A device interface that is open as a file. The destructor closes the file.
class DeviceFile
{
public:
    /// The caller holds the tree's mutex.
    DeviceFile(std::shared_ptr<DeviceTree::State> treeState, std::shared_ptr<DeviceTree::Present> opened,
               const ShareMode& shareMode);
    ~DeviceFile();
    DeviceFile(const DeviceFile&) = delete;
    DeviceFile& operator=(const DeviceFile&) = delete;

    const DeviceNode& node() const;

    /// False once the device is gone; every transfer then fails with ERROR_DEVICE_NOT_CONNECTED.
    bool isConnected() const;

private:
    friend class DeviceTree;

    const std::shared_ptr<DeviceTree::State> state;
    const std::shared_ptr<DeviceTree::Present> present;
    const ShareMode mode;
};
