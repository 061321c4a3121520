#pragma once

#include "busprotocol.h"
#include "kernel.h"

// One module serves as two drivers: the bus's, and the one that gives its devices to the HID class driver.

NTSTATUS registerBus(PDRIVER_OBJECT driver);
NTSTATUS registerMinidriver(PDRIVER_OBJECT driver, PUNICODE_STRING registryPath);

/// Where one HID interface is plugged in. The lock of the bus guards it.
struct Port
{
    PDEVICE_OBJECT device; ///< null while nothing is plugged in
    bool isPresent;        ///< false once it was unplugged, until the system has let go of it
    BusProtocol::Plug plug;
    LIST_ENTRY transfers; ///< not handed out yet, by their list entries for drivers
    PIRP handedOut;       ///< the transfer that the program works on

    // Requests of the program that wait.
    PIRP change; ///< plug or unplug
    PIRP next;
};

enum class Role { Bus, Control, Child };

/// Begins the extension of every device object of the bus's driver.
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
    PDEVICE_OBJECT control; ///< what programs open
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

// What a device of the bus is asked.
NTSTATUS childPlugAndPlay(ChildExtension* child, PIRP irp);
NTSTATUS childTransfer(ChildExtension* child, PIRP irp);

// What the program asks.
NTSTATUS controlRequest(BusExtension* bus, PIRP irp);
void unplugAll(BusExtension* bus);

/// Takes a waiting request of the program out of @p slot, if it is there and not just being cancelled. The
/// lock is held.
PIRP takeWaiting(PIRP& slot);

/// Hands the first transfer that waits to the program, where that waits too. The lock is held.
/// @return the program's request, to be completed with a Request once the lock is released; or null.
PIRP handOut(Port& port);
