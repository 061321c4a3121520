// Implements the functions of setupapi that enumerate devices, and the function of cfgmgr32 that waits for
// driver installations.

#include <setupapi.h>

#include <cfgmgr32.h>

#include <cstddef>
#include <cstring>
#include <string>
#include <vector>

#include "devicetree.h"
#include "handletable.h"
#include "lasterror.h"

namespace {

/// The nodes that were present when the device set was created. In the records that callers pass, `Reserved`
/// is the index of a node plus 1.
struct Nodes
{
    std::shared_ptr<const DeviceNode> element(ULONG_PTR number) const
    {
        if (number == 0 || number > nodes.size())
            return fail(ERROR_INVALID_PARAMETER);
        return nodes[number - 1];
    }

    GUID interfaceClass;
    std::vector<std::shared_ptr<const DeviceNode>> nodes;
};
using DeviceSet = ObjectWith<HandleObject, Nodes>;

/// @return the node that @p device refers to. If it refers to no node, sets the last error and returns null.
std::shared_ptr<const DeviceNode> nodeOf(HDEVINFO handle, const SP_DEVINFO_DATA* device)
{
    const auto set = HandleTable::get<DeviceSet>(handle);
    if (!set)
        return nullptr;
    if (device->cbSize != sizeof(*device))
        return fail(ERROR_INVALID_USER_BUFFER);
    return set->element(device->Reserved);
}

/// Copies @p text with its terminator to @p buffer. If the buffer is too small, sets the last error and
/// returns FALSE.
BOOL copyText(const std::wstring& text, void* buffer, std::size_t bufferBytes)
{
    const std::size_t bytes = (text.size() + 1) * sizeof(wchar_t);
    if (bytes > bufferBytes)
        return fail(ERROR_INSUFFICIENT_BUFFER);
    std::memcpy(buffer, text.c_str(), bytes);
    return TRUE;
}

/// @return the value of a registry property; empty if the node does not have the property. Each string of a
/// list ends with a null character. copyText() adds the null character that ends the list.
std::wstring propertyOf(const DeviceNode& node, DWORD property)
{
    switch (property) {
    case SPDRP_FRIENDLYNAME:
        return node.friendlyName;
    case SPDRP_DEVICEDESC:
        return node.description;
    case SPDRP_ENUMERATOR_NAME:
        return node.enumerator;
    case SPDRP_HARDWAREID: {
        std::wstring list;
        for (const std::wstring& id : node.hardwareIds)
            list.append(id).push_back(L'\0');
        return list;
    }
    default:
        return {};
    }
}

} // namespace

HDEVINFO WINAPI SetupDiGetClassDevsW(const GUID* classGuid, LPCWSTR enumerator, HWND, DWORD flags)
{
    if (!classGuid || enumerator || flags != (DIGCF_PRESENT | DIGCF_DEVICEINTERFACE))
        return fail(ERROR_INVALID_PARAMETER, INVALID_HANDLE_VALUE); // other kinds of set are not modelled
    if (!isServed(__func__))
        return INVALID_HANDLE_VALUE;
    return HandleTable::add(
        std::make_shared<DeviceSet>(Nodes{*classGuid, currentMachine().devices->presentNodes(*classGuid)}));
}

BOOL WINAPI SetupDiEnumDeviceInterfaces(HDEVINFO handle, PSP_DEVINFO_DATA device,
                                        const GUID* interfaceClassGuid, DWORD index,
                                        PSP_DEVICE_INTERFACE_DATA interfaceData)
{
    const auto set = HandleTable::get<DeviceSet>(handle);
    if (!set)
        return FALSE;
    if (device)
        return fail(ERROR_INVALID_PARAMETER); // an enumeration within one device is not modelled
    if (interfaceData->cbSize != sizeof(*interfaceData))
        return fail(ERROR_INVALID_USER_BUFFER);
    if (index >= set->nodes.size() || *interfaceClassGuid != set->interfaceClass)
        return fail(ERROR_NO_MORE_ITEMS);
    interfaceData->InterfaceClassGuid = set->interfaceClass;
    interfaceData->Flags = 0;
    interfaceData->Reserved = index + 1;
    return TRUE;
}

BOOL WINAPI SetupDiGetDeviceInterfaceDetailW(HDEVINFO handle, PSP_DEVICE_INTERFACE_DATA interfaceData,
                                             PSP_DEVICE_INTERFACE_DETAIL_DATA_W detail, DWORD detailSize,
                                             PDWORD requiredSize, PSP_DEVINFO_DATA device)
{
    const auto set = HandleTable::get<DeviceSet>(handle);
    if (!set)
        return FALSE;
    if (device)
        return fail(ERROR_INVALID_PARAMETER); // a query for the interface's device is not modelled
    if (interfaceData->cbSize != sizeof(*interfaceData) ||
        (detail ? detail->cbSize != sizeof(*detail) : detailSize != 0))
        return fail(ERROR_INVALID_USER_BUFFER);
    const auto node = set->element(interfaceData->Reserved);
    if (!node || !isServed(__func__))
        return FALSE;
    const std::size_t pathOffset = offsetof(SP_DEVICE_INTERFACE_DETAIL_DATA_W, DevicePath);
    const std::wstring path = enumeratedPath(node->interfacePath);
    const std::size_t bytes = pathOffset + (path.size() + 1) * sizeof(wchar_t);
    if (requiredSize)
        *requiredSize = static_cast<DWORD>(bytes);
    if (detailSize < bytes)
        return fail(ERROR_INSUFFICIENT_BUFFER);
    std::memcpy(reinterpret_cast<std::uint8_t*>(detail) + pathOffset, path.c_str(), bytes - pathOffset);
    return TRUE;
}

BOOL WINAPI SetupDiEnumDeviceInfo(HDEVINFO handle, DWORD index, PSP_DEVINFO_DATA device)
{
    const auto set = HandleTable::get<DeviceSet>(handle);
    if (!set)
        return FALSE;
    if (device->cbSize != sizeof(*device))
        return fail(ERROR_INVALID_USER_BUFFER);
    if (index >= set->nodes.size())
        return fail(ERROR_NO_MORE_ITEMS);
    device->ClassGuid = {};
    device->DevInst = index + 1;
    device->Reserved = index + 1;
    return TRUE;
}

BOOL WINAPI SetupDiGetDeviceInstanceIdW(HDEVINFO handle, PSP_DEVINFO_DATA device, LPWSTR instanceId,
                                        DWORD instanceIdSize, PDWORD requiredSize)
{
    if (requiredSize)
        return fail(ERROR_INVALID_PARAMETER); // a query for the required size is not modelled
    const auto node = nodeOf(handle, device);
    return node && isServed(__func__) &&
           copyText(node->instanceId, instanceId, instanceIdSize * sizeof(wchar_t));
}

BOOL WINAPI SetupDiGetDeviceRegistryPropertyW(HDEVINFO handle, PSP_DEVINFO_DATA device, DWORD property,
                                              PDWORD propertyRegDataType, PBYTE buffer, DWORD bufferSize,
                                              PDWORD requiredSize)
{
    if (propertyRegDataType || requiredSize)
        return fail(ERROR_INVALID_PARAMETER); // a query for the value's type or size is not modelled
    const auto node = nodeOf(handle, device);
    if (!node || !isServed(__func__))
        return FALSE;
    const std::wstring value = propertyOf(*node, property);
    return value.empty() ? fail(ERROR_INVALID_DATA) : copyText(value, buffer, bufferSize);
}

BOOL WINAPI SetupDiDestroyDeviceInfoList(HDEVINFO handle)
{
    return HandleTable::take<DeviceSet>(handle) != nullptr;
}

DWORD WINAPI CMP_WaitNoPendingInstallEvents(DWORD timeoutMs)
{
    if (!isServed(__func__))
        return WAIT_FAILED;
    return currentMachine().devices->waitInstallationSettled(timeoutMs) ? WAIT_OBJECT_0 : WAIT_TIMEOUT;
}
