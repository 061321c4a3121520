#pragma once

#include <memory>
#include <string>

#include "devicetree.h"

#include <hidsdi.h>

inline GUID hidClass()
{
    GUID guid;
    HidD_GetHidGuid(&guid);
    return guid;
}

/// A HID node as Windows would name it.
inline DeviceNode hidNode(const std::wstring& vidPid, const std::wstring& serial = L"7&1A2B3C&0&0000",
                          std::shared_ptr<HidFunction> function = nullptr)
{
    DeviceNode node;
    node.instanceId = L"HID\\" + vidPid + L"\\" + serial;
    node.hardwareIds = {L"HID\\" + vidPid + L"&REV_0100", L"HID\\" + vidPid};
    node.description = L"HID-compliant vendor-defined device";
    node.enumerator = L"HID";
    node.interfaceClass = hidClass();
    node.interfacePath = L"\\\\?\\HID#" + vidPid + L"#" + serial + L"#{4d1e55b2-f16f-11cf-88cb-001111000030}";
    node.hid = std::move(function);
    return node;
}
