#include "abstracthiddevice.h"

#include <algorithm>
#include <string>
#include <utility>

#include <windows.h>

#include <winioctl.h>

extern "C" {
#include <hidsdi.h>

#include <hidclass.h>
}

#include "devicehandle.h"
#include "hiddevicedescriptor.h"

namespace {

/// @return an owner of @p handle; null if @p handle is null or INVALID_HANDLE_VALUE.
std::shared_ptr<DeviceHandle> ownerOf(HANDLE handle)
{
    const bool isOne = handle != INVALID_HANDLE_VALUE && handle != nullptr;
    return isOne ? std::make_shared<DeviceHandle>(handle) : nullptr;
}

/// A HID device that is used through the Windows HID class driver.
class WindowsHidDevice : public AbstractHidDevice
{
public:
    /// Creates a closed device with the given interface path.
    explicit WindowsHidDevice(std::wstring interfacePath)
        : path(std::move(interfacePath))
    {
    }
    explicit WindowsHidDevice(std::shared_ptr<DeviceHandle> openHandle)
        : handle(std::move(openHandle))
    {
    }
    ~WindowsHidDevice() override { WindowsHidDevice::close(); }
    WindowsHidDevice(const WindowsHidDevice&) = delete;
    WindowsHidDevice& operator=(const WindowsHidDevice&) = delete;

    bool open(int access, int share) override
    {
        if (isOpen() || path.empty())
            return false;
        handle = ownerOf(CreateFileW(path.c_str(), Access::desiredAccess(access), Access::shareMode(share),
                                     nullptr, OPEN_EXISTING, 0, nullptr));
        return isOpen();
    }

    void close() override
    {
        if (handle)
            handle->close();
        capabilitiesKnown = false;
    }

    bool isOpen() const override { return handle && handle->isOpen(); }

    int usagePage() override { return capabilities().UsagePage; }

    bool setFeatureBlocking(std::vector<unsigned char>* report) override
    {
        if (!fits(*report))
            return false;
        std::vector<unsigned char> padded(*report);
        padded.resize(capabilities().FeatureReportByteLength);
        return handle->use([&padded](HANDLE opened) {
            return HidD_SetFeature(opened, padded.data(), static_cast<ULONG>(padded.size())) != FALSE;
        });
    }

    bool getFeatureBlocking(std::vector<unsigned char>* report) override
    {
        if (!fits(*report))
            return false;
        std::vector<unsigned char> answer(capabilities().FeatureReportByteLength);
        answer[0] = report->front();
        const auto bytes = static_cast<DWORD>(answer.size());
        // Unlike HidD_GetFeature, DeviceIoControl returns the number of bytes that were received.
        DWORD received = 0;
        const bool isAnswered = handle->use([&](HANDLE opened) {
            return DeviceIoControl(opened, IOCTL_HID_GET_FEATURE, answer.data(), bytes, answer.data(), bytes,
                                   &received, nullptr) != FALSE;
        });
        if (!isAnswered || received < report->size())
            return false;
        std::copy_n(answer.begin(), report->size(), report->begin());
        return true;
    }

    std::vector<unsigned char>* createReportBuffer(int reportKind) override
    {
        const HIDP_CAPS& caps = capabilities();
        std::size_t bytes = 0;
        if (reportKind == HidP_Input)
            bytes = caps.InputReportByteLength;
        else if (reportKind == HidP_Output)
            bytes = caps.OutputReportByteLength;
        else if (reportKind == HidP_Feature)
            bytes = caps.FeatureReportByteLength;
        return new std::vector<unsigned char>(bytes);
    }

private:
    /// The device's capabilities; all zero if they cannot be read.
    const HIDP_CAPS& capabilities()
    {
        if (capabilitiesKnown)
            return known;
        known = {};
        PHIDP_PREPARSED_DATA preparsedData = nullptr;
        const auto read = [&](HANDLE opened) {
            return HidD_GetPreparsedData(opened, &preparsedData) != FALSE;
        };
        if (!handle || !handle->use(read))
            return known;
        HIDP_CAPS caps = {};
        capabilitiesKnown = HidP_GetCaps(preparsedData, &caps) == HIDP_STATUS_SUCCESS;
        if (capabilitiesKnown)
            known = caps;
        HidD_FreePreparsedData(preparsedData);
        return known;
    }

    /// Whether the device is open and @p report is neither empty nor too long for a feature transfer.
    bool fits(const std::vector<unsigned char>& report)
    {
        return isOpen() && !report.empty() && report.size() <= capabilities().FeatureReportByteLength;
    }

    const std::wstring path;
    std::shared_ptr<DeviceHandle> handle; ///< null until the device is opened for the first time
    bool capabilitiesKnown = false;
    HIDP_CAPS known = {};
};

} // namespace

AbstractHidDevice* AbstractHidDevice::create(void* handle, const HidDeviceDescriptor&)
{
    return create(ownerOf(handle));
}

AbstractHidDevice* AbstractHidDevice::create(std::shared_ptr<DeviceHandle> handle)
{
    return new WindowsHidDevice(std::move(handle));
}

AbstractHidDevice* AbstractHidDevice::create(const HidDeviceDescriptor& descriptor)
{
    return new WindowsHidDevice(descriptor.path());
}
