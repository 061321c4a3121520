// Implements the HID functions of Windows, and DeviceIoControl.

#include <windows.h>

#include <winioctl.h>

extern "C" {
#include <hidsdi.h>

#include <hidclass.h>
}

#include <algorithm>
#include <mutex>

#include "file.h"
#include "handletable.h"
#include "lasterror.h"

namespace {

using PreparsedData = ObjectWith<HandleObject, HidCapabilities>;

/// @return the HidFunction of the device that is open as @p file. If the device is gone or has no
/// HidFunction, sets the last error and returns null.
HidFunction* hidFunction(const FileObject& file)
{
    if (!file.file->isConnected())
        return fail(ERROR_DEVICE_NOT_CONNECTED);
    HidFunction* const function = file.file->node().hid.get();
    if (!function)
        SetLastError(ERROR_INVALID_FUNCTION);
    return function;
}

/// Makes one feature transfer with the open @p device. Calls @p perform with the device's HidFunction and the
/// length of its feature report in bytes. @p buffer may be longer; the rest of it is not used.
/// @return false on failure, with the last error set.
template <typename Perform>
bool transferFeature(HANDLE device, const void* buffer, std::size_t bufferBytes, Perform perform)
{
    const auto file = HandleTable::get<FileObject>(device);
    if (!file)
        return false;
    const std::lock_guard<std::mutex> guard(file->transfer);
    HidFunction* const function = hidFunction(*file);
    if (!function)
        return false;
    const std::size_t reportBytes = function->capabilities().featureReportBytes;
    if (reportBytes == 0)
        return fail(ERROR_INVALID_FUNCTION);
    if (!buffer || bufferBytes < reportBytes)
        return fail(ERROR_INVALID_USER_BUFFER);
    return isSuccess(perform(*function, reportBytes));
}

} // namespace

void NTAPI HidD_GetHidGuid(LPGUID hidGuid)
{
    *hidGuid = GUID_DEVINTERFACE_HID;
}

BOOLEAN NTAPI HidD_GetPreparsedData(HANDLE device, PHIDP_PREPARSED_DATA* preparsedData)
{
    const auto file = HandleTable::get<FileObject>(device);
    const HidFunction* const function = file ? hidFunction(*file) : nullptr;
    if (!function)
        return FALSE;
    *preparsedData = static_cast<PHIDP_PREPARSED_DATA>(
        HandleTable::add(std::make_shared<PreparsedData>(function->capabilities())));
    return TRUE;
}

BOOLEAN NTAPI HidD_FreePreparsedData(PHIDP_PREPARSED_DATA preparsedData)
{
    return HandleTable::take<PreparsedData>(preparsedData) != nullptr;
}

NTSTATUS NTAPI HidP_GetCaps(PHIDP_PREPARSED_DATA preparsedData, PHIDP_CAPS capabilities)
{
    const auto data = HandleTable::get<PreparsedData>(preparsedData);
    if (!data)
        return HIDP_STATUS_INVALID_PREPARSED_DATA;
    *capabilities = {};
    capabilities->UsagePage = data->usagePage;
    capabilities->Usage = data->usage;
    capabilities->FeatureReportByteLength = data->featureReportBytes;
    return HIDP_STATUS_SUCCESS;
}

BOOLEAN NTAPI HidD_SetFeature(HANDLE device, PVOID reportBuffer, ULONG reportBufferLength)
{
    return transferFeature(
        device, reportBuffer, reportBufferLength, [reportBuffer](HidFunction& function, std::size_t bytes) {
            return function.setFeature(static_cast<const std::uint8_t*>(reportBuffer), bytes);
        });
}

BOOL WINAPI DeviceIoControl(HANDLE device, DWORD ioControlCode, LPVOID, DWORD, LPVOID outBuffer,
                            DWORD outBufferSize, LPDWORD bytesReturned, LPOVERLAPPED overlapped)
{
    if (ioControlCode != IOCTL_HID_GET_FEATURE)
        return fail(ERROR_INVALID_FUNCTION); // no other control code is modelled
    if (overlapped || !bytesReturned)
        return fail(ERROR_INVALID_PARAMETER); // only blocking transfers are modelled
    *bytesReturned = 0;
    return transferFeature(device, outBuffer, outBufferSize, [=](HidFunction& function, std::size_t bytes) {
        std::size_t received = 0;
        const DWORD error = function.getFeature(static_cast<std::uint8_t*>(outBuffer), bytes, received);
        if (error == ERROR_SUCCESS)
            *bytesReturned = static_cast<DWORD>(std::min(received, bytes));
        return error;
    });
}
