#include "layerbus.h"

#include <algorithm>
#include <memory>

#include <windows.h>

#include <hidclass.h>

#include "hidnode.h"

namespace {

DWORD errorOf(Transfer outcome)
{
    if (outcome == Transfer::Done)
        return ERROR_SUCCESS;
    return outcome == Transfer::Failed ? ERROR_GEN_FAILURE : ERROR_DEVICE_NOT_CONNECTED;
}

/// The part of an instance identifier that differs from port to port.
std::wstring locationOf(int port)
{
    return L"7&1a2b3c" + std::to_wstring(port) + L"&0&0000";
}

/// One HID interface. Open files keep this object alive after the interface has left the device tree.
class LayerFunction : public HidFunction
{
public:
    LayerFunction(const HidInterface& hidInterface, bool isRefused)
        : shown(hidInterface)
        , refusesOpen(isRefused)
    {
    }

    HidCapabilities capabilities() const override
    {
        HidCapabilities capabilities{shown.usagePage, shown.usage, 0};
        for (const FeatureReportFormat& report : shown.featureReports)
            capabilities.featureReportBytes =
                std::max<std::uint16_t>(capabilities.featureReportBytes, report.dataBytes + 1);
        return capabilities;
    }
    DWORD open(const ShareMode&) override { return refusesOpen ? ERROR_ACCESS_DENIED : ERROR_SUCCESS; }
    DWORD setFeature(const std::uint8_t* report, std::size_t size) override
    {
        return shown.serves ? errorOf(shown.serves->set(report, size)) : ERROR_INVALID_FUNCTION;
    }
    DWORD getFeature(std::uint8_t* report, std::size_t size, std::size_t& received) override
    {
        return shown.serves ? errorOf(shown.serves->get(report, size, received)) : ERROR_INVALID_FUNCTION;
    }

private:
    const HidInterface shown;
    const bool refusesOpen;
};

DeviceNode nodeOf(const BusDevice& device, const HidInterface& hidInterface)
{
    const HidIdentity identity{
        device.vendorId, device.productId, hidInterface.number, {}, hidInterface.usagePage};
    return hidNode(identity, locationOf(device.port),
                   std::make_shared<LayerFunction>(hidInterface, device.refusesOpen));
}

} // namespace

LayerBus::LayerBus(SimulatedDeviceTree& deviceTree)
    : tree(deviceTree)
{
}

void LayerBus::attach(const BusDevice& device)
{
    for (const HidInterface& hidInterface : device.interfaces)
        tree.plug(nodeOf(device, hidInterface));
}

void LayerBus::detach(int port)
{
    for (const std::wstring& path : pathsAt(port))
        tree.unplugAndWait(path);
}

/// Asks for the removal of the device's last interface only, because programs open no other interface.
bool LayerBus::requestRemoval(int port, bool isHeld)
{
    DWORD error = ERROR_SUCCESS;
    const std::wstring path = channelPath(port);
    const auto heldFile = isHeld ? tree.open(path, 0, FILE_SHARE_READ | FILE_SHARE_WRITE, error) : nullptr;
    if (!tree.requestRemoval(path))
        return false;
    detach(port);
    return true;
}

std::wstring LayerBus::channelPath(int port) const
{
    const std::vector<std::wstring> paths = pathsAt(port);
    return paths.empty() ? std::wstring() : paths.back();
}

/// The paths of the interfaces at @p port, in the order of their arrival.
std::vector<std::wstring> LayerBus::pathsAt(int port) const
{
    std::vector<std::wstring> paths;
    for (const auto& node : tree.presentNodes(GUID_DEVINTERFACE_HID)) {
        if (node->interfacePath.find(locationOf(port)) != std::wstring::npos)
            paths.push_back(node->interfacePath);
    }
    return paths;
}
