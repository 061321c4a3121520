// Tests on a simulated device tree how the detector starts and stops, which devices it reports, and when.

#include <atomic>
#include <future>
#include <thread>

#include <windows.h>

#include <hidclass.h>
#include <usbiodef.h>

#include "detectorfixture.h"
#include "leavesnothing.h"
#include "openobjects.h"
#include "presentdevices_p.h"
#include "table.h"

Q_DECLARE_METATYPE(DeviceId)

class TestDetector : public LeavesNothing
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void startNeedsListenerIdentitiesAndCount();
    void aFailedStartLeavesNothingBehind_data();
    void aFailedStartLeavesNothingBehind();
    void presentDevicesAreReportedBeforeCompletion();
    void theWorkerWakesOncePerArrival();
    void aWaitThatFailsEndsTheWorker();
    void eachStartHasItsOwnIdentities();
    void aDeviceIsReportedOnceWhateverTheCaseOfItsPath();
    void anArrivalStillQueuedIsErasedByItsRemoval();
    void aBroadcastIsHandledBeforeTheNextArrivalIsExamined();
    void stopDoesNotWaitForAnInstallation();
    void completionIsReportedWithoutTheLock();
    void removedRecordsStayReadableUntilForgotten();
    void devicesAreReportedByHardwareIdAndFilter_data();
    void devicesAreReportedByHardwareIdAndFilter();
    void nodesThatCannotBeReadAreSkipped();
    void aDeviceThatCouldNotBeReadIsReadAtItsNextBroadcast_data();
    void aDeviceThatCouldNotBeReadIsReadAtItsNextBroadcast();
};

/// A process registers the window class only at its first start of a detector. To make that registration
/// fail, this function must run before all other tests.
void TestDetector::initTestCase()
{
    DetectorFixture f;
    f.machine.faults.fail("RegisterClassW", 1, ERROR_NOT_ENOUGH_MEMORY);
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
    QVERIFY(f.detector->start(&f.recorder, &noClass, 1)); // a running detector ignores new identities
    f.recorder.waitFor(1);
    f.tree.plug(hidNode(transmitter));
    f.recorder.waitFor(3);
    f.tree.unplug(hidNode(transmitter).interfacePath);
    // If no device is present at the start, the detector reports completion twice: at once, and before
    // the first arrival.
    QCOMPARE(f.recorder.waitFor(4), "complete 0, complete 0, +7a31:4, -4");
}

void TestDetector::aFailedStartLeavesNothingBehind_data()
{
    // The last column is the number of threads that the detector keeps for its next start.
    const Table<QByteArray, int, std::size_t> table("call", "nth", "threads");
    table.row("first event", "CreateEventW", 1, 0);
    table.row("second event", "CreateEventW", 2, 0);
    table.row("third event", "CreateEventW", 3, 0);
    table.row("notification thread", "CreateThread", 1, 0);
    table.row("worker thread", "CreateThread", 2, 0);
    table.row("window", "CreateWindowExW", 1, 1);
    table.row("registration", "RegisterDeviceNotificationW", 1, 1);
}

void TestDetector::aFailedStartLeavesNothingBehind()
{
    QFETCH(const QByteArray, call);
    QFETCH(const int, nth);
    QFETCH(const std::size_t, threads);
    for (int i = 0; i < 100; ++i) { // a single round could miss a thread that is left running
        const bool isStartedAgain = i % 2 != 0;
        DetectorFixture f;
        f.machine.faults.fail(call.toStdString(), nth, ERROR_NOT_ENOUGH_MEMORY);
        f.tree.plug(hidNode(transmitter));
        QVERIFY(!f.start({{0x7A31, 0x0004, InterfaceKind::Hid}}));
        QCOMPARE(runningThreadCount(), threads);
        if (isStartedAgain) {
            QVERIFY(f.start({{0x7A31, 0x0004, InterfaceKind::Hid}}));
            QVERIFY(f.recorder.waitFor(2).startsWith("+7a31:4, complete 1"));
        }
        f.detector.reset();
        QCOMPARE(openHandleCount(), handlesBefore);
    }
    DetectorFixture f; // registration fails for the first identity, but not for the second
    f.machine.faults.fail("RegisterDeviceNotificationW", 1, ERROR_NOT_ENOUGH_MEMORY);
    QVERIFY(f.detected({transmitter}));
}

void TestDetector::presentDevicesAreReportedBeforeCompletion()
{
    DetectorFixture f;
    f.tree.plug(hidNode(transmitter));
    f.tree.plug(hidNode(headset));
    f.tree.plug(hidNode(headset, L"7&1a2b3c&0&0001"));
    QVERIFY(f.start());
    QCOMPARE(f.recorder.waitFor(4), "+7a31:4, +7a31:6, +7a31:6, complete 3");
    QCOMPARE(f.machine.faults.counted("SetupDiGetDeviceInstanceIdW"), 1 + 2 + 3);
    QCOMPARE(f.recorder.last->name, std::wstring(L"HID-compliant vendor-defined device"));
    QVERIFY(!f.recorder.last->hasFriendlyName);
    QCOMPARE(
        f.recorder.last->path,
        std::wstring(
            L"\\\\?\\hid#vid_7a31&pid_0006&mi_02#7&1a2b3c&0&0001#{4d1e55b2-f16f-11cf-88cb-001111000030}"));
}

void TestDetector::theWorkerWakesOncePerArrival()
{
    DetectorFixture f;
    QVERIFY(f.start());
    f.recorder.waitFor(1);
    constexpr int arrivals = 20;
    for (int i = 0; i < arrivals; ++i) {
        f.tree.plug(hidNode(transmitter, L"7&1a2b3c&0&00" + std::to_wstring(10 + i)));
        f.recorder.waitFor(3 + i); // 2 completions and 1 + i arrivals
    }
    const int waits = f.machine.faults.counted("WaitForMultipleObjects");
    QVERIFY2(waits <= 1 + arrivals, QByteArray::number(waits) + " waits for an event, expected at most " +
                                        QByteArray::number(1 + arrivals));
    const int settlings = f.machine.faults.counted("CMP_WaitNoPendingInstallEvents");
    QVERIFY2(settlings <= arrivals, QByteArray::number(settlings) +
                                        " waits for installations, expected at most " +
                                        QByteArray::number(arrivals));
}

void TestDetector::aWaitThatFailsEndsTheWorker()
{
    DetectorFixture f;
    f.machine.faults.fail("WaitForMultipleObjects", 1, ERROR_NOT_ENOUGH_MEMORY);
    QVERIFY(f.start());
    TRY_VERIFY(runningThreadCount() == 1); // only the notification thread still runs
    f.recorder.waitFor(1);                 // the enumeration has ended; no device is plugged in yet
    f.tree.plug(hidNode(transmitter));
    f.detector->stop();
    QCOMPARE(f.recorder.waitFor(1), "complete 0");
    QVERIFY(f.start());
    QVERIFY(f.recorder.waitFor(3).contains("+7a31:4")); // the other two reports are completions
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
    QCOMPARE(f.recorder.waitFor(4), "+7a31:4, complete 1, +7a31:6, complete 1");
    f.detector->stop();
    f.tree.setInstallationPending(true);
    QVERIFY(f.start({{0x7A31, 0x0004, InterfaceKind::Hid}}));
    f.detector->stop(); // both devices are still queued
    f.tree.setInstallationPending(false);
    QVERIFY(f.start({{0x7A31, 0x0006, InterfaceKind::Hid}}));
    QVERIFY(f.recorder.waitFor(6, 4).startsWith("+7a31:6, complete 1"));
}

void TestDetector::aDeviceIsReportedOnceWhateverTheCaseOfItsPath()
{
    DetectorFixture f;
    QVERIFY(f.detected({transmitter}));
    const DeviceNode node = hidNode(transmitter);
    // An enumeration spells a path in lower case, a broadcast in mixed case.
    QCOMPARE(presentInterfacePaths(GUID_DEVINTERFACE_HID), {toLowerAscii(node.interfacePath)});
    QVERIFY(toLowerAscii(node.interfacePath) != node.interfacePath);
    f.tree.repeatArrival(node.interfacePath);
    f.tree.plug(hidNode(headset, L"7&1A2b3C&0&\u00C4")); // only ASCII letters are lower-cased
    QCOMPARE(f.recorder.waitFor(3), "+7a31:4, complete 1, +7a31:6");
    QVERIFY(f.recorder.last->path.find(L"#7&1a2b3c&0&\u00C4#") != std::wstring::npos);
}

void TestDetector::anArrivalStillQueuedIsErasedByItsRemoval()
{
    DetectorFixture f;
    f.tree.setInstallationPending(true);
    f.tree.plug(hidNode(transmitter));
    QVERIFY(f.start());
    // When the worker starts to wait for the end of the installation, the arrival is already in the queue.
    TRY_VERIFY(f.machine.faults.counted("CMP_WaitNoPendingInstallEvents") > 0);
    // The broadcast has the path in mixed case, the queue has it in lower case.
    f.tree.unplugAndWait(hidNode(transmitter).interfacePath);
    QCOMPARE(f.recorder.waitFor(1), "complete 0"); // the removal has erased the arrival from the queue
    f.tree.plug(hidNode(headset));
    f.tree.setInstallationPending(false);
    QCOMPARE(f.recorder.waitFor(2), "complete 0, +7a31:6");
}

void TestDetector::aBroadcastIsHandledBeforeTheNextArrivalIsExamined()
{
    DetectorFixture f;
    f.tree.plug(hidNode(transmitter));
    f.tree.plug(hidNode(headset));
    // The detector reports an arrival with its lock held, so the removal must wait for the lock.
    f.recorder.onReport = [&](const QByteArray& report) {
        if (report != "+7a31:4")
            return;
        const int messages = f.machine.faults.counted("GetWindowLongPtrW");
        f.tree.unplug(hidNode(transmitter).interfacePath);
        const QDeadlineTimer patience(patienceMs);
        while (f.machine.faults.counted("GetWindowLongPtrW") == messages && !patience.hasExpired())
            std::this_thread::yield(); // until the notification thread has taken the removal
    };
    QVERIFY(f.start());
    QCOMPARE(f.recorder.waitFor(4), "+7a31:4, -4, +7a31:6, complete 1");
}

void TestDetector::stopDoesNotWaitForAnInstallation()
{
    DetectorFixture f;
    f.tree.setInstallationPending(true);
    f.tree.plug(hidNode(transmitter));
    QVERIFY(f.start());
    TRY_VERIFY(f.machine.faults.counted("CMP_WaitNoPendingInstallEvents") > 1);
    auto stopped = std::async(std::launch::async, [&] { f.detector->stop(); });
    const auto outcome = stopped.wait_for(std::chrono::milliseconds(patienceMs));
    f.tree.setInstallationPending(false); // a stop() that still waits can now return
    QVERIFY(outcome == std::future_status::ready);
    const int waits = f.machine.faults.counted("CMP_WaitNoPendingInstallEvents");
    QCOMPARE(f.clock.tickCount(), 1000u * static_cast<unsigned>(waits));
    QCOMPARE(f.recorder.waitFor(0), "");
}

void TestDetector::completionIsReportedWithoutTheLock()
{
    DetectorFixture f;
    std::future<HANDLE> opening;
    std::atomic<bool> wasHeldUp{true};
    f.recorder.onReport = [&](const QByteArray& report) {
        if (!report.startsWith("complete"))
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
    constexpr std::size_t rounds = 100;
    DetectorFixture f;
    QVERIFY(f.detected({transmitter}));
    int reports = 2;
    for (const bool isForgotten : {true, false}) { // stop() deletes a record that is not forgotten
        const std::size_t blocksBefore = liveBlockCount();
        for (std::size_t round = 0; round < rounds; ++round) {
            DeviceInstance* const removed = f.recorder.last;
            f.tree.unplug(hidNode(transmitter).interfacePath);
            f.recorder.waitFor(++reports);
            f.tree.plug(hidNode(transmitter));
            f.recorder.waitFor(++reports);
            QVERIFY(f.recorder.last != removed); // the removed record still exists
            QCOMPARE(removed->productId, std::uint16_t(4));
            f.detector->forget(isForgotten ? removed : f.recorder.last); // forget() ignores a present device
            QCOMPARE(f.recorder.last->productId, std::uint16_t(4));
            if (isForgotten)
                continue;
            f.detector->stop();
            QVERIFY(f.start());
            f.recorder.waitFor(reports += 2);
        }
        const std::size_t blocksAfter = liveBlockCount();
        QVERIFY2(blocksAfter < blocksBefore + rounds,
                 QByteArray::number(qulonglong(blocksAfter - blocksBefore)) +
                     " memory blocks more than before, expected fewer than " +
                     QByteArray::number(qulonglong(rounds)));
    }
}

void TestDetector::devicesAreReportedByHardwareIdAndFilter_data()
{
    const Table<QByteArray, bool, DeviceId, QByteArray> table("hardwareId", "isHid", "filter", "report");
    constexpr DeviceId anyHid{0, 0, InterfaceKind::Hid};
    constexpr DeviceId anyUsb{0, 0, InterfaceKind::UsbDevice};
    const QByteArray id = "HID\\VID_7A31&PID_0004";
    table.row("other vendor", id, true, {0x170D, 0, InterfaceKind::Hid}, "complete 0");
    table.row("other product", id, true, {0, 3, InterfaceKind::Hid}, "complete 0");
    table.row("other kind", id, true, {0x7A31, 4, InterfaceKind::UsbDevice}, "complete 0");
    table.row("four digits", "HID\\Vid_7a31&Pid_0010", true, anyHid, "+7a31:16");
    table.row("USB device", "USB\\VID_7A31&PID_0004", false, anyUsb, "+7a31:4");
    table.row("no digit, counts as 0", "HID\\VID_12G4&PID_0004", true, anyHid, "+1204:4");
    table.row("short number", "HID\\VID_7A31&PID_4", true, anyHid, "+7a31:4");
    table.row("no product", "HID\\VID_7A31", true, anyHid, "complete 0");
    table.row("vendor 0", "HID\\VID_0000&PID_0004", true, anyHid, "complete 0");
}

void TestDetector::devicesAreReportedByHardwareIdAndFilter()
{
    QFETCH(const QByteArray, hardwareId);
    QFETCH(const bool, isHid);
    QFETCH(const DeviceId, filter);
    QFETCH(const QByteArray, report);
    DetectorFixture f;
    DeviceNode node = hidNode(transmitter);
    // The detector uses only the first hardware identifier.
    node.hardwareIds = {QString::fromLatin1(hardwareId).toStdWString(), L"HID\\VID_7A31&PID_0003"};
    node.interfaceClass = isHid ? GUID_DEVINTERFACE_HID : GUID_DEVINTERFACE_USB_DEVICE;
    node.friendlyName = L"Friendly";
    f.tree.plug(node);
    QVERIFY(f.start({{0x1234, 0x0001, InterfaceKind::Hid}, filter}));
    QVERIFY(f.recorder.waitFor(1).startsWith(report));
    if (!f.recorder.last)
        return;
    QCOMPARE(f.recorder.last->interfaceKind == InterfaceKind::Hid, isHid);
    QVERIFY(f.recorder.last->hasFriendlyName);
    QCOMPARE(f.recorder.last->name, std::wstring(L"Friendly"));
}

void TestDetector::nodesThatCannotBeReadAreSkipped()
{
    DetectorFixture f;
    // The instance identifier of each of these nodes is a prefix of the transmitter's instance identifier.
    // The detector must not confuse these nodes with the transmitter.
    DeviceNode noHardwareId = hidNode(transmitter, L"7&1a2b3c&0&000");
    noHardwareId.hardwareIds.clear();
    noHardwareId.friendlyName = L"Friendly";
    DeviceNode noEnumerator = hidNode(transmitter, L"7&1a2b3c&0&00");
    noEnumerator.enumerator.clear();
    DeviceNode otherBus = hidNode(transmitter, L"7&1a2b3c&0&0");
    otherBus.enumerator = L"BTHENUM";
    for (const DeviceNode& node : {noHardwareId, noEnumerator, otherBus})
        f.tree.plug(node);
    DeviceInstance* const device = f.detected({transmitter});
    QVERIFY(device && !device->hasFriendlyName);
    QCOMPARE(f.recorder.waitFor(2), "+7a31:4, complete 1");
}

void TestDetector::aDeviceThatCouldNotBeReadIsReadAtItsNextBroadcast_data()
{
    const Table<QByteArray, int> table("call", "nth");
    table.row("enumeration", "SetupDiGetClassDevsW", 1);
    table.row("length of its path", "SetupDiGetDeviceInterfaceDetailW", 1);
    table.row("its path", "SetupDiGetDeviceInterfaceDetailW", 2);
    table.row("devices", "SetupDiGetClassDevsW", 2);
    table.row("instance id", "SetupDiGetDeviceInstanceIdW", 1);
    table.row("hardware id", "SetupDiGetDeviceRegistryPropertyW", 3); // calls 1 and 2 read names
    table.row("enumerator", "SetupDiGetDeviceRegistryPropertyW", 4);
}

void TestDetector::aDeviceThatCouldNotBeReadIsReadAtItsNextBroadcast()
{
    QFETCH(const QByteArray, call);
    QFETCH(const int, nth);
    DetectorFixture f;
    f.machine.faults.fail(call.toStdString(), nth, ERROR_NOT_ENOUGH_MEMORY);
    f.tree.plug(hidNode(transmitter));
    QVERIFY(f.start());
    QCOMPARE(f.recorder.waitFor(1), "complete 0");
    f.tree.repeatArrival(hidNode(transmitter).interfacePath);
    TRY_VERIFY(f.recorder.waitFor(2).endsWith("+7a31:4"));
}

QTEST_GUILESS_MAIN(TestDetector)

#include "tst_detector.moc"
