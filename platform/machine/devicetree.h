#pragma once

#include <cstdint>
#include <future>
#include <memory>
#include <string>
#include <vector>

#include <windows.h>

/// GUID_DEVINTERFACE_HID.
constexpr GUID hidInterfaceClass = {
    0x4D1E55B2, 0xF16F, 0x11CF, {0x88, 0xCB, 0x00, 0x11, 0x11, 0x00, 0x00, 0x30}};

/// What a HID interface's report descriptor tells of it.
struct HidCapabilities
{
    std::uint16_t usagePage = 0;
    std::uint16_t usage = 0;
    std::uint16_t featureReportBytes = 0; ///< of the longest, report ID included; 0 where there is none
};

/// The HID function behind a device interface. Transfers may come on any thread, one at a time per open file.
class HidFunction
{
public:
    virtual ~HidFunction() = default;

    virtual HidCapabilities capabilities() const = 0;

    /// Takes one feature report; @p report[0] is the report ID.
    /// @return 0, or the Windows error code with which the transfer fails.
    virtual DWORD setFeature(const std::uint8_t* report, std::size_t size) = 0;

    /// Fills @p report, whose byte 0 names the report ID, with at most @p size bytes and tells how
    /// many they are.
    /// @return 0, or the Windows error code with which the transfer fails.
    virtual DWORD getFeature(std::uint8_t* report, std::size_t size, std::size_t& received) = 0;
};

/// One device node with its one device interface (on Windows each HID top-level collection is such a node).
struct DeviceNode
{
    std::wstring instanceId;               ///< such as HID\VID_7A31&PID_0004&MI_03\7&1A2B3C4D&0&0000
    std::vector<std::wstring> hardwareIds; ///< most specific first; empty when the property cannot be read
    std::wstring description;              ///< empty when the property cannot be read
    std::wstring friendlyName;             ///< empty when the node has none
    std::wstring enumerator;               ///< such as HID; empty when the property cannot be read
    GUID interfaceClass = {};
    std::wstring interfacePath; ///< opens the device; as it is broadcast, in mixed case
    std::shared_ptr<HidFunction> hid;
};

/// An interface path as an enumeration spells it: in lower case.
std::wstring enumeratedPath(std::wstring interfacePath);

/// A device interface opened as a file; closed by its destruction.
class DeviceFile
{
public:
    virtual ~DeviceFile() = default;

    virtual const DeviceNode& node() const = 0;

    /// False once the device is gone; every transfer then fails with ERROR_DEVICE_NOT_CONNECTED.
    virtual bool isConnected() const = 0;
};

/// Hears of the device tree's events, on the thread that makes them.
class DeviceTreeObserver
{
public:
    virtual ~DeviceTreeObserver() = default;

    /// Whether it watches an open file rather than an interface class.
    virtual bool watchesFile() const = 0;

    /// Something is about to be reported.
    virtual void treeChanges() = 0;

    virtual void arrived(const DeviceNode& node) = 0;
    /// @return ready when the node's users have handled the report; the device does not wait for them.
    virtual std::future<void> removed(const DeviceNode& node) = 0;

    /// The device is about to be removed in an orderly way; returns when its users have had their say.
    virtual void removalQueried(const DeviceNode& node) = 0;
    virtual void removalCancelled(const DeviceNode& node) = 0;
};

/// The computer's devices. Every operation may be called on any thread.
class DeviceTree
{
public:
    virtual ~DeviceTree() = default;

    /// The present nodes of an interface class, in the order of their arrival.
    virtual std::vector<std::shared_ptr<const DeviceNode>> presentNodes(const GUID& interfaceClass) = 0;

    /// Opens the interface at @p path (case is ignored).
    /// @param access  GENERIC_READ, GENERIC_WRITE, both, or 0 for queries only.
    /// @param share   FILE_SHARE_READ, FILE_SHARE_WRITE, both, or 0.
    /// @return null with a Windows error code in @p error on failure.
    virtual std::unique_ptr<DeviceFile> open(const std::wstring& path, DWORD access, DWORD share,
                                             DWORD& error) = 0;

    /// Waits until no driver is being installed, but at most @p timeoutMs. @return whether none is.
    virtual bool waitInstallationSettled(DWORD timeoutMs) = 0;

    /// Reports events to @p observer until the last reference to it is gone.
    virtual void observe(const std::shared_ptr<DeviceTreeObserver>& observer) = 0;
};
