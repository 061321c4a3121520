#include "abstracthiddevice.h"

#include <algorithm>
#include <string>

#include <windows.h>

#include <winioctl.h>

extern "C" {
#include <hidsdi.h>

#include <hidclass.h>
}

#include "hiddevicedescriptor.h"

namespace {

/// A HID device over the Windows HID class driver.
class WindowsHidDevice : public AbstractHidDevice
{
public:
    /// A closed device with the given interface path.
    explicit WindowsHidDevice(std::wstring interfacePath)
        : path(std::move(interfacePath))
    {
    }
    /// Takes over an open handle.
    explicit WindowsHidDevice(HANDLE openHandle)
        : handle(openHandle)
    {
    }
    ~WindowsHidDevice() override { WindowsHidDevice::close(); }
    WindowsHidDevice(const WindowsHidDevice&) = delete;
    WindowsHidDevice& operator=(const WindowsHidDevice&) = delete;

    bool open(int access, int share) override
    {
        if (isOpen() || path.empty())
            return false;
        const DWORD desiredAccess =
            (access & ReadBit ? GENERIC_READ : 0u) | (access & WriteBit ? GENERIC_WRITE : 0u);
        const DWORD shareMode =
            (share & ReadBit ? FILE_SHARE_READ : 0u) | (share & WriteBit ? FILE_SHARE_WRITE : 0u);
        handle = CreateFileW(path.c_str(), desiredAccess, shareMode, nullptr, OPEN_EXISTING, 0, nullptr);
        return isOpen();
    }

    void close() override
    {
        if (isOpen())
            CloseHandle(handle);
        handle = INVALID_HANDLE_VALUE;
        capabilitiesKnown = false;
    }

    bool isOpen() const override { return handle != INVALID_HANDLE_VALUE && handle != nullptr; }

    int usagePage() override { return capabilities().UsagePage; }

    bool setFeatureBlocking(std::vector<unsigned char>* report) override
    {
        if (!fits(*report))
            return false;
        std::vector<unsigned char> padded(*report);
        padded.resize(capabilities().FeatureReportByteLength);
        return HidD_SetFeature(handle, padded.data(), static_cast<ULONG>(padded.size())) != FALSE;
    }

    bool getFeatureBlocking(std::vector<unsigned char>* report) override
    {
        if (!fits(*report))
            return false;
        std::vector<unsigned char> answer(capabilities().FeatureReportByteLength);
        answer[0] = report->front();
        const auto bytes = static_cast<DWORD>(answer.size());
        // Unlike HidD_GetFeature this tells how many bytes came.
        DWORD received = 0;
        if (!DeviceIoControl(handle, IOCTL_HID_GET_FEATURE, answer.data(), bytes, answer.data(), bytes,
                             &received, nullptr))
            return false;
        if (received < report->size())
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
    /// All zero where they cannot be read.
    const HIDP_CAPS& capabilities()
    {
        if (capabilitiesKnown)
            return known;
        known = {};
        PHIDP_PREPARSED_DATA preparsedData = nullptr;
        if (!isOpen() || !HidD_GetPreparsedData(handle, &preparsedData))
            return known;
        HIDP_CAPS caps = {};
        capabilitiesKnown = HidP_GetCaps(preparsedData, &caps) == HIDP_STATUS_SUCCESS;
        if (capabilitiesKnown)
            known = caps;
        HidD_FreePreparsedData(preparsedData);
        return known;
    }

    /// Whether a feature transfer of this report is possible at all.
    bool fits(const std::vector<unsigned char>& report)
    {
        return isOpen() && !report.empty() && report.size() <= capabilities().FeatureReportByteLength;
    }

    const std::wstring path;
    HANDLE handle = INVALID_HANDLE_VALUE;
    bool capabilitiesKnown = false;
    HIDP_CAPS known = {};
};

} // namespace

AbstractHidDevice* AbstractHidDevice::create(void* handle, const HidDeviceDescriptor&)
{
    return new WindowsHidDevice(handle);
}

AbstractHidDevice* AbstractHidDevice::create(const HidDeviceDescriptor& descriptor)
{
    return new WindowsHidDevice(descriptor.path());
}
