// Answers the requests that the system and the HID minidriver send to a device of the bus.
#include <utility>

#include "driver.h"
#include "hidport.h"

namespace {

constexpr UCHAR hidDescriptorType = 0x21;
constexpr UCHAR reportDescriptorType = 0x22;
constexpr USHORT hidVersion = 0x0111;

/// Answers with a copy of @p id. The sender of the request frees the copy. The copy ends with two zeros, so
/// the copy is also valid as a list of strings.
NTSTATUS answerWithId(PIRP irp, const wchar_t* id)
{
    const SIZE_T length = wcslen(id);
    auto* const copy = static_cast<PWCHAR>(ExAllocatePool(PagedPool, (length + 2) * sizeof(wchar_t)));
    if (!copy)
        return complete(irp, STATUS_INSUFFICIENT_RESOURCES);
    RtlCopyMemory(copy, id, length * sizeof(wchar_t));
    copy[length] = copy[length + 1] = 0;
    return complete(irp, STATUS_SUCCESS, reinterpret_cast<ULONG_PTR>(copy));
}

NTSTATUS answerId(const Port& port, PIRP irp)
{
    switch (IoGetCurrentIrpStackLocation(irp)->Parameters.QueryId.IdType) {
    case BusQueryDeviceID:
        return answerWithId(irp, port.plug.deviceId);
    case BusQueryInstanceID:
        return answerWithId(irp, port.plug.instanceId);
    case BusQueryHardwareIDs:
    case BusQueryCompatibleIDs:
        return answerWithId(irp, BusProtocol::childHardwareId);
    default:
        return complete(irp, irp->IoStatus.Status);
    }
}

NTSTATUS answerCapabilities(PIRP irp)
{
    PDEVICE_CAPABILITIES capabilities =
        IoGetCurrentIrpStackLocation(irp)->Parameters.DeviceCapabilities.Capabilities;
    capabilities->UniqueID = TRUE;
    return complete(irp, STATUS_SUCCESS);
}

void completeChange(BusExtension* bus, Port& port)
{
    PIRP change = nullptr;
    {
        const ScopedLock guard(bus);
        change = std::exchange(port.change, nullptr);
    }
    if (change)
        complete(change, STATUS_SUCCESS);
}

void failTransfers(BusExtension* bus, Port& port)
{
    for (;;) {
        PIRP irp = nullptr;
        {
            const ScopedLock guard(bus);
            irp = std::exchange(port.handedOut, nullptr);
            if (!irp && !IsListEmpty(&port.transfers))
                irp = CONTAINING_RECORD(RemoveHeadList(&port.transfers), IRP, Tail.Overlay.ListEntry);
        }
        if (!irp)
            return;
        complete(irp, STATUS_DEVICE_NOT_CONNECTED);
    }
}

NTSTATUS remove(Extension* child, PIRP irp)
{
    BusExtension* const bus = child->bus;
    Port& port = *child->port;
    const PDEVICE_OBJECT device = port.device;
    failTransfers(bus, port);
    {
        const ScopedLock guard(bus);
        port.device = nullptr;
        port.isPresent = false;
    }
    complete(irp, STATUS_SUCCESS);
    IoDeleteDevice(device);
    completeChange(bus, port);
    return STATUS_SUCCESS;
}

/// Copies @p size bytes to the buffer that the class driver passed.
NTSTATUS answerWith(PIRP irp, const void* bytes, ULONG size)
{
    if (IoGetCurrentIrpStackLocation(irp)->Parameters.DeviceIoControl.OutputBufferLength < size)
        return complete(irp, STATUS_INVALID_BUFFER_SIZE);
    RtlCopyMemory(irp->UserBuffer, bytes, size);
    return complete(irp, STATUS_SUCCESS, size);
}

NTSTATUS answerDeviceDescriptor(const Port& port, PIRP irp)
{
    const HID_DESCRIPTOR descriptor{sizeof(descriptor),
                                    hidDescriptorType,
                                    hidVersion,
                                    0,
                                    1,
                                    reportDescriptorType,
                                    static_cast<USHORT>(port.plug.descriptorBytes)};
    return answerWith(irp, &descriptor, sizeof(descriptor));
}

NTSTATUS answerAttributes(const Port& port, PIRP irp)
{
    HID_DEVICE_ATTRIBUTES attributes{};
    attributes.Size = sizeof(attributes);
    attributes.VendorID = port.plug.vendorId;
    attributes.ProductID = port.plug.productId;
    attributes.VersionNumber = 0x0100;
    return answerWith(irp, &attributes, sizeof(attributes));
}

NTSTATUS queueTransfer(BusExtension* bus, Port& port, PIRP irp)
{
    PIRP ready = nullptr;
    bool isPresent = false;
    {
        const ScopedLock guard(bus);
        isPresent = port.isPresent;
        if (isPresent) {
            IoMarkIrpPending(irp);
            InsertTailList(&port.transfers, &irp->Tail.Overlay.ListEntry);
            ready = handOut(port);
        }
    }
    if (!isPresent)
        return complete(irp, STATUS_DEVICE_NOT_CONNECTED);
    if (ready)
        complete(ready, STATUS_SUCCESS, sizeof(BusProtocol::Request));
    return STATUS_PENDING;
}

} // namespace

NTSTATUS childPlugAndPlay(Extension* child, PIRP irp)
{
    switch (IoGetCurrentIrpStackLocation(irp)->MinorFunction) {
    case IRP_MN_QUERY_ID:
        return answerId(*child->port, irp);
    case IRP_MN_QUERY_CAPABILITIES:
        return answerCapabilities(irp);
    case IRP_MN_START_DEVICE:
        return complete(irp, STATUS_SUCCESS);
    case IRP_MN_REMOVE_DEVICE:
        return remove(child, irp);
    case IRP_MN_QUERY_DEVICE_RELATIONS:
        // The class driver has now created a device of its own. An earlier unplug request would not have
        // removed that device, so the plug request completes only now.
        completeChange(child->bus, *child->port);
        [[fallthrough]];
    default:
        return complete(irp, irp->IoStatus.Status, irp->IoStatus.Information);
    }
}

NTSTATUS NTAPI childTransfer(PDEVICE_OBJECT device, PIRP irp)
{
    Extension* const child = extensionOf(device);
    Port& port = *child->port;
    switch (IoGetCurrentIrpStackLocation(irp)->Parameters.DeviceIoControl.IoControlCode) {
    case IOCTL_HID_GET_DEVICE_DESCRIPTOR:
        return answerDeviceDescriptor(port, irp);
    case IOCTL_HID_GET_REPORT_DESCRIPTOR:
        return answerWith(irp, port.plug.descriptor, port.plug.descriptorBytes);
    case IOCTL_HID_GET_DEVICE_ATTRIBUTES:
        return answerAttributes(port, irp);
    case IOCTL_HID_SET_FEATURE:
    case IOCTL_HID_GET_FEATURE:
        return queueTransfer(child->bus, port, irp);
    default:
        return complete(irp, STATUS_NOT_SUPPORTED);
    }
}
