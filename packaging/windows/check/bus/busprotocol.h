#pragma once

#include <cstdint>

/// Defines the requests to the driver of the simulated bus. The program that simulates the devices sends
/// these requests to the bus's control device with DeviceIoControl(). The driver does not interpret the
/// reports, and trusts the program to send valid requests.
namespace BusProtocol {

constexpr wchar_t deviceName[] = L"\\Device\\SimulatedBus";
constexpr wchar_t linkName[] = L"\\DosDevices\\SimulatedBus";
constexpr wchar_t path[] = L"\\\\.\\SimulatedBus"; ///< the name that programs open
constexpr wchar_t busHardwareId[] = L"ROOT\\SimulatedBus";
constexpr wchar_t childHardwareId[] = L"SIMBUS\\HID";

/// @return the result of CTL_CODE() for FILE_DEVICE_UNKNOWN, METHOD_BUFFERED, FILE_ANY_ACCESS and the
/// function code 0x800 + @p function. 0x800 is the first vendor-defined function code.
constexpr std::uint32_t controlCode(std::uint32_t function)
{
    return 0x22u << 16 | (0x800u + function) << 2;
}

/// Input: a Plug. Completes when the system has started the device.
constexpr std::uint32_t plugCode = controlCode(0);
/// Input: a port's number. The driver first ends the device's transfers with an error. The request completes
/// when the system has removed the device.
constexpr std::uint32_t unplugCode = controlCode(1);
/// Input: an Answer to the port's last Request. The driver ignores the Answer if there was no Request or the
/// device is gone.
/// Output: the next Request. Completes when a program starts a transfer with the port's device.
constexpr std::uint32_t answerCode = controlCode(2);

/// The number of ports. Each port takes one HID interface. When the program that simulates the devices closes
/// its handle to the control device, the driver empties all ports and cancels the answerCode requests.
constexpr std::uint32_t ports = 8;
constexpr std::uint32_t maxIdLength = 64;
constexpr std::uint32_t maxDescriptorBytes = 256;
constexpr std::uint32_t maxReportBytes = 1024;

struct Plug
{
    std::uint32_t port;
    std::uint16_t vendorId;
    std::uint16_t productId;
    wchar_t deviceId[maxIdLength];   ///< starts with the bus's name, ends with a zero
    wchar_t instanceId[maxIdLength]; ///< unique among the devices with the same deviceId, ends with a zero
    std::uint32_t descriptorBytes;
    std::uint8_t descriptor[maxDescriptorBytes]; ///< the report descriptor
};

struct Request
{
    std::uint32_t isGet; ///< 1 if the device returns a report, 0 if the device receives `report`
    std::uint32_t size;  ///< number of bytes of the report, including its report ID
    std::uint8_t report[maxReportBytes];
};

struct Answer
{
    std::uint32_t port;
    std::uint32_t isDone;
    std::uint32_t size; ///< number of bytes that the device returns; used only if isGet was 1
    std::uint8_t report[maxReportBytes];
};

} // namespace BusProtocol
