#include "devicedetectorwindows.h"

#include <algorithm>
#include <cwchar>

#include <cfgmgr32.h>

#include "devicedetectorlistener.h"
#include "presentdevices_p.h"

namespace {

constexpr wchar_t windowClassName[] = L"{6D2A90E4-3B7C-4E15-A8D2-0C57F1B94E63}";
constexpr DWORD installationWaitMs = 1000;

// Windows checks the sizes of the structures below. The numbers are their sizes on 32-bit Windows.
constexpr bool on32BitWindows = sizeof(void*) == 4 && sizeof(wchar_t) == 2;
static_assert(!on32BitWindows || sizeof(DEV_BROADCAST_DEVICEINTERFACE_W) == 32);
static_assert(!on32BitWindows || sizeof(DEV_BROADCAST_HANDLE) == 44);

void closeAndForget(HANDLE& handle)
{
    if (handle)
        CloseHandle(handle);
    handle = nullptr;
}

void joinAndForget(HANDLE& thread)
{
    WaitForSingleObject(thread, INFINITE);
    closeAndForget(thread);
}

} // namespace

DeviceDetector* createDeviceDetector()
{
    return new DeviceDetectorWindows;
}

void destroyDeviceDetector(DeviceDetector* detector)
{
    delete detector;
}

DeviceDetectorWindows::~DeviceDetectorWindows()
{
    DeviceDetectorWindows::stop();
}

bool DeviceDetectorWindows::start(DeviceDetectorListener* reportTo, const DeviceId* ids, unsigned int count)
{
    if (notificationThreadHandle)
        return true;
    if (!reportTo || !ids || count == 0)
        return false;
    listener = reportTo;
    {
        const Guard guard(lock); // a worker thread left over from a failed start may read the filters
        filters.assign(ids, ids + count);
    }
    started = false;
    for (HANDLE* event : {&readyEvent, &stopEvent, &workEvent}) {
        if (!*event)
            *event = CreateEventW(nullptr, FALSE, FALSE, nullptr); // auto-reset
        if (!*event)
            return false;
    }
    notificationThreadHandle =
        CreateThread(nullptr, 0, runNotificationThread, this, 0, &notificationThreadId);
    if (!notificationThreadHandle)
        return false;
    if (!workerThreadHandle)
        workerThreadHandle = CreateThread(nullptr, 0, runWorkerThread, this, 0, nullptr);
    // Even without a worker thread, waits until the notification thread is ready. Its message queue must
    // exist before stop() below posts WM_QUIT.
    WaitForSingleObject(readyEvent, INFINITE);
    if (!started)
        joinAndForget(notificationThreadHandle);
    else if (!workerThreadHandle)
        stop();
    return notificationThreadHandle != nullptr;
}

void DeviceDetectorWindows::stop()
{
    if (notificationThreadHandle) {
        PostThreadMessageW(notificationThreadId, WM_QUIT, 0, 0);
        joinAndForget(notificationThreadHandle);
    }
    closeAndForget(readyEvent);
    if (workerThreadHandle) {
        SetEvent(stopEvent);
        joinAndForget(workerThreadHandle);
    }
    closeAndForget(stopEvent);
    closeAndForget(workEvent);
    const Guard guard(lock);
    knownDevices.clear();
    removedDevices.clear();
}

void DeviceDetectorWindows::forget(DeviceInstance* removed)
{
    const Guard guard(lock);
    removedDevices.erase(removed);
}

DWORD WINAPI DeviceDetectorWindows::runNotificationThread(LPVOID detector)
{
    static_cast<DeviceDetectorWindows*>(detector)->notificationThread();
    return 0;
}

DWORD WINAPI DeviceDetectorWindows::runWorkerThread(LPVOID detector)
{
    static_cast<DeviceDetectorWindows*>(detector)->workerThread();
    return 0;
}

void DeviceDetectorWindows::notificationThread()
{
    started = setUpNotifications();
    SetEvent(readyEvent);
    if (!started)
        return;
    unsigned int queued = 0;
    {
        const Guard guard(lock);
        queued = enumerateInterfaces();
        arrivalQueue.push_back({});
    }
    // If no device is present, nothing wakes the worker, so this thread reports completion. The end marker
    // stays queued. After the next arrival or removal the detector handles the marker and reports
    // completion again.
    if (queued == 0)
        listener->deviceEnumerationComplete(0);
    MSG message;
    while (GetMessageW(&message, nullptr, 0, 0) > 0)
        DispatchMessageW(&message);
    tearDownNotifications();
}

bool DeviceDetectorWindows::setUpNotifications()
{
    const HINSTANCE module = GetModuleHandleW(nullptr);
    WNDCLASSW windowClass = {};
    if (!GetClassInfoW(module, windowClassName, &windowClass)) {
        windowClass = {};
        windowClass.lpfnWndProc = windowProcedure;
        windowClass.cbWndExtra = sizeof(LONG_PTR); // room for the detector's address
        windowClass.hInstance = module;
        windowClass.lpszClassName = windowClassName;
        if (!RegisterClassW(&windowClass))
            return false;
    }
    window = CreateWindowExW(0, windowClassName, nullptr, 0, 0, 0, 0, 0, nullptr, nullptr, module, nullptr);
    if (!window)
        return false;
    if (!registerInterfaces()) {
        DestroyWindow(window);
        window = nullptr;
        return false;
    }
    SetWindowLongPtrW(window, 0, reinterpret_cast<LONG_PTR>(this));
    return true;
}

/// @return whether at least one interface class is registered.
bool DeviceDetectorWindows::registerInterfaces()
{
    const Guard guard(lock);
    for (const DeviceId& id : filters) {
        DEV_BROADCAST_DEVICEINTERFACE_W filter = {};
        filter.dbcc_size = sizeof(filter);
        filter.dbcc_devicetype = DBT_DEVTYP_DEVICEINTERFACE;
        filter.dbcc_classguid = interfaceClassGuid(id.interfaceKind);
        if (interfaceNotifications.count(filter.dbcc_classguid))
            continue;
        DeviceNotification notification(
            RegisterDeviceNotificationW(window, &filter, DEVICE_NOTIFY_WINDOW_HANDLE));
        if (notification)
            interfaceNotifications[filter.dbcc_classguid] = std::move(notification);
    }
    return !interfaceNotifications.empty();
}

void DeviceDetectorWindows::tearDownNotifications()
{
    const Guard guard(lock); // the worker may still read interfaceNotifications
    interfaceNotifications.clear();
    handleNotifications.clear();
    DestroyWindow(window);
    window = nullptr;
}

unsigned int DeviceDetectorWindows::enumerateInterfaces()
{
    unsigned int queued = 0;
    for (const auto& [classGuid, notification] : interfaceNotifications) {
        for (std::wstring& path : presentInterfacePaths(classGuid)) {
            arrivalQueue.push_back({classGuid, std::move(path)});
            ++queued;
        }
    }
    if (!arrivalQueue.empty())
        SetEvent(workEvent);
    return queued;
}

LRESULT CALLBACK DeviceDetectorWindows::windowProcedure(HWND window, UINT message, WPARAM wParam,
                                                        LPARAM lParam)
{
    auto* const detector = reinterpret_cast<DeviceDetectorWindows*>(GetWindowLongPtrW(window, 0));
    if (detector && message == WM_DEVICECHANGE)
        detector->deviceChange(wParam, reinterpret_cast<const DEV_BROADCAST_HDR*>(lParam));
    return DefWindowProcW(window, message, wParam, lParam);
}

void DeviceDetectorWindows::deviceChange(WPARAM event, const DEV_BROADCAST_HDR* header)
{
    if (event < DBT_DEVICEARRIVAL || event > DBT_DEVICEREMOVECOMPLETE || !header)
        return;
    const Guard guard(broadcastInProgress);
    if (header->dbch_devicetype == DBT_DEVTYP_DEVICEINTERFACE)
        interfaceChange(event, *reinterpret_cast<const DEV_BROADCAST_DEVICEINTERFACE_W*>(header));
    else if (header->dbch_devicetype == DBT_DEVTYP_HANDLE)
        handleChange(event, *reinterpret_cast<const DEV_BROADCAST_HANDLE*>(header));
}

void DeviceDetectorWindows::interfaceChange(WPARAM event, const DEV_BROADCAST_DEVICEINTERFACE_W& broadcast)
{
    if (event == DBT_DEVICEARRIVAL) {
        {
            const Guard guard(lock);
            arrivalQueue.push_back({broadcast.dbcc_classguid, broadcast.dbcc_name});
        }
        SetEvent(workEvent);
    } else if (event == DBT_DEVICEREMOVECOMPLETE) {
        const Guard guard(lock);
        removeDevice(broadcast.dbcc_name);
    }
}

void DeviceDetectorWindows::workerThread()
{
    const HANDLE events[] = {stopEvent, workEvent};
    for (;;) {
        // The thread also ends if the wait fails, because every further wait would fail at once.
        const DWORD result = WaitForMultipleObjects(2, events, FALSE, INFINITE);
        if (result != WAIT_OBJECT_0 + 1 || !waitInstallationSettled())
            return;
        examineArrivals();
    }
}

/// Waits until no driver installation is pending.
/// @return false if the detector stops meanwhile.
bool DeviceDetectorWindows::waitInstallationSettled()
{
    while (CMP_WaitNoPendingInstallEvents(installationWaitMs) == WAIT_TIMEOUT) {
        if (WaitForSingleObject(stopEvent, 0) == WAIT_OBJECT_0)
            return false;
    }
    return true;
}

void DeviceDetectorWindows::examineArrivals()
{
    while (examineArrival())
        waitForBroadcast();
}

/// Waits until a broadcast in progress is handled. Without this wait a broadcast could be held up by the
/// whole queue, because a thread that releases a critical section can take it again before a waiting thread.
void DeviceDetectorWindows::waitForBroadcast()
{
    const Guard guard(broadcastInProgress);
}

/// Examines the first arrival in the queue.
/// @return false if the queue is empty.
bool DeviceDetectorWindows::examineArrival()
{
    std::size_t count = 0;
    {
        const Guard guard(lock);
        if (arrivalQueue.empty())
            return false;
        const PendingArrival arrival = arrivalQueue.front();
        if (!arrival.isEndOfEnumeration())
            addDevice(arrival);
        arrivalQueue.erase(arrivalQueue.begin());
        if (!arrival.isEndOfEnumeration())
            return true;
        count = knownDevices.size();
    }
    listener->deviceEnumerationComplete(count);
    return true;
}

void DeviceDetectorWindows::addDevice(const PendingArrival& arrival)
{
    const std::wstring key = toLowerAscii(arrival.path);
    if (knownDevices.count(key))
        return;
    auto device = std::make_unique<DeviceInstance>();
    if (!readDeviceProperties(arrival.path, *device, arrival.classGuid) || !isWanted(*device))
        return;
    device->path = key;
    DeviceInstance* const reported = device.get();
    knownDevices[key] = std::move(device);
    listener->deviceArrived(reported);
}

bool DeviceDetectorWindows::isWanted(const DeviceInstance& device) const
{
    for (const DeviceId& filter : filters) {
        const GUID classGuid = interfaceClassGuid(filter.interfaceKind);
        if (interfaceNotifications.count(classGuid) != 0 &&
            (filter.vendorId == 0 || filter.vendorId == device.vendorId) &&
            (filter.productId == 0 || filter.productId == device.productId) &&
            (classGuid == GUID{} || filter.interfaceKind == device.interfaceKind))
            return true;
    }
    return false;
}

void DeviceDetectorWindows::removeDevice(const std::wstring& path)
{
    const auto known = knownDevices.find(toLowerAscii(path));
    if (known != knownDevices.end()) {
        DeviceInstance* const device = known->second.get();
        handleNotifications.removeAllOf(device);
        listener->deviceRemoved(device);
        removedDevices[device] = std::move(known->second);
        knownDevices.erase(known);
    }
    const auto queued =
        std::find_if(arrivalQueue.begin(), arrivalQueue.end(), [&](const PendingArrival& arrival) {
            return _wcsicmp(arrival.path.c_str(), path.c_str()) == 0;
        });
    if (queued != arrivalQueue.end())
        arrivalQueue.erase(queued);
    if (!arrivalQueue.empty() && arrivalQueue.front().isEndOfEnumeration()) {
        arrivalQueue.erase(arrivalQueue.begin());
        listener->deviceEnumerationComplete(knownDevices.size());
    }
}
