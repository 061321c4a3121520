#include "presentdevices_p.h"

#include <algorithm>
#include <cwchar>
#include <memory>
#include <optional>
#include <string_view>

#include <setupapi.h>
extern "C" {
#include <hidsdi.h>
}
#include <initguid.h>

#include <usbiodef.h>

namespace {

// Windows checks the sizes of the structures below. The numbers are their sizes on 32-bit Windows.
constexpr bool on32BitWindows = sizeof(void*) == 4 && sizeof(wchar_t) == 2;
static_assert(!on32BitWindows || sizeof(SP_DEVINFO_DATA) == 28);
static_assert(!on32BitWindows || sizeof(SP_DEVICE_INTERFACE_DETAIL_DATA_W) == 6);

constexpr std::size_t maxTextLength = 260; // of an instance identifier or a property, in characters

using DeviceInfoList = std::unique_ptr<void, decltype(&SetupDiDestroyDeviceInfoList)>;

/// Lists the present devices of one interface class. Returns null if the devices cannot be listed.
DeviceInfoList presentDevices(const GUID& classGuid)
{
    const HDEVINFO list =
        SetupDiGetClassDevsW(&classGuid, nullptr, nullptr, DIGCF_PRESENT | DIGCF_DEVICEINTERFACE);
    return {list == INVALID_HANDLE_VALUE ? nullptr : list, &SetupDiDestroyDeviceInfoList};
}

/// Returns the path of an interface, or an empty path if it cannot be read.
std::wstring interfacePath(const DeviceInfoList& list, SP_DEVICE_INTERFACE_DATA& data)
{
    DWORD bytes = 0;
    SetupDiGetDeviceInterfaceDetailW(list.get(), &data, nullptr, 0, &bytes, nullptr);
    if (bytes == 0)
        return {};
    const std::unique_ptr<void, decltype(&LocalFree)> memory(LocalAlloc(LPTR, bytes), &LocalFree);
    auto* const detail = static_cast<SP_DEVICE_INTERFACE_DETAIL_DATA_W*>(memory.get());
    if (!detail)
        return {};
    detail->cbSize = sizeof(*detail);
    if (!SetupDiGetDeviceInterfaceDetailW(list.get(), &data, detail, bytes, nullptr, nullptr))
        return {};
    return detail->DevicePath;
}

/// Reads a text property of a device. If the property is a list of texts, returns the first text.
std::optional<std::wstring> property(const DeviceInfoList& list, SP_DEVINFO_DATA& data, DWORD which)
{
    wchar_t text[maxTextLength + 1] = {}; // the call below cannot overwrite the final 0
    if (!SetupDiGetDeviceRegistryPropertyW(list.get(), &data, which, nullptr, reinterpret_cast<BYTE*>(text),
                                           maxTextLength * sizeof(wchar_t), nullptr))
        return std::nullopt;
    return text;
}

wchar_t lowerAscii(wchar_t c)
{
    return c >= L'A' && c <= L'Z' ? static_cast<wchar_t>(c - L'A' + L'a') : c;
}

/// Reads the number after @p key: up to four hexadecimal digits, in lower case. Any other character counts as
/// the digit 0. Returns 0 if the key is missing.
std::uint16_t parseHexAfterKey(const std::wstring& text, std::wstring_view key)
{
    constexpr std::wstring_view digits = L"0123456789abcdef";
    constexpr std::size_t maxDigits = 4;
    const std::size_t found = text.find(key);
    if (found == std::wstring::npos)
        return 0;
    std::size_t value = 0;
    for (const wchar_t c : text.substr(found + key.size(), maxDigits)) {
        const std::size_t digit = digits.find(c);
        value = value * digits.size() + (digit == std::wstring_view::npos ? 0 : digit);
    }
    return static_cast<std::uint16_t>(value);
}

bool isOnUsbOrHid(const std::wstring& enumerator)
{
    return _wcsicmp(enumerator.c_str(), L"usb") == 0 || _wcsicmp(enumerator.c_str(), L"hid") == 0;
}

void readName(const DeviceInfoList& list, SP_DEVINFO_DATA& data, DeviceInstance& device)
{
    const auto friendlyName = property(list, data, SPDRP_FRIENDLYNAME);
    const auto name = friendlyName ? friendlyName : property(list, data, SPDRP_DEVICEDESC);
    if (!name)
        return;
    device.name = *name;
    device.hasFriendlyName = friendlyName.has_value();
}

InterfaceKind interfaceKindOf(const GUID& guid)
{
    if (guid == interfaceClassGuid(InterfaceKind::Hid))
        return InterfaceKind::Hid;
    return guid == GUID_DEVINTERFACE_USB_DEVICE ? InterfaceKind::UsbDevice : InterfaceKind::None;
}

} // namespace

GUID interfaceClassGuid(InterfaceKind kind)
{
    GUID guid = {};
    if (kind == InterfaceKind::Hid)
        HidD_GetHidGuid(&guid);
    return kind == InterfaceKind::UsbDevice ? GUID_DEVINTERFACE_USB_DEVICE : guid;
}

std::wstring toLowerAscii(std::wstring text)
{
    std::transform(text.begin(), text.end(), text.begin(), lowerAscii);
    return text;
}

std::vector<std::wstring> presentInterfacePaths(const GUID& classGuid)
{
    std::vector<std::wstring> paths;
    const DeviceInfoList list = presentDevices(classGuid);
    if (!list)
        return paths;
    SP_DEVICE_INTERFACE_DATA data = {};
    data.cbSize = sizeof(data);
    for (DWORD index = 0; SetupDiEnumDeviceInterfaces(list.get(), nullptr, &classGuid, index, &data);
         ++index) {
        if (std::wstring path = interfacePath(list, data); !path.empty())
            paths.push_back(std::move(path));
    }
    return paths;
}

bool readDeviceProperties(const std::wstring& path, DeviceInstance& device, const GUID& classGuid)
{
    const DeviceInfoList list = presentDevices(classGuid);
    if (!list)
        return false;
    std::wstring idPath = toLowerAscii(path);
    std::replace(idPath.begin(), idPath.end(), L'#', L'\\');
    device.vendorId = 0;
    device.productId = 0;
    SP_DEVINFO_DATA data = {};
    data.cbSize = sizeof(data);
    wchar_t instanceId[maxTextLength];
    for (DWORD index = 0; SetupDiEnumDeviceInfo(list.get(), index, &data); ++index) {
        if (!SetupDiGetDeviceInstanceIdW(list.get(), &data, instanceId, maxTextLength, nullptr))
            continue;
        std::transform(instanceId, instanceId + std::wcslen(instanceId), instanceId, lowerAscii);
        if (idPath.find(instanceId) == std::wstring::npos)
            continue;
        readName(list, data, device);
        const auto hardwareId = property(list, data, SPDRP_HARDWAREID);
        if (!hardwareId)
            continue;
        const auto enumerator = property(list, data, SPDRP_ENUMERATOR_NAME);
        if (!enumerator || !isOnUsbOrHid(*enumerator))
            continue;
        const std::wstring id = toLowerAscii(*hardwareId);
        device.vendorId = parseHexAfterKey(id, L"vid_");
        device.productId = parseHexAfterKey(id, L"pid_");
        break;
    }
    if (device.vendorId == 0 || device.productId == 0)
        return false;
    device.interfaceKind = interfaceKindOf(classGuid);
    return true;
}
