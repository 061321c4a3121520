#pragma once

#include <string>
#include <vector>

#include <windows.h>

#include "deviceinstance.h"

/// The class GUID of an interface kind; all zero for InterfaceKind::None.
GUID interfaceClassGuid(InterfaceKind kind);

/// @p text with its ASCII letters in lower case, as interface paths are compared.
std::wstring toLowerAscii(std::wstring text);

/// The paths of the present interfaces of class @p classGuid; those that cannot be read are left out.
std::vector<std::wstring> presentInterfacePaths(const GUID& classGuid);

/// Looks up the present device of class @p classGuid whose interface has @p path and fills in its
/// identity and name.
/// @return false if there is none, its properties cannot be read, its bus is neither USB nor HID, or an
///         identifier is 0.
[[nodiscard]] bool readDeviceProperties(const std::wstring& path, DeviceInstance& device,
                                        const GUID& classGuid);
