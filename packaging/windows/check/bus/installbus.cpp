// installbus INF: creates the root-enumerated device of the simulated bus and installs the drivers of the INF
// file for this device. The exit status is 0 if the bus can be opened afterwards.
#include <cstdio>
#include <cwchar>
#include <iterator>

#include <windows.h>

#include <initguid.h>

#include <devguid.h>
#include <newdev.h>
#include <setupapi.h>

#include "busprotocol.h"

namespace {

constexpr DWORD timeLimitMs = 20000;
constexpr DWORD pollMs = 50;

int failed(const char* step)
{
    std::printf("%s failed with error %lu\n", step, GetLastError());
    return 1;
}

bool createDevice()
{
    // A list of strings ends with two zeros: the first ends the last string, the second ends the list.
    wchar_t hardwareIds[std::size(BusProtocol::busHardwareId) + 1]{};
    std::wmemcpy(hardwareIds, BusProtocol::busHardwareId, std::size(BusProtocol::busHardwareId));
    // The system destroys this set of devices when the program ends.
    const HDEVINFO set = SetupDiCreateDeviceInfoList(&GUID_DEVCLASS_HIDCLASS, nullptr);
    SP_DEVINFO_DATA device{};
    device.cbSize = sizeof(device);
    return SetupDiCreateDeviceInfoW(set, L"SimulatedBus", &GUID_DEVCLASS_HIDCLASS, nullptr, nullptr,
                                    DICD_GENERATE_ID, &device) &&
           SetupDiSetDeviceRegistryPropertyW(set, &device, SPDRP_HARDWAREID,
                                             reinterpret_cast<const BYTE*>(hardwareIds),
                                             sizeof(hardwareIds)) &&
           SetupDiCallClassInstaller(DIF_REGISTERDEVICE, set, &device);
}

bool waitForBus()
{
    for (const DWORD start = GetTickCount(); GetTickCount() - start < timeLimitMs; Sleep(pollMs)) {
        const HANDLE bus = CreateFileW(BusProtocol::path, GENERIC_READ | GENERIC_WRITE, 0, nullptr,
                                       OPEN_EXISTING, 0, nullptr);
        if (bus == INVALID_HANDLE_VALUE)
            continue;
        CloseHandle(bus);
        return true;
    }
    return false;
}

} // namespace

int wmain(int argc, wchar_t* argv[])
{
    wchar_t inf[MAX_PATH]{};
    if (argc != 2 || GetFullPathNameW(argv[1], MAX_PATH, inf, nullptr) == 0)
        return failed("Reading the arguments");
    if (!createDevice())
        return failed("Creating the bus");
    BOOL needsReboot = FALSE;
    if (!UpdateDriverForPlugAndPlayDevicesW(nullptr, BusProtocol::busHardwareId, inf, INSTALLFLAG_FORCE,
                                            &needsReboot))
        return failed("Installing the drivers");
    return waitForBus() ? 0 : failed("Opening the bus");
}
