// The drivers of a bus whose devices a program simulates: the bus driver, and the HID minidriver for the
// devices. They are for checks only: they do what Wine asks of a driver, have no power management, and serve
// one program at a time.
#include "driver.h"

namespace {

bool endsWith(const UNICODE_STRING& text, const wchar_t* end)
{
    const ULONG endLength = static_cast<ULONG>(wcslen(end));
    const ULONG length = text.Length / sizeof(wchar_t);
    return length >= endLength && _wcsnicmp(text.Buffer + length - endLength, end, endLength) == 0;
}

void NTAPI unload(PDRIVER_OBJECT) {}

} // namespace

extern "C" NTSTATUS NTAPI DriverEntry(PDRIVER_OBJECT driver, PUNICODE_STRING registryPath)
{
    driver->DriverUnload = unload;
    return endsWith(*registryPath, L"\\simhid") ? registerMinidriver(driver, registryPath)
                                                : registerBus(driver);
}
