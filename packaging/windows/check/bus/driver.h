#pragma once

#include "busprotocol.h"
#include "kernel.h"

// One module contains two drivers: the bus driver, and the minidriver between the bus's devices and the HID
// class driver.

NTSTATUS registerBus(PDRIVER_OBJECT driver);
NTSTATUS registerMinidriver(PDRIVER_OBJECT driver, PUNICODE_STRING registryPath);

/// A port for one HID interface. BusExtension::lock guards it.
struct Port
{
    PDEVICE_OBJECT device; ///< null while nothing is plugged in
    bool isPresent;        ///< false after unplugging, while the system removes the device
    BusProtocol::Plug plug;
    LIST_ENTRY transfers; ///< not yet received by the program; linked by Tail.Overlay.ListEntry
    PIRP handedOut;       ///< the transfer that the program is answering

    // Pending requests of the program.
    PIRP change; ///< waits until the device is plugged or unplugged
    PIRP next;   ///< waits for the next transfer
};

enum class Role { Bus, Control, Child };

/// The extension of every device object of the bus driver starts with these members.
struct Extension
{
    Role role;
    struct BusExtension* bus;
};

struct BusExtension : Extension
{
    PDEVICE_OBJECT self;
    PDEVICE_OBJECT physical;
    PDEVICE_OBJECT lower;
    PDEVICE_OBJECT control; ///< the device that programs open
    KSPIN_LOCK lock;
    Port ports[BusProtocol::ports];
};

struct ChildExtension : Extension
{
    Port* port;
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

// Requests to a device of the bus.
NTSTATUS childPlugAndPlay(ChildExtension* child, PIRP irp);
NTSTATUS childTransfer(ChildExtension* child, PIRP irp);

// Requests of the program that simulates the devices.
NTSTATUS controlRequest(BusExtension* bus, PIRP irp);
void unplugAll(BusExtension* bus);

/// Takes the pending request out of @p slot. The caller holds the lock.
/// @return the request; null if there is none, or if it is being cancelled.
PIRP takePending(PIRP& slot);

/// Passes the first waiting transfer to the program, if the program waits for one. The caller holds the lock.
/// @return the program's request, filled with a Request; the caller completes it after releasing the lock.
/// Null if there is no transfer or no request.
PIRP handOut(Port& port);
