// Compares detection on a computer with many devices with the system calls that detection needs.

#include <algorithm>
#include <cwchar>
#include <future>
#include <memory>
#include <vector>

#include <setupapi.h>

#include <hidclass.h>

#include "comparison.h"
#include "devicedetector.h"
#include "devicedetectorlistener.h"
#include "hidnode.h"
#include "simulatedmachine.h"
#include "utilities.h"

using namespace Comparison;

namespace {

constexpr int interfaceCount = 1000; ///< number present at the start; as many arrive later
constexpr int ownInterfaces = 5;     ///< how many of each thousand belong to a transmitter
constexpr std::size_t maxTextLength = 260;

/// Plugs in a thousand interfaces. Some belong to a transmitter, among them the last. @return their paths.
std::vector<std::wstring> plugIn(SimulatedDeviceTree& tree, int first)
{
    std::vector<std::wstring> paths;
    for (int i = 1; i <= interfaceCount; ++i) {
        const bool isOwn = i % (interfaceCount / ownInterfaces) == 0;
        const HidIdentity identity = isOwn ? HidIdentity{0x7A31, 0x0004, 3} : HidIdentity{0x046D, 0xC31C, 1};
        const DeviceNode node = hidNode(identity, L"7&1a2b3c" + std::to_wstring(first + i) + L"&0&0000");
        tree.plug(node);
        paths.push_back(node.interfacePath);
    }
    return paths;
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

/// Measures detection twice: from its start to the report of the last present device, and from the end of a
/// driver installation to the report of the last device that arrived during the installation.
/// @return the sum of both times in seconds.
double detect()
{
    SimulatedMachine machine(nullptr);
    const ScopedMachine scope(machine);
    SimulatedDeviceTree& tree = machine.deviceTree();
    plugIn(tree, 0);
    ArrivalCounter counter;
    const std::shared_ptr<DeviceDetector> detector(createDeviceDetector(), destroyDeviceDetector);
    const auto& ids = Utilities::allDeviceIds();
    const double present = seconds([&] {
        require(detector->start(&counter, ids.data(), static_cast<unsigned int>(ids.size())), "no detection");
        counter.enumerated.get_future().wait();
    });
    tree.setInstallationPending(true);
    plugIn(tree, interfaceCount);
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

/// Finds the device of an interface path among the present devices, and reads its identifying properties.
void walkTo(const std::wstring& path)
{
    wchar_t idPath[maxTextLength];
    wcscpy(idPath, path.c_str());
    lower(idPath);
    std::replace(idPath, idPath + path.size(), L'#', L'\\');
    const GUID classGuid = GUID_DEVINTERFACE_HID;
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
    require(isFound, "a device is missing");
}

/// Does the same task without threads, by only the system calls that find and identify a device.
/// @return the time in seconds.
double walk()
{
    SimulatedMachine machine(nullptr);
    const ScopedMachine scope(machine);
    const auto walkToAll = [](const std::vector<std::wstring>& paths) {
        return seconds([&] { std::for_each(paths.begin(), paths.end(), walkTo); });
    };
    const double present = walkToAll(plugIn(machine.deviceTree(), 0));
    return present + walkToAll(plugIn(machine.deviceTree(), interfaceCount));
}

[[maybe_unused]] const bool added =
    add("detection, 1,000 interfaces and 1,000 arrivals, s, against the bare walk", 1.2, 9, [] {
        const double detecting = detect();
        return Pair{detecting, walk()};
    });

} // namespace
