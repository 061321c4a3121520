// Tests that the platform layer behaves as Windows does, in details such as refused calls
// and repeated broadcasts.

#include <QtTest>

#include <windows.h>

#include <dbt.h>
#include <hidclass.h>
#include <mmdeviceapi.h>
#include <psapi.h>

#include "computer.h"
#include "hidnode.h"
#include "leavesnothing.h"
#include "literals.h"
#include "policyconfiguration.h"
#include "simulatedaudioendpoints.h"
#include "table.h"
#include "waiting.h"

using Broadcasts = SimulatedDeviceTree::Broadcasts;
Q_DECLARE_METATYPE(Broadcasts)

namespace {

constexpr HidIdentity identity{0x7A31, 0x0006, 3, 1};

QStringList broadcasts; ///< the broadcasts that this test's windows have received

LRESULT CALLBACK takeMessage(HWND window, UINT message, WPARAM wParam, LPARAM lParam)
{
    if (message == WM_DEVICECHANGE) {
        const auto* const header = reinterpret_cast<const DEV_BROADCAST_HDR*>(lParam);
        broadcasts << QString::number(wParam, 16);
        if (header)
            broadcasts.last() += header->dbch_devicetype == DBT_DEVTYP_HANDLE ? " handle"_s : " interface"_s;
    }
    return DefWindowProcW(window, message, wParam, lParam);
}

HWND newWindow()
{
    WNDCLASSW windowClass = {};
    windowClass.lpfnWndProc = takeMessage;
    windowClass.lpszClassName = L"window of the layer's test";
    RegisterClassW(&windowClass);
    broadcasts.clear();
    return CreateWindowExW(0, windowClass.lpszClassName, nullptr, 0, 0, 0, 0, 0, nullptr, nullptr, nullptr,
                           nullptr);
}

/// Handles all messages that have been sent to this thread's windows so far.
void handleMessages()
{
    PostThreadMessageW(GetCurrentThreadId(), WM_QUIT, 0, 0);
    MSG message;
    while (GetMessageW(&message, nullptr, 0, 0) > 0)
        DispatchMessageW(&message);
}

HDEVNOTIFY watchHid(HWND window)
{
    DEV_BROADCAST_DEVICEINTERFACE_W filter = {};
    filter.dbcc_size = sizeof(filter);
    filter.dbcc_devicetype = DBT_DEVTYP_DEVICEINTERFACE;
    filter.dbcc_classguid = GUID_DEVINTERFACE_HID;
    return RegisterDeviceNotificationW(window, &filter, DEVICE_NOTIFY_WINDOW_HANDLE);
}

HDEVNOTIFY watchFile(HWND window, HANDLE file, DWORD sizeError = 0)
{
    DEV_BROADCAST_HANDLE filter = {};
    filter.dbch_size = sizeof(filter) + sizeError;
    filter.dbch_devicetype = DBT_DEVTYP_HANDLE;
    filter.dbch_handle = file;
    return RegisterDeviceNotificationW(window, &filter, DEVICE_NOTIFY_WINDOW_HANDLE);
}

HRESULT createEnumerator(IMMDeviceEnumerator** enumerator)
{
    return CoCreateInstance(__uuidof(MMDeviceEnumerator), nullptr, CLSCTX_ALL, __uuidof(IMMDeviceEnumerator),
                            reinterpret_cast<void**>(enumerator));
}

} // namespace

class TestLayer : public LeavesNothing
{
    Q_OBJECT

private Q_SLOTS:
    void broadcastsComeInAnyOrderAndNumber_data();
    void broadcastsComeInAnyOrderAndNumber();
    void aBroadcastInProgressReservesTheHandleOfItsNotification();
    void theImageNameOfAProcessNeedsBothRights();
    void comNeedsInitialisationOnEachThreadAndEndpointsNeedTheirService();
    void theThirteenthOperationOfThePolicyInterfaceSetsTheDefaultEndpoint();
};

void TestLayer::broadcastsComeInAnyOrderAndNumber_data()
{
    const Table<Broadcasts, QByteArray> table("choice", "expected"); // expected: a removal's broadcasts
    table.row("usual", Broadcasts{}, "8004 interface,8004 handle");
    table.row("file first", Broadcasts{true}, "8004 handle,8004 interface");
    table.row("twice", Broadcasts{false, 2}, "8004 interface,8004 handle,8004 interface,8004 handle");
    table.row("each after DBT_DEVNODES_CHANGED", Broadcasts{true, 1, true}, "7,8004 handle,7,8004 interface");
}

void TestLayer::broadcastsComeInAnyOrderAndNumber()
{
    QFETCH(Broadcasts, choice);
    Computer computer;
    SimulatedDeviceTree& tree = computer.tree;
    const DeviceNode node = hidNode(identity);
    tree.plug(node);
    tree.setBroadcasts(choice);
    const HWND window = newWindow();
    const HDEVNOTIFY ofInterfaces = watchHid(window);
    const HANDLE file = CreateFileW(node.interfacePath.c_str(), 0, 0, nullptr, OPEN_EXISTING, 0, nullptr);
    for (const DWORD sizeError : {DWORD(-1), DWORD(1)}) {
        QCOMPARE(watchFile(window, file, sizeError), nullptr);
        QCOMPARE(GetLastError(), DWORD(ERROR_INVALID_DATA));
    }
    const HDEVNOTIFY ofFile = watchFile(window, file);
    tree.unplug(node.interfacePath);
    handleMessages();
    QTEST(broadcasts.join(QLatin1Char(',')).toLatin1(), "expected");
    for (const HDEVNOTIFY notification : {ofInterfaces, ofFile})
        QVERIFY(UnregisterDeviceNotification(notification));
    QVERIFY(CloseHandle(file));
    QVERIFY(DestroyWindow(window));
}

void TestLayer::aBroadcastInProgressReservesTheHandleOfItsNotification()
{
    Computer computer;
    const HWND window = newWindow();
    const HDEVNOTIFY first = watchHid(window);
    QCOMPARE(reinterpret_cast<std::uintptr_t>(first) % 4, std::uintptr_t(0)); // as Windows documents
    computer.tree.plug(hidNode(identity));
    QVERIFY(UnregisterDeviceNotification(first));
    const HDEVNOTIFY second = watchHid(window);
    QVERIFY(second != first);
    handleMessages();
    QVERIFY(broadcasts.contains(QLatin1String("8000 interface")));
    const HDEVNOTIFY third = watchHid(window);
    QCOMPARE(third, first);
    for (const HDEVNOTIFY notification : {second, third})
        QVERIFY(UnregisterDeviceNotification(notification));
    QVERIFY(DestroyWindow(window));
}

void TestLayer::theImageNameOfAProcessNeedsBothRights()
{
    constexpr DWORD query = PROCESS_QUERY_INFORMATION, read = PROCESS_VM_READ;
    wchar_t name[MAX_PATH];
    QCOMPARE(OpenProcess(0, FALSE, GetCurrentProcessId()), nullptr);
    QCOMPARE(GetLastError(), DWORD(ERROR_ACCESS_DENIED));
    for (const DWORD access : {query, read, query | read}) {
        const HANDLE process = OpenProcess(access, FALSE, GetCurrentProcessId());
        QCOMPARE(K32GetModuleFileNameExW(process, nullptr, name, MAX_PATH) != 0, access == (query | read));
        QVERIFY(CloseHandle(process));
    }
}

void TestLayer::comNeedsInitialisationOnEachThreadAndEndpointsNeedTheirService()
{
    Computer computer;
    IMMDeviceEnumerator* enumerator = nullptr;
    QCOMPARE(createEnumerator(&enumerator), CO_E_NOTINITIALIZED);
    QCOMPARE(OleInitialize(nullptr), S_OK);
    HRESULT elsewhere = S_OK;
    std::thread([&] { elsewhere = createEnumerator(&enumerator); }).join();
    QCOMPARE(elsewhere, CO_E_NOTINITIALIZED);
    QCOMPARE(createEnumerator(&enumerator), S_OK);
    computer.machine.serviceManager().add({L"AudioSrv", SERVICE_STOPPED});
    IMMDevice* endpoint = nullptr;
    QCOMPARE(enumerator->GetDefaultAudioEndpoint(eRender, eConsole, &endpoint),
             HRESULT_FROM_WIN32(ERROR_SERVICE_NOT_ACTIVE));
    QCOMPARE(computer.machine.serviceManager().start(L"audiosrv"), DWORD(ERROR_SUCCESS));
    QCOMPARE(enumerator->GetDefaultAudioEndpoint(eRender, eConsole, &endpoint), E_NOTFOUND);
    enumerator->Release();
    OleUninitialize();
}

void TestLayer::theThirteenthOperationOfThePolicyInterfaceSetsTheDefaultEndpoint()
{
    using SetDefault = HRESULT(STDMETHODCALLTYPE*)(void* object, LPCWSTR id, ERole role);
    Computer computer;
    computer.machine.audioEndpoints().add({L"speakers", L"Adapter"});
    QCOMPARE(OleInitialize(nullptr), S_OK);
    void* object = nullptr;
    QCOMPARE(CoCreateInstance(__uuidof(PolicyConfigurationClient), nullptr, CLSCTX_ALL,
                              __uuidof(IPolicyConfiguration), &object),
             S_OK);
    const auto* const methods = *static_cast<SetDefault**>(object);
    QCOMPARE(methods[12](object, L"speakers", eCommunications), S_OK);
    const auto set = computer.machine.audioEndpoints().defaultsSet();
    QCOMPARE(set.size(), std::size_t(1));
    QCOMPARE(set[0].role, eCommunications);
    static_cast<IPolicyConfiguration*>(object)->Release();
    OleUninitialize();
}

QTEST_GUILESS_MAIN(TestLayer)

#include "tst_layer.moc"
