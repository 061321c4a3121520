#pragma once

#include <cstdint>

/// What the simulated bus's driver and the program that plugs devices into it say to each other: requests by
/// DeviceIoControl() on the one device of the bus. The driver knows nothing of what the bytes mean.
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

/// Takes a Plug. Done when the system has started the device.
constexpr std::uint32_t plugCode = controlCode(0);
/// Takes a port's number. Done when the system has removed the device; its transfers under way have failed
/// then.
constexpr std::uint32_t unplugCode = controlCode(1);
/// Takes an Answer to the port's last Request, without effect where there was none or the device has gone
/// meanwhile, and gives the next one. Done when somebody wants a transfer with the port's device.
constexpr std::uint32_t answerCode = controlCode(2);

/// A port takes one HID interface. All are empty when the program's handle is closed.
constexpr std::uint32_t ports = 8;
constexpr std::uint32_t maxIdLength = 64;
constexpr std::uint32_t maxDescriptorBytes = 256;
constexpr std::uint32_t maxReportBytes = 1024;

struct Plug
{
    std::uint32_t port;
    std::uint16_t vendorId;
    std::uint16_t productId;
    wchar_t deviceId[maxIdLength];   ///< what follows the bus's name, zero at the end
    wchar_t instanceId[maxIdLength]; ///< unique among the devices with that identifier
    std::uint32_t descriptorBytes;
    std::uint8_t descriptor[maxDescriptorBytes]; ///< the report descriptor
};

struct Request
{
    std::uint32_t isGet; ///< 1: the answer is wanted; 0: the bytes are for the device
    std::uint32_t size;  ///< of the report, its identifier included
    std::uint8_t report[maxReportBytes];
};

struct Answer
{
    std::uint32_t port;
    std::uint32_t isDone;
    std::uint32_t size; ///< of what a get transfer gives
    std::uint8_t report[maxReportBytes];
};

} // namespace BusProtocol
