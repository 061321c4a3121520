#include "hidnode.h"

#include <algorithm>
#include <cwchar>
#include <cwctype>
#include <iterator>

#include <initguid.h>

#include <hidclass.h>

namespace {

constexpr std::uint16_t consumerPage = 0x000C;

std::wstring hex(const wchar_t* prefix, int digits, unsigned value)
{
    wchar_t text[16];
    std::swprintf(text, std::size(text), L"%ls%0*X", prefix, digits, value);
    return text;
}

/// Returns the part that identifies the interface and the collection in a node's names, such as &MI_03&Col01.
std::wstring functionName(const HidIdentity& identity)
{
    std::wstring name;
    if (identity.interfaceNumber)
        name += hex(L"&MI_", 2, static_cast<unsigned>(*identity.interfaceNumber));
    if (identity.collectionNumber)
        name += hex(L"&Col", 2, static_cast<unsigned>(*identity.collectionNumber));
    return name;
}

std::wstring raised(std::wstring text)
{
    std::transform(text.begin(), text.end(), text.begin(), [](wchar_t c) { return std::towupper(c); });
    return text;
}

} // namespace

DeviceNode hidNode(const HidIdentity& identity, const std::wstring& location,
                   std::shared_ptr<HidFunction> function)
{
    const std::wstring device = hex(L"VID_", 4, identity.vendorId) + hex(L"&PID_", 4, identity.productId);
    const std::wstring part = functionName(identity);
    DeviceNode node;
    node.instanceId = raised(L"HID\\" + device + part + L"\\" + location);
    node.hardwareIds = {L"HID\\" + device + hex(L"&REV_", 4, identity.revision) + part,
                        L"HID\\" + device + part};
    node.description = identity.usagePage == consumerPage ? L"HID-compliant consumer control device"
                                                          : L"HID-compliant vendor-defined device";
    node.enumerator = L"HID";
    node.interfaceClass = GUID_DEVINTERFACE_HID;
    node.interfacePath =
        L"\\\\?\\HID#" + device + part + L"#" + location + L"#{4d1e55b2-f16f-11cf-88cb-001111000030}";
    node.hid = std::move(function);
    return node;
}
