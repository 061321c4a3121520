// The audio service around an update, and the default audio endpoints, on a simulated computer.

#include <future>

#include <QtTest>

#include <windows.h>

#include <ole2.h>

#include "audioendpointskeeper.h"
#include "computer.h"
#include "openobjects.h"
#include "scopedaudioservicestopper.h"

using Manager = SimulatedServiceManager;
using Service = Manager::Service;
using Services = std::vector<Service>;
using Transition = Manager::Transition;
using Endpoints = std::vector<AudioEndpoint>;
using Sleeps = std::vector<std::uint32_t>;
using Operation = void (ScopedAudioServiceStopper::*)();
Q_DECLARE_METATYPE(Operation)
Q_DECLARE_METATYPE(Services)
Q_DECLARE_METATYPE(Sleeps)
Q_DECLARE_METATYPE(Endpoints)
Q_DECLARE_METATYPE(AudioFunction)

namespace {

constexpr DWORD stopped = SERVICE_STOPPED;
constexpr DWORD starting = SERVICE_START_PENDING;
constexpr DWORD stopping = SERVICE_STOP_PENDING;
constexpr DWORD running = SERVICE_RUNNING;

struct HostComputer : Computer
{
    using Computer::Computer;
    Manager& services = machine.serviceManager();
    SimulatedAudioEndpoints& endpoints = machine.audioEndpoints();
};

Service audio(DWORD state, Transition toStop, Transition toStart = {})
{
    return {L"AudioSrv", state, {}, toStop, toStart};
}

Service dependent(const wchar_t* name, Transition toStop, DWORD deniedAccess = 0)
{
    return {name, running, {L"audiosrv"}, toStop, {}, deniedAccess};
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
    void initTestCase() { QCOMPARE(OleInitialize(nullptr), S_OK); }
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

    void theServiceIsTakenToItsEnd_data();
    void theServiceIsTakenToItsEnd();
    void everyFailingServiceCallIsLoggedAndTheServiceComesBack();
    void startMayOvertakeAStopOnAnotherThread();
    void serviceHandlesKeepToTheirKindsAndRights();
    void defaultsComeBackByTheirAdaptersNames_data();
    void defaultsComeBackByTheirAdaptersNames();
    void everyFailingComCallLosesOnlyWhatItConcerns_data();
    void everyFailingComCallLosesOnlyWhatItConcerns();

private:
    std::size_t handlesBefore = 0;
    std::size_t comObjectsBefore = 0;
};

void TestHostServices::theServiceIsTakenToItsEnd_data()
{
    QTest::addColumn<Operation>("operation");
    QTest::addColumn<Services>("services"); // the audio service first
    QTest::addColumn<QByteArray>("expectedLog");
    QTest::addColumn<Sleeps>("expectedSleeps");
    QTest::addColumn<DWORD>("expectedState"); // of the audio service
    QTest::addColumn<QByteArray>("expectedControls");

    const Transition refuses = {0, 0, 0, INFINITE, 0, ERROR_INVALID_SERVICE_CONTROL};
    const auto stop = [](const char* name, const Services& services, const QByteArray& log,
                         const Sleeps& sleeps, DWORD state, const QByteArray& controls) {
        QTest::addRow("stop, %s", name)
            << &ScopedAudioServiceStopper::stop << services << log << sleeps << state << controls;
    };
    const QByteArray done = "Service stopped successfully", sent = "Stop audiosrv";
    stop("at once", {audio(running, {})}, done, {}, stopped, sent);
    stop("within two hints", {audio(running, {2500, 2000})}, done, {2000, 2000}, stopped, sent);
    stop("long hint", {audio(running, {1, 12000})}, done, {12000}, stopped, sent);
    stop("no hint", {audio(running, {3, 0})}, done, {0, 0, 0}, stopped, sent);
    stop("never, no hint", {audio(running, {INFINITE, 0})}, "Wait timed out", Sleeps(30001, 0), stopping,
         sent);
    stop("exactly at the limit", {audio(running, {45000, 15000})}, done, Sleeps(3, 15000), stopped, sent);
    stop("never", {audio(running, {INFINITE, 10000})}, "Wait timed out", Sleeps(4, 10000), stopping, sent);
    stop("endless hint", {audio(running, {INFINITE, INFINITE})}, "Wait timed out", Sleeps(2, 30000), stopping,
         sent);
    stop("refused", {audio(running, refuses)}, "ControlService failed (1052)", {}, running, sent);
    stop("while starting", {audio(starting, {}, {INFINITE})}, "ControlService failed (1061)", {}, starting,
         sent);
    stop("while stopped", {audio(stopped, {})}, "Service is already stopped.", {}, stopped, {});

    const QByteArray pending = "Service stop pending...|", doneByItself = "Service stopped successfully.";
    stop("stopping already", {audio(stopping, {500, 0}), dependent(L"a", {})}, pending + doneByItself, {1000},
         stopped, {});
    stop("stopping, tenth of hint", {audio(stopping, {5000, 25000})}, pending + pending + doneByItself,
         {2500, 2500}, stopped, {});
    stop("stopping, never", {audio(stopping, {INFINITE, 200000})},
         pending.repeated(4) + "Service stop timed out.", Sleeps(4, 10000), stopping, {});

    const QByteArray held = "ControlService failed (1051)";
    stop("dependents one by one",
         {audio(running, {1000, 1000}),
          dependent(L"a", {4000, 2000}),
          {L"b", running, {L"a"}, {1000, 500}},
          {L"c", stopped, {L"a"}}},
         done, {500, 500, 2000, 2000, 1000}, stopped, "Stop b|Stop a|Stop audiosrv");
    stop("dependents in time",
         {audio(running, {}), dependent(L"a", {15000, 15000}), dependent(L"b", {15000, 15000}),
          dependent(L"c", {})},
         done, {15000, 15000}, stopped, "Stop a|Stop b|Stop c|Stop audiosrv");
    stop("dependents late",
         {audio(running, {}), dependent(L"a", {15000, 15000}), dependent(L"b", {16000, 16000}),
          dependent(L"c", {})},
         held, {15000, 16000}, running, "Stop a|Stop b|Stop audiosrv");
    stop("dependent refuses", {audio(running, {}), dependent(L"a", refuses), dependent(L"b", {})}, held, {},
         running, "Stop a|Stop audiosrv");
    stop("dependent denied", {audio(running, {}), dependent(L"a", {}, SERVICE_STOP)}, held, {}, running,
         sent);

    const auto start = [](const char* name, const Service& service, const QByteArray& log,
                          const Sleeps& sleeps, DWORD state, const QByteArray& controls) {
        QTest::addRow("start, %s", name)
            << &ScopedAudioServiceStopper::start << Services{service} << log << sleeps << state << controls;
    };
    const QByteArray begun = "Service start pending...|", runs = begun + "Service started successfully.";
    const QByteArray runsAlready = "Cannot start the service because it is already running";
    const QByteArray asked = "Start audiosrv";
    start("at once", audio(stopped, {}, {}), runs, {}, running, asked);
    start("tenth of hint", audio(stopped, {}, {3500, 20000}), runs, {2000, 2000}, running, asked);
    start("longest wait", audio(stopped, {}, {15000, 150000}), runs, {10000, 10000}, running, asked);
    start("slow but sure", audio(stopped, {}, {12000, 2500, 2000}), runs, Sleeps(12, 1000), running, asked);
    start("stalls", audio(stopped, {}, {INFINITE, 5000, 2000, 4000}),
          begun +
              "Service not started. |  Current State: 2|  Exit Code: 0|  Check Point: 3|  Wait Hint: 5000",
          Sleeps(10, 1000), starting, asked);
    start("endless hint", audio(stopped, {}, {INFINITE, INFINITE}),
          begun + "Service not started. |  Current State: 2|  Exit Code: 0|  Check Point: 1|  Wait Hint: -1",
          Sleeps(11, 3000), starting, asked);
    start("fails", audio(stopped, {}, {0, 0, 0, INFINITE, 1066}),
          begun +
              "Service not started. |  Current State: 1|  Exit Code: 1066|  Check Point: 0|  Wait Hint: 0",
          {}, stopped, asked);
    start("refused", audio(stopped, {}, refuses), "StartService failed (1052)", {}, stopped, asked);
    start("while running", audio(running, {}), runsAlready, {}, running, {});
    start("while starting", audio(starting, {}, {INFINITE}), runsAlready, {}, starting, {});
    start("stopping yet", audio(stopping, {2500, 3000}), runs, Sleeps(3, 1000), running, asked);
    start("stopping yet, slow but sure", audio(stopping, {12000, 2500, 2000}), runs, Sleeps(12, 1000),
          running, asked);
    start("stopping yet, stalls", audio(stopping, {INFINITE, 20000, 3000, 7000}),
          "Timeout waiting for service to stop", Sleeps(14, 2000), stopping, {});
}

void TestHostServices::theServiceIsTakenToItsEnd()
{
    QFETCH(Operation, operation);
    QFETCH(Services, services);
    // The tick count wraps never, during the first wait, and during a later one.
    for (const DWORD startTick : {DWORD(0), DWORD(-2), DWORD(-25000)}) {
        HostComputer computer(startTick);
        for (const Service& service : services)
            computer.services.add(service);
        ScopedAudioServiceStopper stopper;
        (stopper.*operation)();
        QTEST(computer.log.text(), "expectedLog");
        QTEST(computer.clock.sleeps(), "expectedSleeps");
        QTEST(computer.services.state(L"audiosrv"), "expectedState");
        QTEST(controlsOf(computer.services), "expectedControls");
    }
}

void TestHostServices::everyFailingServiceCallIsLoggedAndTheServiceComesBack()
{
    using Function = Manager::Function;
    const auto stopAndStart = [](HostComputer& computer) {
        computer.services.add(audio(running, {2000, 2000}, {1000, 5000}));
        computer.services.add(dependent(L"a", {1000, 1000}));
        computer.services.add(dependent(L"b", {}));
        computer.services.add(dependent(L"c", {1000, 1000}));
        ScopedAudioServiceStopper().stop();
    };
    HostComputer healthy;
    stopAndStart(healthy);
    const std::vector<Manager::Call> calls = healthy.services.calls();
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

    const QString byDependents = QStringLiteral("ControlService failed (1051)");
    const QMap<Function, QString> messages = {
        {Function::OpenManager, QStringLiteral("OpenSCManager failed (31)")},
        {Function::OpenService, QStringLiteral("OpenService failed (31)")},
        {Function::QueryStatus, QStringLiteral("QueryServiceStatusEx failed (31)")},
        {Function::Stop, QStringLiteral("ControlService failed (31)")},
        {Function::Start, QStringLiteral("StartService failed (31)")},
        {Function::Dependents, byDependents}};
    const QLatin1Char bar('|');
    QMap<Function, int> counts;
    for (int i = 0; i < int(calls.size()); ++i) {
        const Manager::Call& call = calls[std::size_t(i)];
        HostComputer computer;
        computer.services.failCall(call.function, ++counts[call.function], ERROR_GEN_FAILURE);
        stopAndStart(computer);
        const QString failures =
            QString::fromLatin1(computer.log.text()).split(bar).filter(QStringLiteral("failed")).join(bar);
        // A dependent fails without a message of its own. The last one is stopping all the same.
        const bool concernsAudio = call.service.empty() || call.service == L"audiosrv";
        QCOMPARE(failures, concernsAudio           ? messages[call.function]
                           : i == lastOfDependents ? QString()
                                                   : byDependents);
        computer.clock.sleep(5000);
        const bool comesBack = i < firstOfStart || i > startControl;
        QCOMPARE(computer.services.state(L"audiosrv"), comesBack ? running : stopped);
        ScopedAudioServiceStopper().start();
        QCOMPARE(computer.services.state(L"audiosrv"), running);
    }
}

void TestHostServices::startMayOvertakeAStopOnAnotherThread()
{
    HostComputer computer;
    computer.services.add(audio(running, {2500, 3000}));
    const auto mainThread = std::this_thread::get_id();
    std::promise<void> stopWaits, startIsThrough;
    bool isFirstWait = true;
    computer.clock.onSleep = [&](DWORD) {
        if (std::this_thread::get_id() == mainThread || !std::exchange(isFirstWait, false))
            return;
        stopWaits.set_value();
        startIsThrough.get_future().wait();
    };

    ScopedAudioServiceStopper stopper;
    auto stopLog = std::async(std::launch::async, [&] {
        stopper.stop();
        return computer.log.text();
    });
    stopWaits.get_future().wait();
    stopper.start();
    startIsThrough.set_value();
    QCOMPARE(computer.log.text(), QByteArray("Service start pending...|Service started successfully."));
    QCOMPARE(stopLog.get(), QByteArray("Wait timed out"));
    QCOMPARE(computer.services.state(L"audiosrv"), running);
}

void TestHostServices::serviceHandlesKeepToTheirKindsAndRights()
{
    HostComputer computer;
    computer.services.add(audio(running, {INFINITE, 700}));
    const SC_HANDLE manager = OpenSCManagerW(nullptr, nullptr, SC_MANAGER_CONNECT);
    const SC_HANDLE mayStop = OpenServiceW(manager, L"audiosrv", SERVICE_STOP);
    const SC_HANDLE mayStart = OpenServiceW(manager, L"audiosrv", SERVICE_START);
    SERVICE_STATUS reply = {};
    const auto stopFailsWith = [&](DWORD error, SC_HANDLE service) {
        return !ControlService(service, SERVICE_CONTROL_STOP, &reply) && GetLastError() == error;
    };
    QVERIFY(stopFailsWith(ERROR_INVALID_HANDLE, manager));
    QVERIFY(stopFailsWith(ERROR_ACCESS_DENIED, mayStart));
    QVERIFY(ControlService(mayStop, SERVICE_CONTROL_STOP, &reply));
    QCOMPARE(reply.dwWaitHint, DWORD(700));
    reply = {};
    QVERIFY(stopFailsWith(ERROR_SERVICE_CANNOT_ACCEPT_CTRL, mayStop));
    QCOMPARE(reply.dwCurrentState, stopping);
    QVERIFY(!StartServiceW(mayStart, 0, nullptr));
    QCOMPARE(GetLastError(), DWORD(ERROR_SERVICE_ALREADY_RUNNING));
    for (const SC_HANDLE handle : {manager, mayStop, mayStart})
        QVERIFY(CloseServiceHandle(handle));
    QVERIFY(!CloseServiceHandle(manager));
    QCOMPARE(GetLastError(), DWORD(ERROR_INVALID_HANDLE));
}

void TestHostServices::defaultsComeBackByTheirAdaptersNames_data()
{
    constexpr DWORD disabled = DEVICE_STATE_DISABLED, unplugged = DEVICE_STATE_UNPLUGGED,
                    gone = DEVICE_STATE_NOTPRESENT;
    QTest::addColumn<Endpoints>("endpoints");
    QTest::addColumn<Endpoints>("later"); // new, or in another state
    QTest::addColumn<QByteArray>("restored");
    const auto row = [](const char* name, const Endpoints& endpoints, const Endpoints& later,
                        const QByteArray& restored) {
        QTest::newRow(name) << endpoints << later << restored;
    };

    row("each in its roles", {{L"s", L"Speakers"}, {L"console", L"Headset"}}, {}, "s1 s2 console0");
    row("playback first", {{L"c", L"Headset", eCapture}, {L"r", L"Headset"}}, {}, "r0 r1 r2 c0 c1 c2");
    row("number in front", {{L"r", L"2- USB Audio Device"}}, {}, "");
    row("number in front is gone", {{L"r", L"2- USB Audio Device"}}, {{L"u", L"USB Audio Device"}},
        "u0 u1 u2");
    row("number behind", {{L"r", L"Speakers 2"}}, {{L"u", L"Speakers"}, {L"v", L"Speakers "}}, "v0 v1 v2");
    row("mark in front", {{L"r", L"(R) Speakers"}}, {{L"u", L"Speakers"}, {L"v", L"R"}}, "v0 v1 v2");
    row("no letters", {{L"r", L"\u8033\u673a"}}, {{L"u", L""}}, "u0 u1 u2");
    row("case counts", {{L"r", L"2-usb audio"}}, {{L"u", L"USB audio"}}, "");
    row("like names", {{L"q", L"Headset", eRender, disabled}, {L"r", L"Headset"}}, {}, "q0 q1 q2");
    row("unplugged", {{L"r", L"Headset"}}, {{L"r", {}, eRender, unplugged}, {L"u", L"Headset"}}, "r0 r1 r2");
    row("gone", {{L"r", L"Headset"}}, {{L"r", {}, eRender, gone}, {L"u", L"Headset"}}, "u0 u1 u2");
    row("playback without default", {{L"r", L"Headset", eRender, disabled}, {L"c", L"Headset", eCapture}}, {},
        "c0 c1 c2");
}

void TestHostServices::defaultsComeBackByTheirAdaptersNames()
{
    QFETCH(Endpoints, endpoints);
    QFETCH(Endpoints, later);
    QFETCH(QByteArray, restored);
    HostComputer computer;
    for (const AudioEndpoint& endpoint : endpoints)
        computer.endpoints.add(endpoint);
    computer.endpoints.chooseDefault(L"console", eConsole);
    auto keeper = std::make_unique<AudioEndpointsKeeper>();
    for (const AudioEndpoint& endpoint : later) {
        if (endpoint.state == DEVICE_STATE_ACTIVE)
            computer.endpoints.add(endpoint);
        else
            computer.endpoints.setState(endpoint.id, endpoint.state);
    }
    QCOMPARE(defaultsSetOn(computer.endpoints), QByteArray());
    keeper->restore();
    QCOMPARE(defaultsSetOn(computer.endpoints), restored);
    keeper.reset();
    QCOMPARE(defaultsSetOn(computer.endpoints), restored.isEmpty() ? restored : restored + ' ' + restored);
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

    HostComputer healthy;
    keepDefaults(healthy.endpoints);
    QCOMPARE(healthy.endpoints.callCount(function), lost.size());
    QCOMPARE(defaultsSetOn(healthy.endpoints), QByteArray("r0 r1 r2 c0 c1 c2"));

    // S_FALSE is a success that delivers nothing; OleRun has nothing to deliver.
    for (const HRESULT result : {E_FAIL, S_FALSE}) {
        for (int nth = 1; nth <= lost.size(); ++nth) {
            HostComputer computer;
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
