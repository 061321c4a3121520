// detectorcheck NUMBER: waits until the system has NUMBER HID interfaces, then runs the detector for all of
// them and prints its reports. Starts and stops the detector 100 more times and prints the numbers of handles
// and threads before and after. Exit status 0 if all runs complete and both numbers are unchanged.
#include <atomic>
#include <cstdio>
#include <cwchar>

#include <windows.h>

#include <setupapi.h>
extern "C" {
#include <hidsdi.h>
}

#include "devicedetector.h"
#include "devicedetectorlistener.h"
#include "possessions.h"

namespace {

constexpr int warmUpRounds = 3;
constexpr int rounds = 100;
constexpr DWORD timeLimitMs = 60000;
constexpr DWORD pollMs = 50;
constexpr DeviceId anyHidInterface{0, 0, InterfaceKind::Hid};

DWORD presentHidInterfaces()
{
    GUID hidClass;
    HidD_GetHidGuid(&hidClass);
    const HDEVINFO set =
        SetupDiGetClassDevsW(&hidClass, nullptr, nullptr, DIGCF_PRESENT | DIGCF_DEVICEINTERFACE);
    SP_DEVICE_INTERFACE_DATA data{};
    data.cbSize = sizeof(data);
    DWORD count = 0;
    while (SetupDiEnumDeviceInterfaces(set, nullptr, &hidClass, count, &data))
        ++count;
    SetupDiDestroyDeviceInfoList(set);
    return count;
}

/// Waits until there are @p number HID interfaces: a system finds its devices some time after its start.
bool waitForHidInterfaces(DWORD number)
{
    for (const DWORD start = GetTickCount(); GetTickCount() - start < timeLimitMs; Sleep(pollMs)) {
        if (presentHidInterfaces() == number)
            return true;
    }
    return false;
}

class Reports final : public DeviceDetectorListener
{
public:
    Reports() = default;
    Reports(const Reports&) = delete;
    Reports& operator=(const Reports&) = delete;
    ~Reports() { CloseHandle(completeEvent); }

    void deviceArrived(DeviceInstance* device) override
    {
        ++arrivals;
        std::printf("arrived: %04X:%04X %ls\n", device->vendorId, device->productId, device->path.c_str());
    }
    void deviceEnumerationComplete(std::size_t count) override
    {
        known = count;
        SetEvent(completeEvent);
    }
    bool waitComplete() const { return WaitForSingleObject(completeEvent, timeLimitMs) == WAIT_OBJECT_0; }

    std::atomic<int> arrivals{0};
    std::atomic<std::size_t> known{0};

private:
    HANDLE completeEvent = CreateEventW(nullptr, FALSE, FALSE, nullptr);
};

bool runOnce(DeviceDetector& detector, Reports& reports)
{
    const bool complete = detector.start(&reports, &anyHidInterface, 1) && reports.waitComplete();
    detector.stop();
    return complete;
}

} // namespace

int wmain(int argc, wchar_t* argv[])
{
    if (argc != 2 || !waitForHidInterfaces(std::wcstoul(argv[1], nullptr, 0))) {
        std::printf("There are %lu HID interfaces.\n", presentHidInterfaces());
        return 1;
    }

    Reports reports;
    DeviceDetector* const detector = createDeviceDetector();
    if (!runOnce(*detector, reports)) {
        std::printf("The enumeration did not complete.\n");
        return 1;
    }
    std::printf("complete: %d arrivals, %d known\n", reports.arrivals.load(),
                static_cast<int>(reports.known));

    for (int round = 0; round < warmUpRounds; ++round)
        static_cast<void>(runOnce(*detector, reports));
    const Possessions before = possessionsOf(GetCurrentProcessId());
    int completed = 0;
    for (int round = 0; round < rounds; ++round)
        completed += runOnce(*detector, reports) ? 1 : 0;
    const Possessions after = possessionsOf(GetCurrentProcessId());
    destroyDeviceDetector(detector);

    std::printf("%d of %d further rounds complete\n", completed, rounds);
    std::printf("handles: %lu, then %lu\nthreads: %lu, then %lu\n", before.handles, after.handles,
                before.threads, after.threads);
    const bool known = before.handles != 0 && before.threads != 0;
    const bool same = before.handles == after.handles && before.threads == after.threads;
    return completed == rounds && known && same ? 0 : 1;
}
