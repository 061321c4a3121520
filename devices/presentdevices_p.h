#pragma once

#include <string>
#include <vector>

#include <windows.h>

#include "deviceinstance.h"

/// The class GUID of an interface kind; all zero for InterfaceKind::None.
GUID interfaceClassGuid(InterfaceKind kind);

/// Returns @p text with its ASCII letters in lower case. Interface paths are compared in this form.
std::wstring toLowerAscii(std::wstring text);

/// The paths of the present interfaces of class @p classGuid. A path that cannot be read is left out.
std::vector<std::wstring> presentInterfacePaths(const GUID& classGuid);

/// Finds the present device of class @p classGuid that has the interface path @p path. Writes the device's
/// identity and name into @p device.
/// @return false if there is no such device, if the device's properties cannot be read, if the device's bus
///         is neither USB nor HID, or if the device's vendor or product identifier is 0.
[[nodiscard]] bool readDeviceProperties(const std::wstring& path, DeviceInstance& device,
                                        const GUID& classGuid);
