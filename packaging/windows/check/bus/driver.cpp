// Registers the two drivers of a bus whose devices a program simulates: the bus driver, and the HID
// minidriver for these devices. The drivers are for checks only: they do what Wine asks of a driver, have no
// power management, are never removed, and serve one program at a time.
#include "driver.h"

extern "C" NTSTATUS NTAPI DriverEntry(PDRIVER_OBJECT driver, PUNICODE_STRING registryPath)
{
    // wcsstr() may search this path, because under Wine it ends with a zero.
    return wcsstr(registryPath->Buffer, L"\\simhid") ? registerMinidriver(driver, registryPath)
                                                     : registerBus(driver);
}
