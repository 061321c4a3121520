#pragma once

#include "busprotocol.h"
#include "kernel.h"

// Declares the two drivers in this module: the bus driver, and the HID minidriver, which connects the bus's
// devices to the HID class driver.

NTSTATUS registerBus(PDRIVER_OBJECT driver);
NTSTATUS registerMinidriver(PDRIVER_OBJECT driver, PUNICODE_STRING registryPath);

/// A port for one HID interface. BusExtension::lock guards the port.
struct Port
{
    PDEVICE_OBJECT device; ///< null while nothing is plugged in
    bool isPresent;        ///< false after unplugging, while the system removes the device
    BusProtocol::Plug plug;
    LIST_ENTRY transfers; ///< transfers not yet passed to the program; linked by Tail.Overlay.ListEntry
    PIRP handedOut;       ///< the transfer that the program is answering

    // Pending requests of the program that simulates the devices.
    PIRP change; ///< completes when the system has started or removed the device
    PIRP next;   ///< completes when there is a next transfer
};

/// The extension of every device object of the bus driver starts with these members.
struct Extension
{
    struct BusExtension* bus;
    Port* port; ///< the port that the device is plugged into; null for the bus and for its control device
};

inline Extension* extensionOf(PDEVICE_OBJECT device)
{
    return static_cast<Extension*>(device->DeviceExtension);
}

struct BusExtension : Extension
{
    PDEVICE_OBJECT self;
    PDEVICE_OBJECT physical;
    PDEVICE_OBJECT lower;
    KSPIN_LOCK lock;
    Port ports[BusProtocol::ports];
};

class ScopedLock
{
public:
    explicit ScopedLock(BusExtension* bus)
        : lock(&bus->lock)
    {
        KeAcquireSpinLock(lock, &level);
    }
    ~ScopedLock() { KeReleaseSpinLock(lock, level); }
    ScopedLock(const ScopedLock&) = delete;
    ScopedLock& operator=(const ScopedLock&) = delete;

private:
    KSPIN_LOCK* lock;
    KIRQL level;
};

NTSTATUS complete(PIRP irp, NTSTATUS status, ULONG_PTR information = 0);

// These functions handle requests to a device that is plugged in.
NTSTATUS childPlugAndPlay(Extension* child, PIRP irp);
NTSTATUS NTAPI childTransfer(PDEVICE_OBJECT device, PIRP irp);

// These functions handle requests of the program that simulates the devices.
NTSTATUS NTAPI openControl(PDEVICE_OBJECT device, PIRP irp);
NTSTATUS NTAPI controlRequest(PDEVICE_OBJECT device, PIRP irp);
/// Empties all ports and cancels the pending answerCode requests. Wine calls this function as soon as the
/// program has closed its handle, even while these requests are pending.
NTSTATUS NTAPI closeControl(PDEVICE_OBJECT device, PIRP irp);

/// Copies the first waiting transfer of the port into the program's pending answerCode request, as a Request.
/// Does nothing if no transfer is waiting or no answerCode request is pending. The caller holds the lock.
/// @return the answerCode request, which the caller must complete after releasing the lock. Null if the
/// function did nothing.
PIRP handOut(Port& port);
