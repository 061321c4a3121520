// Rows about finding devices and talking to them.

#include <algorithm>
#include <cstring>
#include <future>
#include <memory>
#include <thread>
#include <vector>

#include <setupapi.h>
extern "C" {
#include <hidsdi.h>
}

#include <QByteArray>

#include "abstracthiddevice.h"
#include "archivebuilder.h"
#include "comparison.h"
#include "devicedetector.h"
#include "devicedetectorlistener.h"
#include "flasher.h"
#include "hidutilities.h"
#include "layerbus.h"
#include "simulateddevice.h"
#include "simulatedmachine.h"
#include "utilities.h"

using namespace Comparison;

namespace {

GUID hidClass()
{
    GUID guid;
    HidD_GetHidGuid(&guid);
    return guid;
}

// ---- Detection

constexpr int ownInterfaces = 5; ///< of each batch
constexpr std::size_t maxTextLength = 260;

/// The @p number-th HID interface of a crowded computer.
DeviceNode interfaceNode(int number, bool isOwn)
{
    const std::wstring function = isOwn ? L"VID_7A31&PID_0004&MI_03" : L"VID_046D&PID_C31C&MI_01";
    const std::wstring place = L"7&1A2B3C" + std::to_wstring(number) + L"&0&0000";
    DeviceNode node;
    node.instanceId = L"HID\\" + function + L"\\" + place;
    node.hardwareIds = {L"HID\\" + function};
    node.description = L"HID-compliant device";
    node.enumerator = L"HID";
    node.interfaceClass = hidClass();
    node.interfacePath =
        L"\\\\?\\HID#" + function + L"#" + place + L"#{4d1e55b2-f16f-11cf-88cb-001111000030}";
    return node;
}

/// Plugs in @p count interfaces, the last of them one of ours.
void plugIn(SimulatedDeviceTree& tree, int first, int count)
{
    for (int i = 1; i <= count; ++i)
        tree.plug(interfaceNode(first + i, i % (count / ownInterfaces) == 0));
}

class ArrivalCounter final : public DeviceDetectorListener
{
public:
    void deviceArrived(DeviceInstance*) override
    {
        if (++arrivals == 2 * ownInterfaces)
            allArrived.set_value();
    }
    void deviceEnumerationComplete(std::size_t count) override
    {
        if (count == ownInterfaces)
            enumerated.set_value();
    }

    int arrivals = 0;
    std::promise<void> enumerated;
    std::promise<void> allArrived;
};

/// From the start of detection to the report of the last device present, and from the end of a driver
/// installation, during which as many more have arrived, to the report of the last of these.
double detect(int count)
{
    SimulatedMachine machine(nullptr);
    const ScopedMachine scope(machine);
    SimulatedDeviceTree& tree = machine.deviceTree();
    plugIn(tree, 0, count);
    ArrivalCounter counter;
    const std::shared_ptr<DeviceDetector> detector(createDeviceDetector(), destroyDeviceDetector);
    const auto& ids = Utilities::allDeviceIds();
    const double present = seconds([&] {
        require(detector->start(&counter, ids.data(), static_cast<unsigned int>(ids.size())), "no detection");
        counter.enumerated.get_future().wait();
    });
    tree.setInstallationPending(true);
    plugIn(tree, count, count);
    const double arriving = seconds([&] {
        tree.setInstallationPending(false);
        counter.allArrived.get_future().wait();
    });
    detector->stop();
    return present + arriving;
}

void lower(wchar_t* text)
{
    for (; *text; ++text) {
        if (*text >= L'A' && *text <= L'Z')
            *text += L'a' - L'A';
    }
}

/// Looks the device of an interface path up among those present, and reads what identifies it.
bool walkTo(const std::wstring& path, const GUID& classGuid)
{
    wchar_t idPath[maxTextLength];
    wcscpy(idPath, path.c_str());
    lower(idPath);
    std::replace(idPath, idPath + path.size(), L'#', L'\\');
    const HDEVINFO set =
        SetupDiGetClassDevsW(&classGuid, nullptr, nullptr, DIGCF_PRESENT | DIGCF_DEVICEINTERFACE);
    SP_DEVINFO_DATA data = {};
    data.cbSize = sizeof(data);
    wchar_t text[maxTextLength];
    bool isFound = false;
    for (DWORD index = 0; !isFound && SetupDiEnumDeviceInfo(set, index, &data); ++index) {
        SetupDiGetDeviceInstanceIdW(set, &data, text, maxTextLength, nullptr);
        lower(text);
        isFound = std::wcsstr(idPath, text);
    }
    for (const DWORD property :
         {SPDRP_FRIENDLYNAME, SPDRP_DEVICEDESC, SPDRP_HARDWAREID, SPDRP_ENUMERATOR_NAME})
        SetupDiGetDeviceRegistryPropertyW(set, &data, property, nullptr, reinterpret_cast<BYTE*>(text),
                                          sizeof(text), nullptr);
    SetupDiDestroyDeviceInfoList(set);
    return isFound;
}

std::vector<std::wstring> presentPaths(const GUID& classGuid)
{
    std::vector<std::wstring> paths;
    const HDEVINFO set =
        SetupDiGetClassDevsW(&classGuid, nullptr, nullptr, DIGCF_PRESENT | DIGCF_DEVICEINTERFACE);
    SP_DEVICE_INTERFACE_DATA data = {};
    data.cbSize = sizeof(data);
    for (DWORD index = 0; SetupDiEnumDeviceInterfaces(set, nullptr, &classGuid, index, &data); ++index) {
        DWORD bytes = 0;
        SetupDiGetDeviceInterfaceDetailW(set, &data, nullptr, 0, &bytes, nullptr);
        const HLOCAL memory = LocalAlloc(LPTR, bytes);
        auto* const detail = static_cast<SP_DEVICE_INTERFACE_DETAIL_DATA_W*>(memory);
        detail->cbSize = sizeof(*detail);
        SetupDiGetDeviceInterfaceDetailW(set, &data, detail, bytes, nullptr, nullptr);
        paths.emplace_back(detail->DevicePath);
        LocalFree(memory);
    }
    SetupDiDestroyDeviceInfoList(set);
    return paths;
}

/// The calls that detection cannot do without, and nothing else.
double walk(int count)
{
    SimulatedMachine machine(nullptr);
    const ScopedMachine scope(machine);
    plugIn(machine.deviceTree(), 0, count);
    const GUID classGuid = hidClass();
    const double present = seconds([&] {
        for (const std::wstring& path : presentPaths(classGuid))
            require(walkTo(path, classGuid), "a device is missing");
    });
    plugIn(machine.deviceTree(), count, count);
    std::vector<std::wstring> arrived = presentPaths(classGuid);
    arrived.erase(arrived.begin(), arrived.begin() + count);
    const double arriving = seconds([&] {
        for (const std::wstring& path : arrived)
            require(walkTo(path, classGuid), "a device is missing");
    });
    return present + arriving;
}

MakePair detectionPairs(int count)
{
    return [count] { return Pair{detect(count), walk(count)}; };
}

// ---- Data packets

constexpr std::uint32_t packetDelayMs = 20; ///< after each packet
constexpr std::size_t packetBytes = 264;

/// A clock that stands still. In each packet's delay it sends another packet, which was built before.
class PacketClock : public VirtualClock
{
public:
    void sleep(std::uint32_t ms) override
    {
        const bool isAfterPacket = ms == packetDelayMs && device;
        if (isAfterPacket && wasAfterPacket) {
            const auto sent = std::chrono::steady_clock::now();
            const double reference = seconds([this] { device->setFeatureBlocking(&builtPacket); });
            pairs.push_back({std::chrono::duration<double>(sent - begin).count(), reference});
        }
        wasAfterPacket = isAfterPacket;
        begin = std::chrono::steady_clock::now();
    }

    std::shared_ptr<AbstractHidDevice> device;
    std::vector<Pair> pairs;

private:
    std::vector<unsigned char> builtPacket = packet();
    bool wasAfterPacket = false;
    std::chrono::steady_clock::time_point begin;

    static std::vector<unsigned char> packet()
    {
        std::vector<unsigned char> bytes(packetBytes);
        bytes[0] = 0xE4;
        bytes[6] = 0x01;
        return bytes;
    }
};

std::wstring onlyPath(SimulatedDeviceTree& tree)
{
    return tree.presentNodes(hidClass()).back()->interfacePath; // the vendor-defined one
}

/// A whole image's packets; @return the sums of both times.
Pair sendPackets(const QByteArray& image)
{
    PacketClock clock;
    SimulatedMachine machine(&clock);
    const ScopedMachine scope(machine);
    SimulatedDeviceTree& tree = machine.deviceTree();
    const std::vector<std::uint8_t> bytes(image.begin(), image.end());
    LayerBus bus(tree);
    SimulatedDevice headset(
        bus, sleepOn(clock),
        {SimulatedChip::hardwareFor(DeviceType::Headset, 12, 2, bytes), bytes, 1, nullptr});
    headset.plugIn();
    const auto open = [&] { return Utilities::openHidDeviceByPath(onlyPath(tree), 3, 0); };
    require(HidUtilities::sendControlRequest(open(), HidUtilities::LeaveApplication), "the device refuses");
    while (!headset.isSettled())
        std::this_thread::yield();
    clock.device = open();
    require(clock.device != nullptr, "the device cannot be opened");
    Flasher(clock.device).operate(image, DeviceType::Headset);
    require(!clock.pairs.empty() && headset.refusals().empty(), "no packets were sent");
    Pair sum{0, 0};
    for (const Pair& pair : clock.pairs) {
        sum.work += pair.work / static_cast<double>(clock.pairs.size());
        sum.reference += pair.reference / static_cast<double>(clock.pairs.size());
    }
    clock.device.reset();
    return sum;
}

MakePair packetPairs()
{
    qInstallMessageHandler([](QtMsgType, const QMessageLogContext&, const QString&) {});
    ImageOptions options = ImageBuilder::headset();
    options.size = 64 * 1024;
    return [image = toByteArray(ImageBuilder::build(options))] { return sendPackets(image); };
}

const char walkName[] = "the prescribed walk, bare";

[[maybe_unused]] const bool added =
    add({"building and sending one data packet", "sending one that was built before", "s", 2, 51},
        packetPairs) &&
    add({"detection, 10 interfaces and 10 arrivals", walkName, "s", 0, 51},
        [] { return detectionPairs(10); }) &&
    add({"detection, 100 interfaces and 100 arrivals", walkName, "s", 0, 31},
        [] { return detectionPairs(100); }) &&
    add({"detection, 1,000 interfaces and 1,000 arrivals", walkName, "s", 1.2, 9},
        [] { return detectionPairs(1000); });

} // namespace
