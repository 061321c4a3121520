// Implements the driver of the simulated bus. The driver reports to the system which devices are plugged in.
#include "driver.h"

namespace {

NTSTATUS passDown(const BusExtension* bus, PIRP irp)
{
    IoSkipCurrentIrpStackLocation(irp);
    return IoCallDriver(bus->lower, irp);
}

NTSTATUS reportDevices(BusExtension* bus, PIRP irp)
{
    auto* const relations = static_cast<PDEVICE_RELATIONS>(
        ExAllocatePool(PagedPool, sizeof(DEVICE_RELATIONS) + BusProtocol::ports * sizeof(PDEVICE_OBJECT)));
    if (!relations)
        return complete(irp, STATUS_INSUFFICIENT_RESOURCES);
    relations->Count = 0;
    {
        const ScopedLock guard(bus);
        for (const Port& port : bus->ports) {
            if (!port.isPresent)
                continue;
            ObReferenceObject(port.device);
            relations->Objects[relations->Count++] = port.device;
        }
    }
    irp->IoStatus.Status = STATUS_SUCCESS;
    irp->IoStatus.Information = reinterpret_cast<ULONG_PTR>(relations);
    return passDown(bus, irp);
}

NTSTATUS NTAPI plugAndPlay(PDEVICE_OBJECT device, PIRP irp)
{
    Extension* const extension = extensionOf(device);
    if (extension->port)
        return childPlugAndPlay(extension, irp);

    BusExtension* const bus = extension->bus;
    const IO_STACK_LOCATION* const location = IoGetCurrentIrpStackLocation(irp);
    if (location->MinorFunction == IRP_MN_QUERY_DEVICE_RELATIONS &&
        location->Parameters.QueryDeviceRelations.Type == BusRelations)
        return reportDevices(bus, irp);
    return passDown(bus, irp);
}

/// Creates the bus's control device, which programs open.
NTSTATUS createControl(PDRIVER_OBJECT driver, BusExtension* bus)
{
    UNICODE_STRING name;
    UNICODE_STRING link;
    RtlInitUnicodeString(&name, BusProtocol::deviceName);
    RtlInitUnicodeString(&link, BusProtocol::linkName);
    PDEVICE_OBJECT control = nullptr;
    const NTSTATUS status =
        IoCreateDevice(driver, sizeof(Extension), &name, FILE_DEVICE_UNKNOWN, 0, FALSE, &control);
    if (!NT_SUCCESS(status))
        return status;
    extensionOf(control)->bus = bus;
    control->Flags |= DO_BUFFERED_IO;
    control->Flags &= ~DO_DEVICE_INITIALIZING;
    return IoCreateSymbolicLink(&link, &name);
}

NTSTATUS NTAPI addDevice(PDRIVER_OBJECT driver, PDEVICE_OBJECT physical)
{
    PDEVICE_OBJECT device = nullptr;
    NTSTATUS status =
        IoCreateDevice(driver, sizeof(BusExtension), nullptr, FILE_DEVICE_BUS_EXTENDER, 0, FALSE, &device);
    if (!NT_SUCCESS(status))
        return status;
    auto* const bus = static_cast<BusExtension*>(device->DeviceExtension);
    bus->bus = bus;
    bus->self = device;
    bus->physical = physical;
    KeInitializeSpinLock(&bus->lock);
    for (Port& port : bus->ports)
        InitializeListHead(&port.transfers);
    status = createControl(driver, bus);
    if (!NT_SUCCESS(status))
        return status;
    bus->lower = IoAttachDeviceToDeviceStack(device, physical);
    device->Flags &= ~DO_DEVICE_INITIALIZING;
    return STATUS_SUCCESS;
}

} // namespace

NTSTATUS complete(PIRP irp, NTSTATUS status, ULONG_PTR information)
{
    irp->IoStatus.Status = status;
    irp->IoStatus.Information = information;
    IoCompleteRequest(irp, IO_NO_INCREMENT);
    return status;
}

NTSTATUS registerBus(PDRIVER_OBJECT driver)
{
    driver->MajorFunction[IRP_MJ_PNP] = plugAndPlay;
    driver->MajorFunction[IRP_MJ_INTERNAL_DEVICE_CONTROL] = childTransfer;
    driver->MajorFunction[IRP_MJ_DEVICE_CONTROL] = controlRequest;
    driver->MajorFunction[IRP_MJ_CREATE] = openControl;
    driver->MajorFunction[IRP_MJ_CLOSE] = closeControl;
    driver->DriverExtension->AddDevice = addDevice;
    return STATUS_SUCCESS;
}
