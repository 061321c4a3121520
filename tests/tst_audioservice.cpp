// Stops and starts the audio service on a simulated computer.

#include <future>
#include <map>

#include <QtTest>

#include <windows.h>

#include "computer.h"
#include "leavesnothing.h"
#include "scopedaudioservicestopper.h"
#include "table.h"

using Manager = SimulatedServiceManager;
using Service = Manager::Service;
using Services = std::vector<Service>;
using Transition = Manager::Transition;
using Sleeps = std::vector<std::uint32_t>;
Q_DECLARE_METATYPE(Services)
Q_DECLARE_METATYPE(Sleeps)

namespace {

constexpr DWORD stopped = SERVICE_STOPPED;
constexpr DWORD starting = SERVICE_START_PENDING;
constexpr DWORD stopping = SERVICE_STOP_PENDING;
constexpr DWORD running = SERVICE_RUNNING;

struct HostComputer : Computer
{
    using Computer::Computer;
    Manager& services = machine.serviceManager();
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
    static const std::map<std::string, QByteArray> names{{"OpenSCManagerW", "OpenManager"},
                                                         {"OpenServiceW", "OpenService"},
                                                         {"QueryServiceStatusEx", "QueryStatus"},
                                                         {"ControlService", "Stop"},
                                                         {"StartServiceW", "Start"},
                                                         {"EnumDependentServicesW", "Dependents"}};
    QByteArray text = names.at(call.function);
    if (!call.service.empty())
        text += ' ' + QString::fromStdWString(call.service).toLatin1();
    return call.access ? text + ' ' + QByteArray::number(call.access, 16) : text;
}

/// @return the message that is logged if @p function fails with ERROR_GEN_FAILURE.
QString messageOf(const std::string& function)
{
    if (function == "EnumDependentServicesW")
        return QStringLiteral("ControlService failed (1051)");
    const std::size_t suffix = function.back() == 'W' ? 1 : 0;
    return QString::fromStdString(function.substr(0, function.size() - suffix)) +
           QStringLiteral(" failed (31)");
}

QByteArray controlsOf(const Manager& manager)
{
    QByteArrayList list;
    for (const Manager::Call& call : manager.calls()) {
        if (call.function == "ControlService" || call.function == "StartServiceW")
            list << textOf(call);
    }
    return list.join('|');
}

const Transition refuses = {0, 0, 0, INFINITE, 0, ERROR_INVALID_SERVICE_CONTROL};

void add(const char* name, const Services& services, const QByteArray& log, const Sleeps& sleeps, DWORD state,
         const QByteArray& controls)
{
    QTest::newRow(name) << services << log << sleeps << state << controls;
}

void addStops()
{
    const QByteArray done = "Service stopped successfully", sent = "Stop audiosrv";
    add("stop, at once", {audio(running, {})}, done, {}, stopped, sent);
    add("stop, within two hints", {audio(running, {2500, 2000})}, done, {2000, 2000}, stopped, sent);
    add("stop, long hint", {audio(running, {1, 12000})}, done, {12000}, stopped, sent);
    add("stop, no hint", {audio(running, {3, 0})}, done, {0, 0, 0}, stopped, sent);
    add("stop, never, no hint", {audio(running, {INFINITE, 0})}, "Wait timed out", Sleeps(30001, 0), stopping,
        sent);
    add("stop, exactly at the limit", {audio(running, {45000, 15000})}, done, Sleeps(3, 15000), stopped,
        sent);
    add("stop, never", {audio(running, {INFINITE, 10000})}, "Wait timed out", Sleeps(4, 10000), stopping,
        sent);
    add("stop, endless hint", {audio(running, {INFINITE, INFINITE})}, "Wait timed out", Sleeps(2, 30000),
        stopping, sent);
    add("stop, refused", {audio(running, refuses)}, "ControlService failed (1052)", {}, running, sent);
    add("stop, while starting", {audio(starting, {}, {INFINITE})}, "ControlService failed (1061)", {},
        starting, sent);
    add("stop, while stopped", {audio(stopped, {})}, "Service is already stopped.", {}, stopped, {});

    const QByteArray pending = "Service stop pending...|", doneByItself = "Service stopped successfully.";
    add("stop, stopping already", {audio(stopping, {500, 0}), dependent(L"a", {})}, pending + doneByItself,
        {1000}, stopped, {});
    add("stop, stopping, tenth of hint", {audio(stopping, {5000, 25000})}, pending + pending + doneByItself,
        {2500, 2500}, stopped, {});
    add("stop, stopping, never", {audio(stopping, {INFINITE, 200000})},
        pending.repeated(4) + "Service stop timed out.", Sleeps(4, 10000), stopping, {});
}

void addStopsOfDependents()
{
    const QByteArray done = "Service stopped successfully", sent = "Stop audiosrv";
    const QByteArray held = "ControlService failed (1051)";
    add("stop, dependents one by one",
        {audio(running, {1000, 1000}),
         dependent(L"a", {4000, 2000}),
         {L"b", running, {L"a"}, {1000, 500}},
         {L"c", stopped, {L"a"}}},
        done, {500, 500, 2000, 2000, 1000}, stopped, "Stop b|Stop a|Stop audiosrv");
    add("stop, dependents in time",
        {audio(running, {}), dependent(L"a", {15000, 15000}), dependent(L"b", {15000, 15000}),
         dependent(L"c", {})},
        done, {15000, 15000}, stopped, "Stop a|Stop b|Stop c|Stop audiosrv");
    add("stop, dependents late",
        {audio(running, {}), dependent(L"a", {15000, 15000}), dependent(L"b", {16000, 16000}),
         dependent(L"c", {})},
        held, {15000, 16000}, running, "Stop a|Stop b|Stop audiosrv");
    add("stop, dependent refuses", {audio(running, {}), dependent(L"a", refuses), dependent(L"b", {})}, held,
        {}, running, "Stop a|Stop audiosrv");
    add("stop, dependent denied", {audio(running, {}), dependent(L"a", {}, SERVICE_STOP)}, held, {}, running,
        sent);
}

void addStarts()
{
    const QByteArray begun = "Service start pending...|", runs = begun + "Service started successfully.";
    const QByteArray runsAlready = "Cannot start the service because it is already running";
    const QByteArray asked = "Start audiosrv";
    add("start, at once", {audio(stopped, {}, {})}, runs, {}, running, asked);
    add("start, tenth of hint", {audio(stopped, {}, {3500, 20000})}, runs, {2000, 2000}, running, asked);
    add("start, hint of 10,009 ms", {audio(stopped, {}, {1, 10009})}, runs, {1000}, running, asked);
    add("start, hint of 100,010 ms", {audio(stopped, {}, {1, 100010})}, runs, {10000}, running, asked);
    add("start, longest wait", {audio(stopped, {}, {15000, 150000})}, runs, {10000, 10000}, running, asked);
    add("start, slow but sure", {audio(stopped, {}, {12000, 2500, 2000})}, runs, Sleeps(12, 1000), running,
        asked);
    add("start, stalls", {audio(stopped, {}, {INFINITE, 5000, 2000, 4000})},
        begun + "Service not started. |  Current State: 2|  Exit Code: 0|  Check Point: 3|  Wait Hint: 5000",
        Sleeps(10, 1000), starting, asked);
    add("start, endless hint", {audio(stopped, {}, {INFINITE, INFINITE})},
        begun + "Service not started. |  Current State: 2|  Exit Code: 0|  Check Point: 1|  Wait Hint: -1",
        Sleeps(11, 3000), starting, asked);
    add("start, fails", {audio(stopped, {}, {0, 0, 0, INFINITE, 1066})},
        begun + "Service not started. |  Current State: 1|  Exit Code: 1066|  Check Point: 0|  Wait Hint: 0",
        {}, stopped, asked);
    add("start, refused", {audio(stopped, {}, refuses)}, "StartService failed (1052)", {}, stopped, asked);
    add("start, while running", {audio(running, {})}, runsAlready, {}, running, {});
    add("start, while starting", {audio(starting, {}, {INFINITE})}, runsAlready, {}, starting, {});
    add("start, still stopping", {audio(stopping, {2500, 3000})}, runs, Sleeps(3, 1000), running, asked);
    add("start, still stopping, slow but sure", {audio(stopping, {12000, 2500, 2000})}, runs,
        Sleeps(12, 1000), running, asked);
    add("start, still stopping, stalls", {audio(stopping, {INFINITE, 20000, 3000, 7000})},
        "Timeout waiting for service to stop", Sleeps(14, 2000), stopping, {});
}

} // namespace

class TestAudioService : public LeavesNothing
{
    Q_OBJECT

private Q_SLOTS:
    void theServiceStopsAndStarts_data();
    void theServiceStopsAndStarts();
    void everyFailingServiceCallIsLoggedAndTheServiceComesBack();
    void startMayOvertakeAStopOnAnotherThread();
    void serviceHandlesCheckKindAndRights();
};

void TestAudioService::theServiceStopsAndStarts_data()
{
    // The first service is the audio service. "expectedState" is the state of the audio service at the end.
    const Table<Services, QByteArray, Sleeps, DWORD, QByteArray> table(
        "services", "expectedLog", "expectedSleeps", "expectedState", "expectedControls");
    addStops();
    addStopsOfDependents();
    addStarts();
}

void TestAudioService::theServiceStopsAndStarts()
{
    const bool isStop = QByteArray(QTest::currentDataTag()).startsWith("stop");
    QFETCH(Services, services);
    // The tick count does not wrap, wraps during the first wait, or wraps during a later wait.
    for (const DWORD startTick : {DWORD(0), DWORD(-2), DWORD(-25000)}) {
        HostComputer computer(startTick);
        for (const Service& service : services)
            computer.services.add(service);
        ScopedAudioServiceStopper stopper;
        isStop ? stopper.stop() : stopper.start();
        QTEST(computer.log.text(), "expectedLog");
        QTEST(computer.clock.sleeps(), "expectedSleeps");
        QTEST(computer.services.state(L"audiosrv"), "expectedState");
        QTEST(controlsOf(computer.services), "expectedControls");
        if (isStop && computer.services.state(L"audiosrv") == stopped) {
            stopper.start(); // works whatever state the service had before stop()
            QCOMPARE(computer.services.state(L"audiosrv"), running);
        }
    }
}

void TestAudioService::everyFailingServiceCallIsLoggedAndTheServiceComesBack()
{
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
    QCOMPARE(texts.join('|'),
             QByteArray("OpenManager f003f|OpenService audiosrv 2c|QueryStatus audiosrv|Dependents audiosrv|"
                        "Dependents audiosrv|OpenService a 24|Stop a|QueryStatus a|OpenService b 24|Stop b|"
                        "OpenService c 24|Stop c|QueryStatus c|Stop audiosrv|QueryStatus audiosrv|"
                        "OpenManager f003f|OpenService audiosrv f01ff|QueryStatus audiosrv|Start audiosrv|"
                        "QueryStatus audiosrv|QueryStatus audiosrv"));
    const int lastOfDependents = 12, firstOfStart = 15, startControl = 18;

    const QLatin1Char bar('|');
    std::map<std::string, int> counts;
    for (int i = 0; i < int(calls.size()); ++i) {
        const Manager::Call& call = calls[std::size_t(i)];
        HostComputer computer;
        computer.machine.faults.fail(call.function, ++counts[call.function], ERROR_GEN_FAILURE);
        stopAndStart(computer);
        const QString failures =
            QString::fromLatin1(computer.log.text()).split(bar).filter(QStringLiteral("failed")).join(bar);
        // If a call for a dependent service fails, the log shows only that the audio service cannot be
        // stopped. The last call for a dependent service is an exception: it queries a service that has
        // already stopped, so its failure does no harm.
        const bool concernsAudio = call.service.empty() || call.service == L"audiosrv";
        QCOMPARE(failures, concernsAudio           ? messageOf(call.function)
                           : i == lastOfDependents ? QString()
                                                   : messageOf("EnumDependentServicesW"));
        computer.clock.sleep(5000);
        const bool comesBack = i < firstOfStart || i > startControl;
        QCOMPARE(computer.services.state(L"audiosrv"), comesBack ? running : stopped);
        ScopedAudioServiceStopper().start();
        QCOMPARE(computer.services.state(L"audiosrv"), running);
    }
}

void TestAudioService::startMayOvertakeAStopOnAnotherThread()
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

void TestAudioService::serviceHandlesCheckKindAndRights()
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
    for (const SC_HANDLE handle : {manager, mayStop, mayStart})
        QVERIFY(CloseServiceHandle(handle));
    QVERIFY(!CloseServiceHandle(manager));
    QCOMPARE(GetLastError(), DWORD(ERROR_INVALID_HANDLE));
}

QTEST_GUILESS_MAIN(TestAudioService)

#include "tst_audioservice.moc"
