// A bus on which a program plugs in devices, and the HID minidriver for them. For checks only: it does what
// Wine asks of a driver, without power management, for one program at a time.
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
