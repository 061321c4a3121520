#include "driverbus.h"

#include <algorithm>
#include <cstdio>
#include <cwchar>
#include <memory>

#include "hiddescriptor.h"

namespace {

constexpr std::uint32_t interfacesPerDevice = 2;

std::uint32_t slotOf(int port, std::uint32_t interfaceIndex)
{
    return static_cast<std::uint32_t>(port - 1) * interfacesPerDevice + interfaceIndex;
}

BusProtocol::Plug plugFor(const BusDevice& device, const HidInterface& hid, std::uint32_t slot)
{
    BusProtocol::Plug plug{};
    plug.port = slot;
    plug.vendorId = device.vendorId;
    plug.productId = device.productId;
    const int length = std::swprintf(plug.deviceId, std::size(plug.deviceId), L"SIMBUS\\VID_%04X&PID_%04X",
                                     device.vendorId, device.productId);
    if (hid.number) // only the interfaces of a composite device have numbers
        std::swprintf(plug.deviceId + length, std::size(plug.deviceId) - length, L"&MI_%02X", *hid.number);
    std::swprintf(plug.instanceId, std::size(plug.instanceId), L"7&1A2B3C%d&0&0000", device.port);
    const std::vector<std::uint8_t> descriptor = reportDescriptorOf(hid);
    plug.descriptorBytes = static_cast<std::uint32_t>(descriptor.size());
    std::copy_n(descriptor.begin(), std::min(descriptor.size(), std::size(plug.descriptor)), plug.descriptor);
    return plug;
}

} // namespace

DriverBus::DriverBus()
    : handle(CreateFileW(BusProtocol::path, GENERIC_READ | GENERIC_WRITE, 0, nullptr, OPEN_EXISTING,
                         FILE_FLAG_OVERLAPPED, nullptr))
{
}

DriverBus::~DriverBus()
{
    if (isOpen())
        CloseHandle(handle); // cancels the requests of the server threads, so the threads end
    for (Slot& slot : slots) {
        if (slot.server.joinable())
            slot.server.join();
    }
}

void DriverBus::attach(const BusDevice& device)
{
    for (std::uint32_t i = 0; i < device.interfaces.size() && i < interfacesPerDevice; ++i) {
        const HidInterface& hid = device.interfaces[i];
        const std::uint32_t number = slotOf(device.port, i);
        {
            const std::lock_guard<std::mutex> guard(mutex);
            Slot& slot = slots.at(number);
            slot.isTaken = true;
            slot.serves = hid.serves;
            if (hid.serves && !slot.server.joinable())
                slot.server = std::thread([this, number] { serve(number); });
        }
        const BusProtocol::Plug plug = plugFor(device, hid, number);
        if (!request(makeEvent(), BusProtocol::plugCode, &plug, sizeof(plug)))
            std::printf("The bus refuses a device: error %lu\n", GetLastError());
    }
}

void DriverBus::detach(int port)
{
    for (std::uint32_t i = 0; i < interfacesPerDevice; ++i) {
        const std::uint32_t number = slotOf(port, i);
        {
            const std::lock_guard<std::mutex> guard(mutex);
            if (!slots.at(number).isTaken)
                continue;
            slots.at(number).isTaken = false;
        }
        if (!request(makeEvent(), BusProtocol::unplugCode, &number, sizeof(number)))
            std::printf("The bus does not remove a device: error %lu\n", GetLastError());
    }
}

DriverBus::Event DriverBus::makeEvent()
{
    return {CreateEventW(nullptr, TRUE, FALSE, nullptr), &CloseHandle};
}

/// Sends a request and waits, with the event @p done, until the driver has completed the request.
bool DriverBus::request(const Event& done, std::uint32_t code, const void* input, DWORD inputSize,
                        void* output, DWORD outputSize) const
{
    OVERLAPPED overlapped{};
    overlapped.hEvent = done.get();
    DWORD received = 0;
    const bool isDone = DeviceIoControl(handle, code, const_cast<void*>(input), inputSize, output, outputSize,
                                        nullptr, &overlapped) ||
                        GetLastError() == ERROR_IO_PENDING;
    return isDone && GetOverlappedResult(handle, &overlapped, &received, TRUE) && received == outputSize;
}

void DriverBus::serve(std::uint32_t number)
{
    const Event done = makeEvent(); // one event for all transfers of this thread
    BusProtocol::Request wanted{};
    BusProtocol::Answer answer{};
    answer.port = number;
    while (request(done, BusProtocol::answerCode, &answer, sizeof(answer), &wanted, sizeof(wanted)))
        answer = serveOne(number, wanted);
}

BusProtocol::Answer DriverBus::serveOne(std::uint32_t number, const BusProtocol::Request& wanted)
{
    std::shared_ptr<FeatureReports> serves;
    {
        const std::lock_guard<std::mutex> guard(mutex);
        serves = slots.at(number).serves;
    }
    BusProtocol::Answer answer{};
    answer.port = number;
    if (!serves)
        return answer;
    if (wanted.isGet == 0) {
        answer.isDone = serves->set(wanted.report, wanted.size) == Transfer::Done;
        return answer;
    }
    std::copy_n(wanted.report, wanted.size, answer.report);
    std::size_t received = 0;
    answer.isDone = serves->get(answer.report, wanted.size, received) == Transfer::Done;
    answer.size = static_cast<std::uint32_t>(received);
    return answer;
}
