#pragma once

// Declares the interface between the HID class driver and its minidrivers, because mingw-w64 has no header
// for it. The Windows driver documentation describes this interface ("HID minidriver structures", "HID
// minidriver IOCTLs").
#include "kernel.h"

struct HID_DEVICE_EXTENSION
{
    PDEVICE_OBJECT PhysicalDeviceObject;
    PDEVICE_OBJECT NextDeviceObject;
    PVOID MiniDeviceExtension;
};

struct HID_MINIDRIVER_REGISTRATION
{
    ULONG Revision;
    PDRIVER_OBJECT DriverObject;
    PUNICODE_STRING RegistryPath;
    ULONG DeviceExtensionSize;
    BOOLEAN DevicesArePolled;
    UCHAR Reserved[3];
};

struct HID_DEVICE_ATTRIBUTES
{
    ULONG Size;
    USHORT VendorID;
    USHORT ProductID;
    USHORT VersionNumber;
    USHORT Reserved[11];
};

/// HID 1.11 section 6.2.1.
#pragma pack(push, 1)
struct HID_DESCRIPTOR
{
    UCHAR bLength;
    UCHAR bDescriptorType;
    USHORT bcdHID;
    UCHAR bCountry;
    UCHAR bNumDescriptors;
    UCHAR bReportType;
    USHORT wReportLength;
};
#pragma pack(pop)

#define IOCTL_HID_GET_DEVICE_DESCRIPTOR HID_CTL_CODE(0)
#define IOCTL_HID_GET_REPORT_DESCRIPTOR HID_CTL_CODE(1)
#define IOCTL_HID_GET_DEVICE_ATTRIBUTES HID_CTL_CODE(9)

extern "C" NTSTATUS NTAPI HidRegisterMinidriver(HID_MINIDRIVER_REGISTRATION* registration);
