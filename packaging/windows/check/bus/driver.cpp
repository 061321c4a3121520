// Registers the two drivers of the simulated bus: the bus driver, and the HID minidriver for the devices on
// the bus. The drivers are for checks under Wine only. They have no power management, are never removed, and
// serve one program at a time.
#include "driver.h"

extern "C" NTSTATUS NTAPI DriverEntry(PDRIVER_OBJECT driver, PUNICODE_STRING registryPath)
{
    // wcsstr() needs a zero at the end of the path. Under Wine the path has this zero.
    return wcsstr(registryPath->Buffer, L"\\simhid") ? registerMinidriver(driver, registryPath)
                                                     : registerBus(driver);
}
