#pragma once

#include <cstdint>

/// The requests that the program with the devices sends to the driver of the simulated bus, by
/// DeviceIoControl() on the bus's one device. The driver does not interpret the reports.
namespace BusProtocol {

constexpr wchar_t deviceName[] = L"\\Device\\SimulatedBus";
constexpr wchar_t linkName[] = L"\\DosDevices\\SimulatedBus";
constexpr wchar_t path[] = L"\\\\.\\SimulatedBus"; ///< as programs open it
constexpr wchar_t busHardwareId[] = L"ROOT\\SimulatedBus";
constexpr wchar_t childHardwareId[] = L"SIMBUS\\HID";

/// CTL_CODE() of an unknown device type, a vendor's function, buffered, any access.
constexpr std::uint32_t controlCode(std::uint32_t function)
{
    return 0x22u << 16 | (0x800u + function) << 2;
}

/// Input: a Plug. Completes when the system has started the device.
constexpr std::uint32_t plugCode = controlCode(0);
/// Input: a port's number. Completes when the system has removed the device and its transfers have failed.
constexpr std::uint32_t unplugCode = controlCode(1);
/// Input: an Answer to the port's last Request, ignored if there was none or the device has gone. Output: the
/// next Request. Completes when a program starts a transfer with the port's device.
constexpr std::uint32_t answerCode = controlCode(2);

/// A port has one HID interface. Closing the program's handle empties all ports.
constexpr std::uint32_t ports = 8;
constexpr std::uint32_t maxIdLength = 64;
constexpr std::uint32_t maxDescriptorBytes = 256;
constexpr std::uint32_t maxReportBytes = 1024;

struct Plug
{
    std::uint32_t port;
    std::uint16_t vendorId;
    std::uint16_t productId;
    wchar_t deviceId[maxIdLength];   ///< without the bus's name, terminated by zero
    wchar_t instanceId[maxIdLength]; ///< unique among the devices with that identifier
    std::uint32_t descriptorBytes;
    std::uint8_t descriptor[maxDescriptorBytes]; ///< the report descriptor
};

struct Request
{
    std::uint32_t isGet; ///< 1: the device answers; 0: the device gets the bytes
    std::uint32_t size;  ///< of the report, its identifier included
    std::uint8_t report[maxReportBytes];
};

struct Answer
{
    std::uint32_t port;
    std::uint32_t isDone;
    std::uint32_t size; ///< of the answer to a get transfer
    std::uint8_t report[maxReportBytes];
};

} // namespace BusProtocol
