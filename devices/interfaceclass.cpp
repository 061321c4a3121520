#include "interfaceclass_p.h"

#include <algorithm>
#include <cwchar>
#include <memory>
#include <optional>
#include <string_view>

#include <setupapi.h>
extern "C" {
#include <hidsdi.h>
}

namespace {

// The record sizes of 32-bit Windows, which the system checks.
constexpr bool on32BitWindows = sizeof(void*) == 4 && sizeof(wchar_t) == 2;
static_assert(!on32BitWindows || sizeof(SP_DEVINFO_DATA) == 28);
static_assert(!on32BitWindows || sizeof(SP_DEVICE_INTERFACE_DETAIL_DATA_W) == 6);

constexpr GUID usbDeviceInterfaceClass = {
    0xA5DCBF10, 0x6530, 0x11D2, {0x90, 0x1F, 0x00, 0xC0, 0x4F, 0xB9, 0x51, 0xED}};

constexpr std::size_t maxTextLength = 260; // device instance identifiers and the properties read here

/// The present devices of one interface class.
class DeviceInfoList
{
public:
    explicit DeviceInfoList(const GUID& classGuid)
        : list(SetupDiGetClassDevsW(&classGuid, nullptr, nullptr, DIGCF_PRESENT | DIGCF_DEVICEINTERFACE))
    {
    }
    ~DeviceInfoList()
    {
        if (isValid())
            SetupDiDestroyDeviceInfoList(list);
    }
    DeviceInfoList(const DeviceInfoList&) = delete;
    DeviceInfoList& operator=(const DeviceInfoList&) = delete;

    bool isValid() const { return list != INVALID_HANDLE_VALUE; }

    bool interfaceAt(DWORD index, const GUID& classGuid, SP_DEVICE_INTERFACE_DATA& data) const
    {
        data = {};
        data.cbSize = sizeof(data);
        return SetupDiEnumDeviceInterfaces(list, nullptr, &classGuid, index, &data) != FALSE;
    }

    /// Empty where it cannot be read.
    std::wstring path(SP_DEVICE_INTERFACE_DATA& data) const
    {
        DWORD bytes = 0;
        SetupDiGetDeviceInterfaceDetailW(list, &data, nullptr, 0, &bytes, nullptr);
        if (bytes == 0)
            return {};
        const std::unique_ptr<void, decltype(&LocalFree)> memory(LocalAlloc(LPTR, bytes), &LocalFree);
        auto* const detail = static_cast<SP_DEVICE_INTERFACE_DETAIL_DATA_W*>(memory.get());
        if (!detail)
            return {};
        detail->cbSize = sizeof(*detail);
        if (!SetupDiGetDeviceInterfaceDetailW(list, &data, detail, bytes, nullptr, nullptr))
            return {};
        return detail->DevicePath;
    }

    bool device(DWORD index, SP_DEVINFO_DATA& data) const
    {
        data = {};
        data.cbSize = sizeof(data);
        return SetupDiEnumDeviceInfo(list, index, &data) != FALSE;
    }

    /// Read for every device of a walk, hence into a buffer of the caller's.
    bool instanceId(SP_DEVINFO_DATA& data, wchar_t (&text)[maxTextLength]) const
    {
        return SetupDiGetDeviceInstanceIdW(list, &data, text, maxTextLength, nullptr) != FALSE;
    }

    /// A text property; of a list of texts the first.
    std::optional<std::wstring> property(SP_DEVINFO_DATA& data, DWORD which) const
    {
        wchar_t text[maxTextLength + 1] = {}; // one more than is handed over: always ended
        if (!SetupDiGetDeviceRegistryPropertyW(list, &data, which, nullptr, reinterpret_cast<BYTE*>(text),
                                               maxTextLength * sizeof(wchar_t), nullptr))
            return std::nullopt;
        return text;
    }

private:
    HDEVINFO list;
};

wchar_t lowerAscii(wchar_t c)
{
    return c >= L'A' && c <= L'Z' ? static_cast<wchar_t>(c - L'A' + L'a') : c;
}

/// The up to four lower-case hexadecimal digits after @p key; 0 where the key is missing. A character that
/// is no digit counts 0.
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
    if (const auto friendlyName = list.property(data, SPDRP_FRIENDLYNAME)) {
        device.name = *friendlyName;
        device.hasFriendlyName = true;
    } else if (const auto description = list.property(data, SPDRP_DEVICEDESC)) {
        device.name = *description;
        device.hasFriendlyName = false;
    }
}

} // namespace

GUID interfaceClassGuid(InterfaceKind kind)
{
    GUID guid = {};
    if (kind == InterfaceKind::Hid)
        HidD_GetHidGuid(&guid);
    return kind == InterfaceKind::UsbDevice ? usbDeviceInterfaceClass : guid;
}

InterfaceKind interfaceKindOf(const GUID& guid)
{
    if (guid == interfaceClassGuid(InterfaceKind::Hid))
        return InterfaceKind::Hid;
    return guid == usbDeviceInterfaceClass ? InterfaceKind::UsbDevice : InterfaceKind::None;
}

std::wstring toLowerAscii(std::wstring text)
{
    std::transform(text.begin(), text.end(), text.begin(), lowerAscii);
    return text;
}

std::vector<std::wstring> presentInterfacePaths(const GUID& classGuid)
{
    const DeviceInfoList list(classGuid);
    std::vector<std::wstring> paths;
    SP_DEVICE_INTERFACE_DATA data;
    for (DWORD index = 0; list.isValid() && list.interfaceAt(index, classGuid, data); ++index) {
        if (std::wstring path = list.path(data); !path.empty())
            paths.push_back(std::move(path));
    }
    return paths;
}

bool readDeviceProperties(const std::wstring& path, DeviceInstance& device, const GUID& classGuid)
{
    const DeviceInfoList list(classGuid);
    if (!list.isValid())
        return false;
    std::wstring idPath = toLowerAscii(path);
    std::replace(idPath.begin(), idPath.end(), L'#', L'\\');
    device.vendorId = 0;
    device.productId = 0;
    SP_DEVINFO_DATA data;
    wchar_t instanceId[maxTextLength];
    for (DWORD index = 0; list.device(index, data); ++index) {
        if (!list.instanceId(data, instanceId))
            continue;
        std::transform(instanceId, instanceId + std::wcslen(instanceId), instanceId, lowerAscii);
        if (idPath.find(instanceId) == std::wstring::npos)
            continue;
        readName(list, data, device);
        const auto hardwareId = list.property(data, SPDRP_HARDWAREID);
        if (!hardwareId)
            continue;
        const auto enumerator = list.property(data, SPDRP_ENUMERATOR_NAME);
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
