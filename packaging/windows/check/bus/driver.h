#pragma once

#include "busprotocol.h"
#include "kernel.h"

// One module contains two drivers: the bus's, and the minidriver between its devices and the HID class
// driver.

NTSTATUS registerBus(PDRIVER_OBJECT driver);
NTSTATUS registerMinidriver(PDRIVER_OBJECT driver, PUNICODE_STRING registryPath);

/// A port for one HID interface. The lock of the bus guards it.
struct Port
{
    PDEVICE_OBJECT device; ///< null while nothing is plugged in
    bool isPresent;        ///< false after unplugging, while the system removes the device
    BusProtocol::Plug plug;
    LIST_ENTRY
        transfers;  ///< those that the program has not got yet, linked by their list entries for drivers
    PIRP handedOut; ///< the transfer that the program is answering

    // Pending requests of the program.
    PIRP change; ///< plug or unplug
    PIRP next;
};

enum class Role { Bus, Control, Child };

/// The first member of the extension of every device object of the bus's driver.
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

// Requests of the program.
NTSTATUS controlRequest(BusExtension* bus, PIRP irp);
void unplugAll(BusExtension* bus);

/// Takes the pending request out of @p slot. The caller holds the lock.
/// @return null if there is none, or if it is being cancelled.
PIRP takeWaiting(PIRP& slot);

/// Passes the first waiting transfer to the program, if the program waits for one. The caller holds the lock.
/// @return the program's request, which the caller completes with a Request after it released the lock; or
/// null.
PIRP handOut(Port& port);
