#include "hidrawinterface.h"

#include <cstdio>
#include <cstdlib>

#include <linux/input.h>

#include "hidnode.h"

namespace {

/// Implements HidFunction for one top-level collection.
class Collection : public HidFunction
{
public:
    Collection(const HidCapabilities& hidCapabilities, std::shared_ptr<HidrawDevice> hidrawDevice)
        : caps(hidCapabilities)
        , device(std::move(hidrawDevice))
    {
    }

    HidCapabilities capabilities() const override { return caps; }
    DWORD open(const ShareMode& mode) override { return device->acquire(mode.access != 0); }
    void close() override { device->release(); }
    bool isConnected() const override { return device->isConnected(); }
    DWORD setFeature(const std::uint8_t* report, std::size_t size) override
    {
        return device->setFeature(report, size);
    }
    DWORD getFeature(std::uint8_t* report, std::size_t size, std::size_t& received) override
    {
        return device->getFeature(report, size, received);
    }

private:
    const HidCapabilities caps;
    const std::shared_ptr<HidrawDevice> device;
};

/// @return the number after the last @p mark in @p text; std::nullopt if the text does not contain the mark.
std::optional<int> numberAfter(const std::string& text, const std::string& mark, int base)
{
    const std::size_t found = text.rfind(mark);
    if (found == std::string::npos)
        return std::nullopt;
    return static_cast<int>(std::strtol(text.c_str() + found + mark.size(), nullptr, base));
}

/// Returns the interface's number if its USB device has several interfaces. Windows puts the number into the
/// names of a device only in that case. A device created through uhid does not report how many interfaces it
/// has. If the number of its interface is not 0, the function assumes several.
std::optional<int> numberInNames(const HidrawInterface& interface)
{
    const auto number = numberAfter(interface.phys, "/input", 10);
    const bool isOneOfSeveral =
        interface.interfaces.empty() ? number.value_or(0) > 0 : std::atoi(interface.interfaces.c_str()) > 1;
    return isOneOfSeveral ? number : std::nullopt;
}

std::wstring locationOf(const HidrawInterface& interface, std::size_t collection)
{
    const int arrival = numberAfter(interface.hidName, ".", 16).value_or(0);
    wchar_t text[32];
    std::swprintf(text, std::size(text), L"7&%08x&0&%04zx", static_cast<unsigned>(arrival), collection);
    return text;
}

} // namespace

std::vector<DeviceNode> nodesOf(const HidrawInterface& interface, const ReportDescriptor& descriptor,
                                const std::shared_ptr<HidrawDevice>& device)
{
    unsigned bus = 0;
    unsigned vendorId = 0;
    unsigned productId = 0;
    if (std::sscanf(interface.hidId.c_str(), "%x:%x:%x", &bus, &vendorId, &productId) != 3 || bus != BUS_USB)
        return {};
    HidIdentity identity;
    identity.vendorId = static_cast<std::uint16_t>(vendorId);
    identity.productId = static_cast<std::uint16_t>(productId);
    identity.interfaceNumber = numberInNames(interface);
    if (!interface.revision.empty())
        identity.revision = static_cast<std::uint16_t>(std::strtoul(interface.revision.c_str(), nullptr, 16));
    std::vector<DeviceNode> nodes;
    for (std::size_t i = 0; i < descriptor.collections.size(); ++i) {
        const HidCapabilities& capabilities = descriptor.collections[i];
        if (descriptor.collections.size() > 1)
            identity.collectionNumber = static_cast<int>(i) + 1;
        identity.usagePage = capabilities.usagePage;
        nodes.push_back(
            hidNode(identity, locationOf(interface, i), std::make_shared<Collection>(capabilities, device)));
    }
    return nodes;
}
