#pragma once

#include <memory>
#include <string>
#include <utility>

/// How the system names a HID device.
class HidDescriptorHandleBase
{
public:
    virtual ~HidDescriptorHandleBase() = default;

    /// The string that opens the device; empty if there is none.
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

/// Names the device of an AbstractHidDevice. A default-constructed descriptor names no device, and serves for
/// a device whose handle is already open.
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
