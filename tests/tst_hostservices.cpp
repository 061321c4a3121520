// The audio service around an update, and the default audio endpoints, on a simulated computer.

#include <QtTest>

#include <future>

#include <windows.h>

#include "audioendpointskeeper.h"
#include "scopedaudioservicestopper.h"
#include "scriptedhid.h"

using Manager = SimulatedServiceManager;
using Service = Manager::Service;
using Transition = Manager::Transition;
using Endpoints = std::vector<AudioEndpoint>;
using Names = std::vector<std::wstring>;
using Sleeps = std::vector<std::uint32_t>;

/// One call of stop() or start(), and what comes of it.
struct ServiceCase
{
    std::vector<Service> services; ///< the audio service first
    QByteArray log;
    Sleeps sleeps;
    DWORD state; ///< of the audio service afterwards
    QByteArray controls;
};
Q_DECLARE_METATYPE(ServiceCase)

/// Endpoints whose defaults are recorded, then changes, then what is made default.
struct EndpointsCase
{
    Endpoints endpoints;
    Endpoints later; ///< new, or with another state
    QByteArray restored;
    std::wstring console = {}; ///< identifier of the chosen eConsole endpoint
};
Q_DECLARE_METATYPE(EndpointsCase)
Q_DECLARE_METATYPE(AudioFunction)

namespace {

struct Computer
{
    explicit Computer(DWORD startTick = 0)
        : clock(startTick)
    {
        // Queries take time as well, or a wait hint of 0 would wait for ever.
        clock.onSleep = [this](DWORD ms) {
            if (ms == 0)
                clock.sleep(1000);
        };
    }

    VirtualClock clock;
    SimulatedMachine machine{&clock};
    ScopedMachine scope{machine};
    Manager& services = machine.serviceManager();
    SimulatedAudioEndpoints& endpoints = machine.audioEndpoints();
};

Service service(const wchar_t* name, DWORD state, Transition stopping, Transition starting = {},
                Names dependsOn = {})
{
    Service result;
    result.name = name;
    result.state = state;
    result.dependsOn = std::move(dependsOn);
    result.stopping = stopping;
    result.starting = starting;
    return result;
}

Service audio(DWORD state, Transition stopping, Transition starting = {})
{
    return service(L"AudioSrv", state, stopping, starting);
}

Service dependent(const wchar_t* name, Transition stopping, DWORD deniedAccess = 0)
{
    Service result = service(name, SERVICE_RUNNING, stopping, {}, {L"audiosrv"});
    result.deniedAccess = deniedAccess;
    return result;
}

Transition refused(DWORD error)
{
    Transition result;
    result.refusal = error;
    return result;
}

Transition endingWith(DWORD exitCode)
{
    Transition result;
    result.exitCode = exitCode;
    return result;
}

QByteArray textOf(const Manager::Call& call)
{
    static const QByteArray names[] = {"OpenManager", "OpenService", "QueryStatus",
                                       "Stop",        "Start",       "Dependents"};
    QByteArray text = names[int(call.function)];
    if (!call.service.empty())
        text += ' ' + QString::fromStdWString(call.service).toLatin1();
    return call.argument ? text + ' ' + QByteArray::number(call.argument, 16) : text;
}

QByteArray controlsOf(const Manager& manager)
{
    QByteArrayList list;
    for (const Manager::Call& call : manager.calls()) {
        if (call.function == Manager::Function::Stop || call.function == Manager::Function::Start)
            list << textOf(call);
    }
    return list.join('|');
}

QByteArray defaultsSetOn(const SimulatedAudioEndpoints& endpoints)
{
    QByteArrayList list;
    for (const auto& set : endpoints.defaultsSet())
        list << QString::fromStdWString(set.id).toLatin1() + QByteArray::number(set.role);
    return list.join(' ');
}

} // namespace

class TestHostServices : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init()
    {
        handlesBefore = openHandleCount();
        comObjectsBefore = liveComObjectCount();
    }
    void cleanup()
    {
        QCOMPARE(openHandleCount(), handlesBefore);
        QCOMPARE(liveComObjectCount(), comObjectsBefore);
    }

    void stopTakesTheServiceToItsEnd_data();
    void stopTakesTheServiceToItsEnd();
    void startTakesTheServiceToItsEnd_data();
    void startTakesTheServiceToItsEnd();
    void everyFailingServiceCallIsLoggedAndTheServiceComesBack();
    void startMayOvertakeAStopOnAnotherThread();
    void serviceHandlesKeepToTheirKindAndRights();
    void defaultsComeBackByTheirAdaptersNames_data();
    void defaultsComeBackByTheirAdaptersNames();
    void everyFailingComCallLosesOnlyWhatItConcerns_data();
    void everyFailingComCallLosesOnlyWhatItConcerns();

private:
    void runServiceCase(void (ScopedAudioServiceStopper::*operation)());

    std::size_t handlesBefore = 0;
    std::size_t comObjectsBefore = 0;
};

void TestHostServices::stopTakesTheServiceToItsEnd_data()
{
    constexpr DWORD stopped = SERVICE_STOPPED, running = SERVICE_RUNNING, stopping = SERVICE_STOP_PENDING,
                    starting = SERVICE_START_PENDING;
    const QByteArray success = "Service stopped successfully", control = "Stop audiosrv";
    const QByteArray pending = "Service stop pending...",
                     refusedByDependents = "ControlService failed (1051)";
    QTest::addColumn<ServiceCase>("serviceCase");
    const auto row = [](const char* name, ServiceCase serviceCase) { QTest::newRow(name) << serviceCase; };

    row("at once", {{audio(running, {})}, success, {}, stopped, control});
    row("within two hints", {{audio(running, {2500, 2000})}, success, {2000, 2000}, stopped, control});
    row("long hint", {{audio(running, {1, 12000})}, success, {12000}, stopped, control});
    row("no hint", {{audio(running, {1500, 0})}, success, {1000, 0, 1000, 0}, stopped, control});
    row("past the limit's tick",
        {{audio(running, {45000, 15000})}, success, Sleeps(3, 15000), stopped, control});
    row("never",
        {{audio(running, {INFINITE, 10000})}, "Wait timed out", Sleeps(4, 10000), stopping, control});
    row("endless hint",
        {{audio(running, {INFINITE, INFINITE})}, "Wait timed out", Sleeps(2, 30000), stopping, control});
    row("refused", {{audio(running, refused(ERROR_INVALID_SERVICE_CONTROL))},
                    "ControlService failed (1052)",
                    {},
                    running,
                    control});
    row("stopped before", {{audio(stopped, {})}, "Service is already stopped.", {}, stopped, {}});
    row("starting",
        {{audio(starting, {}, {INFINITE})}, "ControlService failed (1061)", {}, starting, control});
    row("stopping, short hint",
        {{audio(stopping, {500, 0})}, pending + "|Service stopped successfully.", {1000}, stopped, {}});
    row("stopping, tenth of hint", {{audio(stopping, {5000, 25000})},
                                    pending + '|' + pending + "|Service stopped successfully.",
                                    {2500, 2500},
                                    stopped,
                                    {}});
    row("stopping, never", {{audio(stopping, {INFINITE, 200000})},
                            (pending + '|').repeated(4) + "Service stop timed out.",
                            Sleeps(4, 10000),
                            stopping,
                            {}});

    row("dependents one after the other",
        {{audio(running, {1000, 1000}), dependent(L"a", {4000, 2000}),
          service(L"b", running, {1000, 500}, {}, {L"a"}), service(L"c", stopped, {}, {}, {L"a"})},
         success,
         {500, 500, 2000, 2000, 1000},
         stopped,
         "Stop b|Stop a|Stop audiosrv"});
    row("dependents within the limit", {{audio(running, {}), dependent(L"a", {15000, 15000}),
                                         dependent(L"b", {15000, 15000}), dependent(L"c", {})},
                                        success,
                                        {15000, 15000},
                                        stopped,
                                        "Stop a|Stop b|Stop c|Stop audiosrv"});
    row("dependents past the limit", {{audio(running, {}), dependent(L"a", {15000, 15000}),
                                       dependent(L"b", {16000, 16000}), dependent(L"c", {})},
                                      refusedByDependents,
                                      {15000, 16000},
                                      running,
                                      "Stop a|Stop b|Stop audiosrv"});
    row("dependent that refuses",
        {{audio(running, {}), dependent(L"a", refused(ERROR_INVALID_SERVICE_CONTROL)), dependent(L"b", {})},
         refusedByDependents,
         {},
         running,
         "Stop a|Stop audiosrv"});
    row("dependent of somebody else's",
        {{audio(running, {}), dependent(L"a", {}, SERVICE_STOP)}, refusedByDependents, {}, running, control});
}

void TestHostServices::stopTakesTheServiceToItsEnd()
{
    runServiceCase(&ScopedAudioServiceStopper::stop);
}

void TestHostServices::startTakesTheServiceToItsEnd_data()
{
    constexpr DWORD stopped = SERVICE_STOPPED, running = SERVICE_RUNNING, stopping = SERVICE_STOP_PENDING,
                    starting = SERVICE_START_PENDING;
    const QByteArray success = "Service start pending...|Service started successfully.",
                     control = "Start audiosrv";
    const QByteArray notStarted = "Service start pending...|Service not started. ";
    const QByteArray runsAlready = "Cannot start the service because it is already running";
    QTest::addColumn<ServiceCase>("serviceCase");
    const auto row = [](const char* name, ServiceCase serviceCase) { QTest::newRow(name) << serviceCase; };

    row("at once", {{audio(stopped, {}, {})}, success, {}, running, control});
    row("tenth of hint", {{audio(stopped, {}, {3500, 20000})}, success, {2000, 2000}, running, control});
    row("longest wait", {{audio(stopped, {}, {15000, 150000})}, success, {10000, 10000}, running, control});
    row("slow but sure",
        {{audio(stopped, {}, {12000, 2500, 2000})}, success, Sleeps(12, 1000), running, control});
    row("stalls", {{audio(stopped, {}, {INFINITE, 5000, 2000, 4000})},
                   notStarted + "|  Current State: 2|  Exit Code: 0|  Check Point: 3|  Wait Hint: 5000",
                   Sleeps(10, 1000),
                   starting,
                   control});
    row("endless hint", {{audio(stopped, {}, {INFINITE, INFINITE})},
                         notStarted + "|  Current State: 2|  Exit Code: 0|  Check Point: 1|  Wait Hint: -1",
                         Sleeps(11, 3000),
                         starting,
                         control});
    row("stops again", {{audio(stopped, {}, endingWith(1066))},
                        notStarted + "|  Current State: 1|  Exit Code: 1066|  Check Point: 0|  Wait Hint: 0",
                        {},
                        stopped,
                        control});
    row("refused", {{audio(stopped, {}, refused(1058))}, "StartService failed (1058)", {}, stopped, control});
    row("running", {{audio(running, {})}, runsAlready, {}, running, {}});
    row("starting", {{audio(starting, {}, {INFINITE})}, runsAlready, {}, starting, {}});
    row("stopping", {{audio(stopping, {2500, 3000})}, success, Sleeps(3, 1000), running, control});
    row("stopping, slow but sure",
        {{audio(stopping, {12000, 2500, 2000})}, success, Sleeps(12, 1000), running, control});
    row("stopping, stalls", {{audio(stopping, {INFINITE, 20000, 3000, 7000})},
                             "Timeout waiting for service to stop",
                             Sleeps(14, 2000),
                             stopping,
                             {}});
}

void TestHostServices::startTakesTheServiceToItsEnd()
{
    runServiceCase(&ScopedAudioServiceStopper::start);
}

/// Also where the tick count wraps during the first wait, and during a later one.
void TestHostServices::runServiceCase(void (ScopedAudioServiceStopper::*operation)())
{
    QFETCH(ServiceCase, serviceCase);
    for (const DWORD startTick : {DWORD(0), DWORD(-500), DWORD(-25000)}) {
        Computer computer(startTick);
        for (const Service& each : serviceCase.services)
            computer.services.add(each);
        ScopedAudioServiceStopper stopper;
        const LogCapture log;
        (stopper.*operation)();
        QCOMPARE(log.text(), serviceCase.log);
        QCOMPARE(computer.clock.sleeps(), serviceCase.sleeps);
        QCOMPARE(computer.services.state(L"audiosrv"), serviceCase.state);
        QCOMPARE(controlsOf(computer.services), serviceCase.controls);
    }
}

void TestHostServices::everyFailingServiceCallIsLoggedAndTheServiceComesBack()
{
    using Function = Manager::Function;
    const auto addServices = [](Manager& manager) {
        manager.add(audio(SERVICE_RUNNING, {2000, 2000}, {1000, 5000}));
        manager.add(dependent(L"a", {1000, 1000}));
        manager.add(dependent(L"b", {}));
        manager.add(dependent(L"c", {1000, 1000}));
    };
    const auto stopAndStart = [] { ScopedAudioServiceStopper().stop(); };

    std::vector<Manager::Call> calls;
    {
        Computer computer;
        addServices(computer.services);
        stopAndStart();
        calls = computer.services.calls();
    }
    QByteArrayList texts;
    for (const Manager::Call& call : calls)
        texts << textOf(call);
    QCOMPARE(
        texts.join('|'),
        QByteArray("OpenManager f003f|OpenService audiosrv 2c|QueryStatus audiosrv|Dependents audiosrv 1|"
                   "Dependents audiosrv 1|OpenService a 24|Stop a|QueryStatus a|OpenService b 24|Stop b|"
                   "OpenService c 24|Stop c|QueryStatus c|Stop audiosrv|QueryStatus audiosrv|"
                   "OpenManager f003f|OpenService audiosrv f01ff|QueryStatus audiosrv|Start audiosrv|"
                   "QueryStatus audiosrv|QueryStatus audiosrv"));
    const int lastOfDependents = 12, firstOfStart = 15, startControl = 18;

    const QHash<int, QByteArray> messages = {{int(Function::OpenManager), "OpenSCManager failed (31)"},
                                             {int(Function::OpenService), "OpenService failed (31)"},
                                             {int(Function::QueryStatus), "QueryServiceStatusEx failed (31)"},
                                             {int(Function::Stop), "ControlService failed (31)"},
                                             {int(Function::Start), "StartService failed (31)"},
                                             {int(Function::Dependents), "ControlService failed (1051)"}};
    QHash<int, int> counts;
    for (int i = 0; i < int(calls.size()); ++i) {
        const Manager::Call& call = calls[std::size_t(i)];
        Computer computer;
        addServices(computer.services);
        computer.services.failCall(call.function, ++counts[int(call.function)], ERROR_GEN_FAILURE);
        const LogCapture log;
        stopAndStart();

        QByteArrayList failures;
        for (const QByteArray& line : log.text().split('|')) {
            if (line.contains("failed"))
                failures << line;
        }
        // Dependents fail without a message of their own; the last one stops by itself.
        const bool concernsAudio = call.service.empty() || call.service == L"audiosrv";
        const QByteArray expected = concernsAudio           ? messages[int(call.function)]
                                    : i == lastOfDependents ? QByteArray()
                                                            : QByteArray("ControlService failed (1051)");
        QCOMPARE(failures.join('|'), expected);

        computer.clock.sleep(5000);
        const bool comesBack = i < firstOfStart || i > startControl;
        QCOMPARE(computer.services.state(L"audiosrv"), DWORD(comesBack ? SERVICE_RUNNING : SERVICE_STOPPED));
        ScopedAudioServiceStopper().start();
        QCOMPARE(computer.services.state(L"audiosrv"), DWORD(SERVICE_RUNNING));
    }
}

void TestHostServices::startMayOvertakeAStopOnAnotherThread()
{
    Computer computer;
    computer.services.add(audio(SERVICE_RUNNING, {2500, 3000}));
    const auto mainThread = std::this_thread::get_id();
    std::promise<void> stopWaits, startIsThrough;
    bool isFirstWait = true;
    computer.clock.onSleep = [&](DWORD) {
        if (std::this_thread::get_id() == mainThread || !std::exchange(isFirstWait, false))
            return;
        stopWaits.set_value();
        startIsThrough.get_future().wait();
    };

    const LogCapture log;
    ScopedAudioServiceStopper stopper;
    auto stopLog = std::async(std::launch::async, [&] {
        stopper.stop();
        return log.text();
    });
    stopWaits.get_future().wait();
    stopper.start();
    startIsThrough.set_value();
    QCOMPARE(log.text(), QByteArray("Service start pending...|Service started successfully."));
    QCOMPARE(stopLog.get(), QByteArray("Wait timed out"));
    QCOMPARE(computer.services.state(L"audiosrv"), DWORD(SERVICE_RUNNING));
}

void TestHostServices::serviceHandlesKeepToTheirKindAndRights()
{
    Computer computer;
    computer.services.add(audio(SERVICE_RUNNING, {INFINITE, 700}));
    computer.services.add(dependent(L"a", {INFINITE, 700}));
    const SC_HANDLE manager = OpenSCManagerW(nullptr, nullptr, SC_MANAGER_CONNECT);
    const SC_HANDLE stopOnly = OpenServiceW(manager, L"a", SERVICE_STOP);
    const SC_HANDLE listOnly = OpenServiceW(manager, L"audiosrv", SERVICE_ENUMERATE_DEPENDENTS);
    SERVICE_STATUS_PROCESS status = {};
    DWORD bytes = 0, count = 0;
    const auto query = [&](SC_HANDLE handle) {
        return QueryServiceStatusEx(handle, SC_STATUS_PROCESS_INFO, reinterpret_cast<LPBYTE>(&status),
                                    sizeof(status), &bytes)
                   ? DWORD(ERROR_SUCCESS)
                   : GetLastError();
    };
    QCOMPARE(query(stopOnly), DWORD(ERROR_ACCESS_DENIED));
    QCOMPARE(query(manager), DWORD(ERROR_INVALID_HANDLE));
    QVERIFY(!OpenServiceW(manager, L"b", SERVICE_STOP) && GetLastError() == ERROR_SERVICE_DOES_NOT_EXIST);

    std::vector<BYTE> buffer(512);
    auto* const entries = reinterpret_cast<LPENUM_SERVICE_STATUSW>(buffer.data());
    QVERIFY(!EnumDependentServicesW(listOnly, SERVICE_ACTIVE, nullptr, 0, &bytes, &count));
    QCOMPARE(GetLastError(), DWORD(ERROR_MORE_DATA));
    const DWORD needed = bytes;
    QVERIFY(!EnumDependentServicesW(listOnly, SERVICE_ACTIVE, entries, needed - 1, &bytes, &count));
    QVERIFY(EnumDependentServicesW(listOnly, SERVICE_ACTIVE, entries, needed, &bytes, &count));
    QCOMPARE(count, DWORD(1));
    QCOMPARE(std::wstring(entries->lpServiceName), std::wstring(L"a"));
    QVERIFY(EnumDependentServicesW(listOnly, SERVICE_INACTIVE, nullptr, 0, &bytes, &count));

    SERVICE_STATUS reply = {};
    QVERIFY(ControlService(stopOnly, SERVICE_CONTROL_STOP, &reply));
    QCOMPARE(reply.dwWaitHint, DWORD(700));
    QVERIFY(!ControlService(stopOnly, SERVICE_CONTROL_STOP, &reply));
    QCOMPARE(GetLastError(), DWORD(ERROR_SERVICE_CANNOT_ACCEPT_CTRL));
    QCOMPARE(reply.dwCurrentState, DWORD(SERVICE_STOP_PENDING));
    for (const SC_HANDLE handle : {manager, stopOnly, listOnly})
        QVERIFY(CloseServiceHandle(handle));
    QVERIFY(!CloseServiceHandle(manager) && GetLastError() == ERROR_INVALID_HANDLE);
}

void TestHostServices::defaultsComeBackByTheirAdaptersNames_data()
{
    constexpr DWORD disabled = DEVICE_STATE_DISABLED, unplugged = DEVICE_STATE_UNPLUGGED,
                    gone = DEVICE_STATE_NOTPRESENT;
    QTest::addColumn<EndpointsCase>("endpointsCase");
    const auto row = [](const char* name, EndpointsCase endpointsCase) {
        QTest::newRow(name) << endpointsCase;
    };

    row("one for all roles", {{{L"r", L"USB Audio Device"}, {L"s", L"Speakers"}}, {}, "r0 r1 r2"});
    row("one per role", {{{L"r", L"Headset"}, {L"s", L"Speakers"}}, {}, "r1 r2 s0", L"s"});
    row("playback first", {{{L"c", L"Headset", eCapture}, {L"r", L"Headset"}}, {}, "r0 r1 r2 c0 c1 c2"});
    row("number in front", {{{L"r", L"2- USB Audio Device"}}, {}, ""});
    row("number in front is gone",
        {{{L"r", L"2- USB Audio Device"}}, {{L"u", L"USB Audio Device"}}, "u0 u1 u2"});
    row("number behind", {{{L"r", L"Speakers 2"}}, {{L"u", L"Speakers"}, {L"v", L"Speakers "}}, "v0 v1 v2"});
    row("mark in front", {{{L"r", L"(R) Speakers"}}, {{L"u", L"Speakers"}, {L"v", L"R"}}, "v0 v1 v2"});
    row("no letters", {{{L"r", L"\u8033\u673a"}}, {{L"u", L""}}, "u0 u1 u2"});
    row("case counts", {{{L"r", L"2-usb audio"}}, {{L"u", L"USB audio"}}, ""});
    row("same names", {{{L"q", L"Headset", eRender, disabled}, {L"r", L"Headset"}}, {}, "q0 q1 q2"});
    row("unplugged",
        {{{L"r", L"Headset"}}, {{L"r", {}, eRender, unplugged}, {L"u", L"Headset"}}, "r0 r1 r2"});
    row("gone", {{{L"r", L"Headset"}}, {{L"r", {}, eRender, gone}, {L"u", L"Headset"}}, "u0 u1 u2"});
    row("no default for playback",
        {{{L"r", L"Headset", eRender, disabled}, {L"c", L"Headset", eCapture}}, {}, "c0 c1 c2"});
}

void TestHostServices::defaultsComeBackByTheirAdaptersNames()
{
    QFETCH(EndpointsCase, endpointsCase);
    Computer computer;
    for (const AudioEndpoint& endpoint : endpointsCase.endpoints)
        computer.endpoints.add(endpoint);
    computer.endpoints.chooseDefault(endpointsCase.console, eConsole);
    auto keeper = std::make_unique<AudioEndpointsKeeper>();
    for (const AudioEndpoint& endpoint : endpointsCase.later) {
        if (endpoint.state == DEVICE_STATE_ACTIVE)
            computer.endpoints.add(endpoint);
        else
            computer.endpoints.setState(endpoint.id, endpoint.state);
    }
    QCOMPARE(defaultsSetOn(computer.endpoints), QByteArray());
    keeper->restore();
    QCOMPARE(defaultsSetOn(computer.endpoints), endpointsCase.restored);
    keeper.reset();
    const QByteArray& once = endpointsCase.restored;
    QCOMPARE(defaultsSetOn(computer.endpoints), once.isEmpty() ? once : once + ' ' + once);
}

void TestHostServices::everyFailingComCallLosesOnlyWhatItConcerns_data()
{
    QTest::addColumn<AudioFunction>("function");
    QTest::addColumn<QByteArrayList>("lost"); // per call: defaults that begin so
    const auto row = [](const char* name, AudioFunction function, const QByteArray& lost) {
        QTest::newRow(name) << function << lost.split(' ');
    };
    row("CreateEnumerator", AudioFunction::CreateEnumerator, "r c r c");
    row("CreatePolicyConfiguration", AudioFunction::CreatePolicyConfiguration, "r0 r1 r2 c0 c1 c2");
    row("RunObject", AudioFunction::RunObject, "r c r r0 r1 r2 c c0 c1 c2");
    row("QueryInterface", AudioFunction::QueryInterface, "r c r r0 r1 r2 c c0 c1 c2");
    row("GetDefaultAudioEndpoint", AudioFunction::GetDefaultAudioEndpoint, "r0 r1 r2 c0 c1 c2");
    row("EnumAudioEndpoints", AudioFunction::EnumAudioEndpoints, "r c");
    row("GetCount", AudioFunction::GetCount, "r c");
    row("Item", AudioFunction::Item, "- r c");
    row("OpenPropertyStore", AudioFunction::OpenPropertyStore, "r0 r1 r2 c0 c1 c2 - r c");
    row("GetValue", AudioFunction::GetValue, "r0 r1 r2 c0 c1 c2 - r c");
    row("GetId", AudioFunction::GetId, "r c");
    row("SetDefaultEndpoint", AudioFunction::SetDefaultEndpoint, "r0 r1 r2 c0 c1 c2");
}

void TestHostServices::everyFailingComCallLosesOnlyWhatItConcerns()
{
    QFETCH(AudioFunction, function);
    QFETCH(QByteArrayList, lost);
    const auto keepDefaults = [](SimulatedAudioEndpoints& endpoints) {
        endpoints.add({L"m", L"Monitor"});
        endpoints.add({L"r", L"Speakers"});
        endpoints.add({L"c", L"Microphone", eCapture});
        for (const ERole role : {eConsole, eMultimedia, eCommunications})
            endpoints.chooseDefault(L"r", role);
        {
            const AudioEndpointsKeeper keeper;
        }
    };

    Computer healthy;
    keepDefaults(healthy.endpoints);
    QCOMPARE(healthy.endpoints.callCount(function), lost.size());
    QCOMPARE(defaultsSetOn(healthy.endpoints), QByteArray("r0 r1 r2 c0 c1 c2"));

    // S_FALSE is a success that delivers nothing; OleRun has nothing to deliver.
    for (const HRESULT result : {E_FAIL, S_FALSE}) {
        for (int nth = 1; nth <= lost.size(); ++nth) {
            Computer computer;
            computer.endpoints.failCall(function, nth, result);
            keepDefaults(computer.endpoints);
            const bool losesNothing = function == AudioFunction::RunObject && result == S_FALSE;
            QByteArrayList expected;
            for (const QByteArray& each : defaultsSetOn(healthy.endpoints).split(' ')) {
                if (losesNothing || !each.startsWith(lost[nth - 1]))
                    expected << each;
            }
            QCOMPARE(defaultsSetOn(computer.endpoints), expected.join(' '));
        }
    }
}

QTEST_GUILESS_MAIN(TestHostServices)
#include "tst_hostservices.moc"
