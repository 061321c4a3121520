// The detector on a simulated device tree: what it reports, which handles it watches, and that nothing is
// left over.

#include <atomic>
#include <condition_variable>
#include <mutex>
#include <thread>

#include "devicedetector.h"
#include "devicedetectorlistener.h"
#include "deviceinstance.h"
#include "hidnode.h"
#include "openobjects.h"
#include "simulatedmachine.h"
#include "utilities.h"
#include "waiting.h"

namespace {

constexpr HidIdentity transmitter{0x7A31, 0x0004};
constexpr HidIdentity headset{0x7A31, 0x0006, 2};

/// Writes down every report as a line of text.
class Recorder final : public DeviceDetectorListener
{
public:
    void deviceArrived(DeviceInstance* instance) override
    {
        last = instance;
        add(QStringLiteral("+%1:%2")
                .arg(instance->vendorId, 4, 16, QLatin1Char('0'))
                .arg(instance->productId));
    }
    void deviceRemoved(DeviceInstance* instance) override
    {
        add(QStringLiteral("-%1").arg(instance->productId));
    }
    void deviceHandleChanged(DeviceInstance*, HANDLE oldHandle, HANDLE newHandle) override
    {
        add(oldHandle != newHandle ? QStringLiteral("handle") : QStringLiteral("same handle"));
    }
    void deviceEnumerationComplete(std::size_t count) override
    {
        add(QStringLiteral("complete %1").arg(count));
    }

    /// Waits until @p count reports were made in all.
    QStringList waitFor(int count)
    {
        std::unique_lock<std::mutex> lock(mutex);
        changed.wait_until(lock, std::chrono::system_clock::now() + std::chrono::milliseconds(patienceMs),
                           [&] { return reports.size() >= count; });
        return reports;
    }

    DeviceInstance* last = nullptr;

private:
    void add(const QString& report)
    {
        const std::lock_guard<std::mutex> guard(mutex);
        reports << report;
        changed.notify_all();
    }

    std::mutex mutex;
    std::condition_variable changed;
    QStringList reports;
};

struct Fixture
{
    VirtualClock clock;
    SimulatedMachine machine{&clock};
    ScopedMachine scope{machine};
    SimulatedDeviceTree& tree = machine.deviceTree();
    Recorder recorder;
    std::shared_ptr<DeviceDetector> detector{createDeviceDetector(), destroyDeviceDetector};

    bool start(std::vector<DeviceId> ids = {Utilities::allDeviceIds().begin(),
                                            Utilities::allDeviceIds().end()})
    {
        return detector->start(&recorder, ids.data(), static_cast<unsigned int>(ids.size()));
    }
};

} // namespace

class TestDetector : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init() { handlesBefore = openHandleCount(); }
    void cleanup() { QCOMPARE(openHandleCount(), handlesBefore); }

    void startNeedsListenerIdentitiesAndCount();
    void presentDevicesAreReportedBeforeCompletion();
    void completionIsReportedAgainWithTheFirstLaterBatch();
    void onlyMatchingReadableDevicesAreReported_data();
    void onlyMatchingReadableDevicesAreReported();
    void aDeviceIsReportedOnceWhateverTheCase();
    void anArrivalStillQueuedIsErasedByItsRemoval();
    void openHandlesAreSharedWatchedAndReleased();
    void aRefusedRemovalReopensTheHandleForQueriesOnly();
    void anOrderlyRemovalClosesTheHandle();
    void removedRecordsStayReadableUntilForgotten();
    void stopsAndStartsAgainWhileDevicesComeAndGo();

private:
    std::size_t handlesBefore = 0;
};

void TestDetector::startNeedsListenerIdentitiesAndCount()
{
    Fixture f;
    const DeviceId id = Utilities::allDeviceIds()[0];
    const DeviceId noClass{0x7A31, 4, InterfaceKind::None};
    QVERIFY(!f.detector->start(nullptr, &id, 1));
    QVERIFY(!f.detector->start(&f.recorder, nullptr, 1));
    QVERIFY(!f.detector->start(&f.recorder, &id, 0));
    QVERIFY(f.detector->start(&f.recorder, &id, 1));
    QVERIFY(f.detector->start(&f.recorder, &noClass, 1)); // it runs: the new identities are ignored
    f.recorder.waitFor(1);
    f.tree.plug(hidNode(transmitter));
    QCOMPARE(f.recorder.waitFor(3), QStringList({QStringLiteral("complete 0"), QStringLiteral("complete 0"),
                                                 QStringLiteral("+7a31:4")}));
}

void TestDetector::presentDevicesAreReportedBeforeCompletion()
{
    Fixture f;
    f.tree.plug(hidNode(transmitter));
    f.tree.plug(hidNode(headset));
    f.tree.plug(hidNode(headset, L"7&1a2b3c&0&0001"));
    QVERIFY(f.start());
    QCOMPARE(f.recorder.waitFor(4), QStringList({QStringLiteral("+7a31:4"), QStringLiteral("+7a31:6"),
                                                 QStringLiteral("+7a31:6"), QStringLiteral("complete 3")}));
    QCOMPARE(f.recorder.last->name, std::wstring(L"HID-compliant vendor-defined device"));
    QVERIFY(!f.recorder.last->hasFriendlyName);
    QCOMPARE(
        f.recorder.last->path,
        std::wstring(
            L"\\\\?\\hid#vid_7a31&pid_0006&mi_02#7&1a2b3c&0&0001#{4d1e55b2-f16f-11cf-88cb-001111000030}"));
}

void TestDetector::completionIsReportedAgainWithTheFirstLaterBatch()
{
    Fixture f;
    QVERIFY(f.start());
    QCOMPARE(f.recorder.waitFor(1), QStringList(QStringLiteral("complete 0")));
    f.tree.plug(hidNode(transmitter));
    f.recorder.waitFor(3);
    f.tree.unplug(hidNode(transmitter).interfacePath);
    QCOMPARE(f.recorder.waitFor(4), QStringList({QStringLiteral("complete 0"), QStringLiteral("complete 0"),
                                                 QStringLiteral("+7a31:4"), QStringLiteral("-4")}));
}

void TestDetector::onlyMatchingReadableDevicesAreReported_data()
{
    QTest::addColumn<QString>("hardwareId");
    QTest::addColumn<QString>("enumerator");
    QTest::addColumn<QString>("expected");
    const QString hid = QStringLiteral("HID");
    QTest::newRow("known") << "HID\\VID_7A31&PID_0003" << hid << "+7a31:3";
    QTest::newRow("programming mode") << "HID\\VID_170D&PID_0101" << hid << "+170d:257";
    QTest::newRow("enumerator in lower case") << "hid\\vid_7a31&pid_0003"
                                              << "usb"
                                              << "+7a31:3";
    QTest::newRow("not a digit counts 0") << "HID\\VID_7A31&PID_000g" << hid << "";
    QTest::newRow("foreign product") << "HID\\VID_7A31&PID_0005" << hid << "";
    QTest::newRow("foreign vendor") << "HID\\VID_170D&PID_0004" << hid << "";
    QTest::newRow("no pid") << "HID\\VID_7A31&MI_0004" << hid << "";
    QTest::newRow("other bus") << "HID\\VID_7A31&PID_0003"
                               << "BTHENUM"
                               << "";
    QTest::newRow("no enumerator") << "HID\\VID_7A31&PID_0003"
                                   << ""
                                   << "";
    QTest::newRow("no hardware id") << "" << hid << "";
}

void TestDetector::onlyMatchingReadableDevicesAreReported()
{
    QFETCH(const QString, hardwareId);
    QFETCH(const QString, enumerator);
    QFETCH(const QString, expected);
    Fixture f;
    DeviceNode examined = hidNode({0x1234, 0x0001}); // identity comes from the hardware id alone
    examined.hardwareIds.clear();
    if (!hardwareId.isEmpty())
        examined.hardwareIds = {hardwareId.toStdWString(), L"HID\\VID_7A31&PID_0004"};
    examined.enumerator = enumerator.toStdWString();
    examined.friendlyName = L"Friendly";
    f.tree.plug(examined);
    QVERIFY(f.start());
    const QStringList reports = f.recorder.waitFor(expected.isEmpty() ? 1 : 2);
    QCOMPARE(reports.first(), expected.isEmpty() ? QStringLiteral("complete 0") : expected);
    if (!expected.isEmpty())
        QVERIFY(f.recorder.last->hasFriendlyName && f.recorder.last->name == L"Friendly");
}

void TestDetector::aDeviceIsReportedOnceWhateverTheCase()
{
    Fixture f;
    f.tree.plug(hidNode(transmitter));
    QVERIFY(f.start());
    f.recorder.waitFor(2);
    f.tree.repeatArrival(hidNode(transmitter).interfacePath);
    f.tree.plug(hidNode(headset));
    QCOMPARE(f.recorder.waitFor(3), QStringList({QStringLiteral("+7a31:4"), QStringLiteral("complete 1"),
                                                 QStringLiteral("+7a31:6")}));
}

void TestDetector::anArrivalStillQueuedIsErasedByItsRemoval()
{
    Fixture f;
    f.tree.setInstallationPending(true);
    QVERIFY(f.start());
    QStringList expected{QStringLiteral("complete 0")};
    QCOMPARE(f.recorder.waitFor(1), expected);
    f.tree.plug(hidNode(transmitter));
    f.tree.unplug(
        hidNode(transmitter).interfacePath); // erases the arrival, and the marker that then stands in front
    expected << QStringLiteral("complete 0");
    QCOMPARE(f.recorder.waitFor(2), expected);
    f.tree.plug(hidNode(headset));
    f.tree.setInstallationPending(false);
    expected << QStringLiteral("+7a31:6");
    QCOMPARE(f.recorder.waitFor(3), expected);
    f.tree.setInstallationPending(true);
    f.tree.plug(hidNode(transmitter));
    f.detector->stop(); // while the worker waits for the installation
    QCOMPARE(f.recorder.waitFor(3), expected);
}

void TestDetector::openHandlesAreSharedWatchedAndReleased()
{
    Fixture f;
    f.tree.plug(hidNode(transmitter));
    QVERIFY(f.start());
    f.recorder.waitFor(2);
    const HANDLE first = f.detector->openDevice(f.recorder.last, 3, 1, nullptr, 0);
    QVERIFY(first != INVALID_HANDLE_VALUE);
    QCOMPARE(f.detector->openDevice(f.recorder.last, 3, 0, nullptr, 0), INVALID_HANDLE_VALUE);
    QCOMPARE(GetLastError(), DWORD(ERROR_SHARING_VIOLATION));
    const auto opening = f.tree.openings().front();
    QCOMPARE(opening.access, DWORD(GENERIC_READ) | DWORD(GENERIC_WRITE));
    QCOMPARE(opening.share, DWORD(FILE_SHARE_READ));
    f.detector->closeDevice(f.recorder.last); // no handle of its own: nothing happens
    f.detector->closeDevice(first);
    QVERIFY(CloseHandle(first));
    const HANDLE second = f.detector->openDevice(f.recorder.last, 1, 0, nullptr, 0);
    QVERIFY(second != INVALID_HANDLE_VALUE);
    f.tree.unplug(hidNode(transmitter).interfacePath); // with the handle open: the removal is reported once
    QCOMPARE(f.recorder.waitFor(3).last(), QStringLiteral("-4"));
    QCOMPARE(f.detector->openDevice(f.recorder.last, 3, 0, nullptr, 0), INVALID_HANDLE_VALUE);
    QVERIFY(CloseHandle(second));
    f.detector->stop();
    QCOMPARE(f.recorder.waitFor(3).size(), 3);
}

void TestDetector::aRefusedRemovalReopensTheHandleForQueriesOnly()
{
    Fixture f;
    f.tree.plug(hidNode(transmitter));
    QVERIFY(f.start());
    f.recorder.waitFor(2);
    DWORD error = 0;
    const auto someoneElse = f.tree.open(hidNode(transmitter).interfacePath, 0, 0, error);
    const HANDLE handle = f.detector->openDevice(f.recorder.last, 3, 1, nullptr, 0);
    QVERIFY(handle != INVALID_HANDLE_VALUE);
    QVERIFY(!f.tree.requestRemoval(hidNode(transmitter).interfacePath));
    QCOMPARE(f.recorder.waitFor(3).last(), QStringLiteral("handle"));
    QCOMPARE(f.tree.openings().back().access, DWORD(0));
    QVERIFY(!CloseHandle(handle));
    QCOMPARE(f.tree.openFileCount(), std::size_t(2));
    f.detector->stop();
    handlesBefore += 1; // the new handle belongs to whoever took the report
}

void TestDetector::anOrderlyRemovalClosesTheHandle()
{
    Fixture f;
    f.tree.plug(hidNode(transmitter));
    QVERIFY(f.start());
    f.recorder.waitFor(2);
    QVERIFY(f.detector->openDevice(f.recorder.last, 3, 1, nullptr, 0) != INVALID_HANDLE_VALUE);
    QVERIFY(f.tree.requestRemoval(hidNode(transmitter).interfacePath));
    QCOMPARE(f.recorder.waitFor(3).last(), QStringLiteral("-4"));
    QCOMPARE(f.tree.openFileCount(), std::size_t(0));
}

void TestDetector::removedRecordsStayReadableUntilForgotten()
{
    Fixture f;
    f.tree.plug(hidNode(transmitter));
    QVERIFY(f.start());
    f.recorder.waitFor(2);
    DeviceInstance* const removed = f.recorder.last;
    f.tree.unplug(hidNode(transmitter).interfacePath);
    f.recorder.waitFor(3);
    f.tree.plug(hidNode(transmitter));
    f.recorder.waitFor(4);
    QVERIFY(f.recorder.last != removed); // the address names the removed one still
    QCOMPARE(removed->productId, std::uint16_t(4));
    f.detector->forget(removed);
    f.detector->forget(f.recorder.last); // it is present: nothing happens
    QCOMPARE(f.recorder.last->productId, std::uint16_t(4));
}

void TestDetector::stopsAndStartsAgainWhileDevicesComeAndGo()
{
    Fixture f;
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
    const std::size_t present = f.tree.presentNodes(hidInterfaceClass).size();
    QVERIFY(present > 0);
    const QString completion = QStringLiteral("complete %1").arg(present);
    const int before = f.recorder.waitFor(0).size();
    QVERIFY(f.start());
    // The queue that the last stop left behind is examined first; in the end every present device is known.
    TRY_VERIFY(f.recorder.waitFor(0).mid(before).contains(completion));
}

QTEST_GUILESS_MAIN(TestDetector)

#include "tst_detector.moc"
