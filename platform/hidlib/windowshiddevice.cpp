#include "windowshiddevice.h"

#include <algorithm>

#include <winioctl.h>

extern "C" {
#include <hidsdi.h>

#include <hidclass.h>
}

WindowsHidDevice::WindowsHidDevice(std::wstring interfacePath)
    : path(std::move(interfacePath))
    , handle(INVALID_HANDLE_VALUE)
{
}

WindowsHidDevice::WindowsHidDevice(HANDLE openHandle)
    : handle(openHandle)
{
}

WindowsHidDevice::~WindowsHidDevice()
{
    WindowsHidDevice::close();
}

bool WindowsHidDevice::open(int access, int share)
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

void WindowsHidDevice::close()
{
    if (isOpen())
        CloseHandle(handle);
    handle = INVALID_HANDLE_VALUE;
    capabilitiesKnown = false;
}

bool WindowsHidDevice::isOpen() const
{
    return handle != INVALID_HANDLE_VALUE && handle != nullptr;
}

int WindowsHidDevice::usagePage()
{
    return capabilities().usagePage;
}

bool WindowsHidDevice::setFeatureBlocking(std::vector<unsigned char>* report)
{
    if (!fits(*report))
        return false;
    const std::size_t bytes = featureReportBytes();
    if (report->size() == bytes)
        return HidD_SetFeature(handle, report->data(), static_cast<ULONG>(bytes)) != FALSE;
    std::vector<unsigned char> padded(bytes);
    std::copy(report->begin(), report->end(), padded.begin());
    return HidD_SetFeature(handle, padded.data(), static_cast<ULONG>(bytes)) != FALSE;
}

bool WindowsHidDevice::getFeatureBlocking(std::vector<unsigned char>* report)
{
    if (!fits(*report))
        return false;
    std::vector<unsigned char> answer(featureReportBytes());
    answer[0] = report->front();
    const auto bytes = static_cast<DWORD>(answer.size());
    // Unlike HidD_GetFeature this tells how many bytes came.
    DWORD received = 0;
    if (!DeviceIoControl(handle, IOCTL_HID_GET_FEATURE, answer.data(), bytes, answer.data(), bytes, &received,
                         nullptr))
        return false;
    if (received < report->size())
        return false;
    std::copy_n(answer.begin(), report->size(), report->begin());
    return true;
}

std::vector<unsigned char>* WindowsHidDevice::createReportBuffer(int reportKind)
{
    const bool isKind = reportKind >= HidP_Input && reportKind <= HidP_Feature;
    return new std::vector<unsigned char>(isKind ? capabilities().reportBytes[reportKind] : 0);
}

const WindowsHidDevice::Capabilities& WindowsHidDevice::capabilities()
{
    if (capabilitiesKnown)
        return known;
    known = {};
    PHIDP_PREPARSED_DATA preparsedData = nullptr;
    if (!isOpen() || !HidD_GetPreparsedData(handle, &preparsedData))
        return known;
    HIDP_CAPS caps = {};
    if (HidP_GetCaps(preparsedData, &caps) == HIDP_STATUS_SUCCESS) {
        known.usagePage = caps.UsagePage;
        known.reportBytes[HidP_Input] = caps.InputReportByteLength;
        known.reportBytes[HidP_Output] = caps.OutputReportByteLength;
        known.reportBytes[HidP_Feature] = caps.FeatureReportByteLength;
        capabilitiesKnown = true;
    }
    HidD_FreePreparsedData(preparsedData);
    return known;
}

std::size_t WindowsHidDevice::featureReportBytes()
{
    return capabilities().reportBytes[HidP_Feature];
}

/// Whether a feature transfer of this report is possible at all.
bool WindowsHidDevice::fits(const std::vector<unsigned char>& report)
{
    return isOpen() && !report.empty() && report.size() <= featureReportBytes();
}
