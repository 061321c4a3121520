#include "layerbus.h"

#include <algorithm>
#include <climits>
#include <memory>

#include "hidnode.h"

namespace {

DWORD errorOf(Transfer outcome)
{
    switch (outcome) {
    case Transfer::Done:
        return ERROR_SUCCESS;
    case Transfer::Failed:
        return ERROR_GEN_FAILURE;
    case Transfer::Gone:
        break;
    }
    return ERROR_DEVICE_NOT_CONNECTED;
}

/// One HID interface. Opened files keep it alive beyond its time in the tree.
class LayerFunction : public HidFunction
{
public:
    explicit LayerFunction(const HidInterface& hidInterface)
        : face(hidInterface)
    {
    }

    HidCapabilities capabilities() const override
    {
        HidCapabilities capabilities{face.usagePage, face.usage, 0};
        for (const FeatureReportFormat& report : face.featureReports)
            capabilities.featureReportBytes =
                std::max<std::uint16_t>(capabilities.featureReportBytes, report.dataBytes + 1);
        return capabilities;
    }
    DWORD setFeature(const std::uint8_t* report, std::size_t size) override
    {
        return face.serves ? errorOf(face.serves->set(report, size)) : ERROR_INVALID_FUNCTION;
    }
    DWORD getFeature(std::uint8_t* report, std::size_t size, std::size_t& received) override
    {
        return face.serves ? errorOf(face.serves->get(report, size, received)) : ERROR_INVALID_FUNCTION;
    }

private:
    const HidInterface face;
};

DeviceNode nodeOf(const BusDevice& device, const HidInterface& hidInterface)
{
    HidIdentity identity{device.vendorId, device.productId, {}, {}, hidInterface.usagePage};
    if (device.isComposite)
        identity.interfaceNumber = hidInterface.number;
    return hidNode(identity, L"7&1a2b3c" + std::to_wstring(device.port) + L"&0&0000",
                   std::make_shared<LayerFunction>(hidInterface));
}

} // namespace

LayerBus::LayerBus(SimulatedDeviceTree& deviceTree)
    : tree(deviceTree)
{
}

void LayerBus::attach(const BusDevice& device)
{
    std::vector<DeviceNode> nodes;
    std::vector<std::wstring> paths;
    for (const HidInterface& hidInterface : device.interfaces) {
        nodes.push_back(nodeOf(device, hidInterface));
        paths.push_back(nodes.back().interfacePath);
    }
    {
        const std::lock_guard<std::mutex> guard(mutex);
        places[device.port] = std::move(paths);
    }
    for (DeviceNode& node : nodes) {
        tree.refuseOpen(node.interfacePath, device.refusesOpen ? ERROR_ACCESS_DENIED : ERROR_SUCCESS,
                        device.refusesOpen ? INT_MAX : 0);
        tree.plug(std::move(node));
    }
}

void LayerBus::detach(int port)
{
    std::vector<std::wstring> paths;
    {
        const std::lock_guard<std::mutex> guard(mutex);
        places[port].swap(paths);
    }
    for (const std::wstring& path : paths)
        tree.unplugAndWait(path);
}

std::wstring LayerBus::channelPath(int port) const
{
    const std::lock_guard<std::mutex> guard(mutex);
    const auto place = places.find(port);
    return place == places.end() || place->second.empty() ? std::wstring() : place->second.back();
}
