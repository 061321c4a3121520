// The drivers of a bus whose devices a program simulates: the bus driver, and the HID minidriver for the
// devices. They are for checks only: they do what Wine asks of a driver, have no power management, are never
// removed, and serve one program at a time.
#include "driver.h"

extern "C" NTSTATUS NTAPI DriverEntry(PDRIVER_OBJECT driver, PUNICODE_STRING registryPath)
{
    // Wine's path ends with a zero.
    return wcsstr(registryPath->Buffer, L"\\simhid") ? registerMinidriver(driver, registryPath)
                                                     : registerBus(driver);
}
