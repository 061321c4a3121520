// The detector's reports, starts and stops on a simulated device tree.

#include <atomic>
#include <future>
#include <thread>

#include "detectorfixture.h"
#include "leavesnothing.h"
#include "openobjects.h"

Q_DECLARE_METATYPE(SystemCall)

class TestDetector : public LeavesNothing
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void startNeedsListenerIdentitiesAndCount();
    void aFailedStartLeavesNothingBehind_data();
    void aFailedStartLeavesNothingBehind();
    void presentDevicesAreReportedBeforeCompletion();
    void completionIsReportedAgainWithTheFirstLaterBatch();
    void theWorkerWakesOncePerArrival();
    void aWaitThatFailsEndsTheWorker();
    void eachStartHasItsOwnIdentities();
    void aDeviceIsReportedOnceWhateverTheCaseOfItsPath();
    void anArrivalStillQueuedIsErasedByItsRemoval();
    void stopDoesNotWaitForAnInstallation();
    void completionIsReportedWithoutTheLock();
    void removedRecordsStayReadableUntilForgotten();
    void stopsAndStartsAgainWhileDevicesComeAndGo();
};

/// Runs before all other tests, because a process registers the window class only once.
void TestDetector::initTestCase()
{
    DetectorFixture f;
    f.machine.faults.fail(SystemCall::RegisterClassW, 1, ERROR_NOT_ENOUGH_MEMORY);
    QVERIFY(!f.start());
    QVERIFY(f.start());
}

void TestDetector::startNeedsListenerIdentitiesAndCount()
{
    DetectorFixture f;
    const DeviceId id = Utilities::allDeviceIds()[0];
    const DeviceId noClass{0x7A31, 4, InterfaceKind::None};
    QVERIFY(!f.detector->start(nullptr, &id, 1));
    QVERIFY(!f.detector->start(&f.recorder, nullptr, 1));
    QVERIFY(!f.detector->start(&f.recorder, &id, 0));
    QVERIFY(f.detector->start(&f.recorder, &id, 1));
    QVERIFY(f.detector->start(&f.recorder, &noClass, 1)); // already runs: ignores the new identities
    f.recorder.waitFor(1);
    f.tree.plug(hidNode(transmitter));
    QCOMPARE(f.recorder.waitFor(3), QStringList({QStringLiteral("complete 0"), QStringLiteral("complete 0"),
                                                 QStringLiteral("+7a31:4")}));
}

void TestDetector::aFailedStartLeavesNothingBehind_data()
{
    QTest::addColumn<SystemCall>("call");
    QTest::addColumn<int>("nth");
    QTest::addColumn<std::size_t>("threads"); // number kept by the detector for its next start
    QTest::newRow("first event") << SystemCall::CreateEventW << 1 << std::size_t(0);
    QTest::newRow("second event") << SystemCall::CreateEventW << 2 << std::size_t(0);
    QTest::newRow("third event") << SystemCall::CreateEventW << 3 << std::size_t(0);
    QTest::newRow("notification thread") << SystemCall::CreateThread << 1 << std::size_t(0);
    QTest::newRow("worker thread") << SystemCall::CreateThread << 2 << std::size_t(0);
    QTest::newRow("window") << SystemCall::CreateWindowExW << 1 << std::size_t(1);
    QTest::newRow("registration") << SystemCall::RegisterDeviceNotificationW << 1 << std::size_t(1);
}

void TestDetector::aFailedStartLeavesNothingBehind()
{
    QFETCH(const SystemCall, call);
    QFETCH(const int, nth);
    QFETCH(const std::size_t, threads);
    for (int i = 0; i < 100; ++i) { // repeated, because a thread left running may end in time by luck
        const bool isStartedAgain = i % 2 != 0;
        DetectorFixture f;
        f.machine.faults.fail(call, nth, ERROR_NOT_ENOUGH_MEMORY);
        f.tree.plug(hidNode(transmitter));
        QVERIFY(!f.start({{0x7A31, 0x0004, InterfaceKind::Hid}}));
        QCOMPARE(runningThreadCount(), threads);
        if (isStartedAgain) {
            QVERIFY(f.start({{0x7A31, 0x0004, InterfaceKind::Hid}}));
            QCOMPARE(f.recorder.waitFor(2).mid(0, 2),
                     QStringList({QStringLiteral("+7a31:4"), QStringLiteral("complete 1")}));
        }
        f.detector.reset();
        QCOMPARE(openHandleCount(), handlesBefore);
    }
    DetectorFixture f; // if the first identity cannot register its class, the second one does
    f.machine.faults.fail(SystemCall::RegisterDeviceNotificationW, 1, ERROR_NOT_ENOUGH_MEMORY);
    QVERIFY(f.detected({transmitter}));
}

void TestDetector::presentDevicesAreReportedBeforeCompletion()
{
    DetectorFixture f;
    f.tree.plug(hidNode(transmitter));
    f.tree.plug(hidNode(headset));
    f.tree.plug(hidNode(headset, L"7&1a2b3c&0&0001"));
    const QStringList reports = {QStringLiteral("+7a31:4"), QStringLiteral("+7a31:6"),
                                 QStringLiteral("+7a31:6"), QStringLiteral("complete 3")};
    QVERIFY(f.start());
    QCOMPARE(f.recorder.waitFor(4), reports);
    QCOMPARE(f.machine.faults.counted(SystemCall::SetupDiGetDeviceInstanceIdW), 1 + 2 + 3);
    QCOMPARE(f.recorder.last->name, std::wstring(L"HID-compliant vendor-defined device"));
    QVERIFY(!f.recorder.last->hasFriendlyName);
    QCOMPARE(
        f.recorder.last->path,
        std::wstring(
            L"\\\\?\\hid#vid_7a31&pid_0006&mi_02#7&1a2b3c&0&0001#{4d1e55b2-f16f-11cf-88cb-001111000030}"));
    f.detector->stop(); // forgets all devices
    QVERIFY(f.start());
    QCOMPARE(f.recorder.waitFor(8).mid(4), reports);
}

void TestDetector::completionIsReportedAgainWithTheFirstLaterBatch()
{
    DetectorFixture f;
    QVERIFY(f.start());
    QCOMPARE(f.recorder.waitFor(1), QStringList(QStringLiteral("complete 0")));
    f.tree.plug(hidNode(transmitter));
    f.recorder.waitFor(3);
    f.tree.unplug(hidNode(transmitter).interfacePath);
    QCOMPARE(f.recorder.waitFor(4), QStringList({QStringLiteral("complete 0"), QStringLiteral("complete 0"),
                                                 QStringLiteral("+7a31:4"), QStringLiteral("-4")}));
}

void TestDetector::theWorkerWakesOncePerArrival()
{
    DetectorFixture f;
    QVERIFY(f.start());
    f.recorder.waitFor(1);
    constexpr int arrivals = 20;
    for (int i = 0; i < arrivals; ++i) {
        f.tree.plug(hidNode(transmitter, L"7&1a2b3c&0&00" + std::to_wstring(10 + i)));
        f.recorder.waitFor(3 + i); // two are completions, 1 + i arrivals
    }
    const int waits = f.machine.faults.counted(SystemCall::WaitForMultipleObjects);
    QVERIFY2(waits <= 1 + arrivals, QByteArray::number(waits));
}

void TestDetector::aWaitThatFailsEndsTheWorker()
{
    DetectorFixture f;
    f.machine.faults.fail(SystemCall::WaitForMultipleObjects, 1, ERROR_NOT_ENOUGH_MEMORY);
    QVERIFY(f.start());
    TRY_VERIFY(runningThreadCount() == 1); // only the notification thread is left
    f.tree.plug(hidNode(transmitter));
    f.detector->stop();
    QCOMPARE(f.recorder.waitFor(1), QStringList(QStringLiteral("complete 0")));
    QVERIFY(f.start());
    QVERIFY(f.recorder.waitFor(3).contains(QStringLiteral("+7a31:4"))); // after two completions
}

void TestDetector::eachStartHasItsOwnIdentities()
{
    DetectorFixture f;
    f.tree.plug(hidNode(transmitter));
    f.tree.plug(hidNode(headset));
    QVERIFY(f.start({{0x7A31, 0x0004, InterfaceKind::Hid}}));
    f.recorder.waitFor(2);
    f.detector->stop();
    QVERIFY(f.start({{0x7A31, 0x0006, InterfaceKind::Hid}}));
    QCOMPARE(f.recorder.waitFor(4), QStringList({QStringLiteral("+7a31:4"), QStringLiteral("complete 1"),
                                                 QStringLiteral("+7a31:6"), QStringLiteral("complete 1")}));
    f.detector->stop();
    f.tree.setInstallationPending(true);
    QVERIFY(f.start({{0x7A31, 0x0004, InterfaceKind::Hid}}));
    f.detector->stop(); // both devices are still queued
    f.tree.setInstallationPending(false);
    QVERIFY(f.start({{0x7A31, 0x0006, InterfaceKind::Hid}}));
    QCOMPARE(f.recorder.waitFor(6).mid(4, 2),
             QStringList({QStringLiteral("+7a31:6"), QStringLiteral("complete 1")}));
}

void TestDetector::aDeviceIsReportedOnceWhateverTheCaseOfItsPath()
{
    DetectorFixture f;
    QVERIFY(f.detected({transmitter}));
    f.tree.repeatArrival(hidNode(transmitter).interfacePath);
    f.tree.plug(hidNode(headset));
    QCOMPARE(f.recorder.waitFor(3), QStringList({QStringLiteral("+7a31:4"), QStringLiteral("complete 1"),
                                                 QStringLiteral("+7a31:6")}));
}

void TestDetector::anArrivalStillQueuedIsErasedByItsRemoval()
{
    DetectorFixture f;
    f.tree.setInstallationPending(true);
    f.tree.plug(hidNode(transmitter));
    QVERIFY(f.start());
    TRY_VERIFY(f.machine.faults.counted(SystemCall::CMP_WaitNoPendingInstallEvents) >
               0);                                            // the arrival has been queued
    f.tree.unplugAndWait(hidNode(transmitter).interfacePath); // broadcast in mixed case, queued in lower case
    QStringList expected{QStringLiteral("complete 0")};       // the completion marker is now the first entry
    QCOMPARE(f.recorder.waitFor(1), expected);
    f.tree.plug(hidNode(headset));
    f.tree.setInstallationPending(false);
    expected << QStringLiteral("+7a31:6");
    QCOMPARE(f.recorder.waitFor(2), expected);
}

void TestDetector::stopDoesNotWaitForAnInstallation()
{
    DetectorFixture f;
    f.tree.setInstallationPending(true);
    f.tree.plug(hidNode(transmitter));
    QVERIFY(f.start());
    TRY_VERIFY(f.machine.faults.counted(SystemCall::CMP_WaitNoPendingInstallEvents) > 1);
    auto stopped = std::async(std::launch::async, [&] { f.detector->stop(); });
    const auto outcome = stopped.wait_for(std::chrono::milliseconds(patienceMs));
    f.tree.setInstallationPending(false); // lets stop() return even if it waits
    QVERIFY(outcome == std::future_status::ready);
    QCOMPARE(f.recorder.waitFor(0), QStringList());
}

void TestDetector::completionIsReportedWithoutTheLock()
{
    DetectorFixture f;
    std::future<HANDLE> opening;
    std::atomic<bool> wasHeldUp{true};
    f.recorder.onReport = [&](const QString& report) {
        if (!report.startsWith(QLatin1String("complete")))
            return;
        opening = std::async(std::launch::async, [&] {
            return f.detector->openDevice(f.recorder.last, Access::Read, Access::Read, nullptr, 0);
        });
        wasHeldUp = opening.wait_for(std::chrono::milliseconds(patienceMs)) != std::future_status::ready;
    };
    QVERIFY(f.detected({transmitter}));
    f.detector->stop();
    QVERIFY(!wasHeldUp);
    QVERIFY(CloseHandle(opening.get()));
}

void TestDetector::removedRecordsStayReadableUntilForgotten()
{
    DetectorFixture f;
    QVERIFY(f.detected({transmitter}));
    DeviceInstance* const removed = f.recorder.last;
    f.tree.unplug(hidNode(transmitter).interfacePath);
    f.recorder.waitFor(3);
    f.tree.plug(hidNode(transmitter));
    f.recorder.waitFor(4);
    QVERIFY(f.recorder.last != removed); // the old address still names the removed record
    QCOMPARE(removed->productId, std::uint16_t(4));
    f.detector->forget(removed);
    f.detector->forget(f.recorder.last); // does nothing: the device is present
    QCOMPARE(f.recorder.last->productId, std::uint16_t(4));
}

void TestDetector::stopsAndStartsAgainWhileDevicesComeAndGo()
{
    DetectorFixture f;
    std::atomic<bool> done{false};
    std::thread plugger([&] {
        for (int i = 0; i < 2000; ++i) {
            const DeviceNode plugged =
                hidNode(i % 2 ? headset : transmitter, L"7&1a2b3c&0&000" + std::to_wstring(i % 5));
            f.tree.plug(plugged);
            if (i % 3)
                f.tree.unplug(plugged.interfacePath);
        }
        done = true;
    });
    int runs = 0;
    while (!done || runs < 50) {
        const int reported = f.recorder.waitFor(0).size();
        if (!f.start())
            break;
        if (runs % 2)
            f.recorder.waitFor(reported + 1); // at least the completion
        f.detector->stop();
        ++runs;
    }
    plugger.join();
    QVERIFY(runs >= 50);
    QCOMPARE(f.recorder.overlaps.load(), 0);
    const std::size_t present = f.tree.presentNodes(hidInterfaceClass).size();
    QVERIFY(present > 0);
    const QString completion = QStringLiteral("complete %1").arg(present);
    const int before = f.recorder.waitFor(0).size();
    QVERIFY(f.start());
    // The detector first examines the arrivals that its last run left in the queue. After that it knows every
    // device that is present.
    TRY_VERIFY(f.recorder.waitFor(0).mid(before).contains(completion));
}

QTEST_GUILESS_MAIN(TestDetector)

#include "tst_detector.moc"
