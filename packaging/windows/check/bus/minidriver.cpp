// Implements the HID minidriver, which passes every request of the class driver to the device on the bus.
#include "driver.h"
#include "hidport.h"

namespace {

NTSTATUS NTAPI passDown(PDEVICE_OBJECT device, PIRP irp)
{
    IoSkipCurrentIrpStackLocation(irp);
    return IoCallDriver(static_cast<HID_DEVICE_EXTENSION*>(device->DeviceExtension)->NextDeviceObject, irp);
}

NTSTATUS NTAPI addDevice(PDRIVER_OBJECT, PDEVICE_OBJECT)
{
    return STATUS_SUCCESS;
}

} // namespace

NTSTATUS registerMinidriver(PDRIVER_OBJECT driver, PUNICODE_STRING registryPath)
{
    driver->MajorFunction[IRP_MJ_INTERNAL_DEVICE_CONTROL] = passDown;
    driver->MajorFunction[IRP_MJ_PNP] = passDown;
    driver->DriverExtension->AddDevice = addDevice;

    HID_MINIDRIVER_REGISTRATION registration{};
    registration.Revision = HID_REVISION;
    registration.DriverObject = driver;
    registration.RegistryPath = registryPath;
    registration.DeviceExtensionSize = sizeof(HID_DEVICE_EXTENSION);
    registration.DevicesArePolled = TRUE; // otherwise Wine endlessly requests input reports that never come
    return HidRegisterMinidriver(&registration);
}
