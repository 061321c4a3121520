#pragma once

#include <memory>
#include <string>
#include <utility>

/// Holds the name by which the system opens a HID device.
class HidDescriptorHandleBase
{
public:
    virtual ~HidDescriptorHandleBase() = default;

    /// The path that opens the device; empty if there is no path.
    virtual std::wstring path() const = 0;
};

/// A device named by its Windows device interface path.
class WindowsDeviceDescriptorHandle : public HidDescriptorHandleBase
{
public:
    explicit WindowsDeviceDescriptorHandle(std::wstring interfacePath)
        : devicePath(std::move(interfacePath))
    {
    }

    std::wstring path() const override { return devicePath; }

private:
    std::wstring devicePath;
};

/// Names the device that an AbstractHidDevice opens. A default-constructed descriptor names no device; use it
/// if the device's handle is already open.
class HidDeviceDescriptor
{
public:
    HidDeviceDescriptor() = default;
    explicit HidDeviceDescriptor(std::shared_ptr<HidDescriptorHandleBase> descriptorHandle)
        : handle(std::move(descriptorHandle))
    {
    }

    std::wstring path() const { return handle ? handle->path() : std::wstring(); }

private:
    std::shared_ptr<HidDescriptorHandleBase> handle;
};
