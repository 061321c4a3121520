// Tests which handles the detector opens and watches while devices are removed from a simulated device tree.

#include <atomic>
#include <functional>
#include <future>
#include <thread>

#include <windows.h>

#include <dbt.h>

#include "detectorfixture.h"
#include "devicetree.h"
#include "leavesnothing.h"
#include "openobjects.h"
#include "table.h"

using Broadcasts = SimulatedDeviceTree::Broadcasts;
Q_DECLARE_METATYPE(Broadcasts)

namespace {

/// Another program that has a device open. It reacts to an event after the detector has received the event,
/// because users of a device receive events in the order in which they registered.
class Bystander final : public DeviceTreeObserver
{
public:
    Bystander(WPARAM awaitedEvent, std::function<void()> reaction)
        : awaited(awaitedEvent)
        , react(std::move(reaction))
    {
    }

    bool watchesFile() const override { return true; }
    std::future<void> onEvent(WPARAM event, const DeviceNode&) override
    {
        if (event == awaited)
            react();
        return std::promise<void>().get_future(); // the promise is destroyed, so the future is ready
    }

private:
    const WPARAM awaited;
    const std::function<void()> react;
};

} // namespace

class TestDetectorHandles : public LeavesNothing
{
    Q_OBJECT

private Q_SLOTS:
    void openHandlesAreSharedWatchedAndReleased();
    void aRefusedRemovalReopensTheHandleForQueriesOnly();
    void handlesOfOneValueAreNotConfused();
    void anOrderlyRemovalClosesEveryHandle();
    void aRemovalIsReportedOnceHoweverItIsBroadcast_data();
    void aRemovalIsReportedOnceHoweverItIsBroadcast();
};

void TestDetectorHandles::openHandlesAreSharedWatchedAndReleased()
{
    DetectorFixture f;
    DeviceInstance* const device = f.detected({transmitter});
    QVERIFY(device);
    const HANDLE first = f.detector->openDevice(device, Access::ReadWrite, Access::Read, nullptr, 0);
    QVERIFY(first != INVALID_HANDLE_VALUE);
    QCOMPARE(f.detector->openDevice(device, Access::ReadWrite, Access::ReadWrite, nullptr, 0),
             INVALID_HANDLE_VALUE);
    QCOMPARE(GetLastError(), DWORD(ERROR_SHARING_VIOLATION));
    QCOMPARE(f.tree.openings().front().access, DWORD(GENERIC_READ) | DWORD(GENERIC_WRITE));
    QCOMPARE(f.tree.openings().front().share, DWORD(FILE_SHARE_READ));
    f.detector->closeDevice(first);
    QVERIFY(!f.tree.requestRemoval(hidNode(transmitter).interfacePath)); // the handle is no longer watched
    QVERIFY(CloseHandle(first));
    const HANDLE second = f.detector->openDevice(device, Access::Read, Access::Write, nullptr, 0);
    QVERIFY(second != INVALID_HANDLE_VALUE);
    QCOMPARE(f.tree.openings().back().access, DWORD(GENERIC_READ));
    QCOMPARE(f.tree.openings().back().share, DWORD(FILE_SHARE_WRITE));
    // This flag is relaxed, so it does not order the threads' memory accesses. If the detector's lock did not
    // order them either, thread sanitizer would report a data race.
    std::atomic<bool> isRemoved{false};
    std::thread closing([&] {
        while (!isRemoved.load(std::memory_order_relaxed))
            std::this_thread::yield();
        f.detector->closeDevice(device); // does nothing, because a record is not a handle
    });
    f.tree.unplug(hidNode(transmitter).interfacePath); // reported once, although a handle is open
    const QByteArray reports = f.recorder.waitFor(3);
    isRemoved.store(true, std::memory_order_relaxed);
    closing.join();
    QVERIFY(reports.endsWith("complete 1, -4"));
    QCOMPARE(f.detector->openDevice(device, Access::ReadWrite, Access::None, nullptr, 0),
             INVALID_HANDLE_VALUE);
    QVERIFY(CloseHandle(second));
    f.detector->stop();
    QCOMPARE(f.recorder.waitFor(3), reports);
}

void TestDetectorHandles::aRefusedRemovalReopensTheHandleForQueriesOnly()
{
    DetectorFixture f;
    const std::wstring path = hidNode(headset).interfacePath;
    DWORD error = 0;
    QVERIFY(f.detected({transmitter}));
    const HANDLE gone = f.detector->openDevice(f.recorder.last, Access::ReadWrite, Access::Read, nullptr, 0);
    f.tree.plug(hidNode(headset));
    f.recorder.waitFor(3);
    QVERIFY(f.detector->openDevice(f.recorder.last, Access::ReadWrite, Access::Read, nullptr, 0) !=
            INVALID_HANDLE_VALUE);
    f.tree.unplugAndWait(hidNode(transmitter).interfacePath); // the headset's handle is still watched
    QVERIFY(CloseHandle(gone));
    const auto someoneElse = f.tree.open(path, 0, 0, error);
    for (int reports = 5; reports <= 6; ++reports) { // twice: the reopened handle is watched as well
        QVERIFY(!f.tree.requestRemoval(path));
        QCOMPARE(f.recorder.waitFor(reports, reports - 1), "reopened 6");
        QCOMPARE(f.tree.openings().back().access, DWORD(0));
        QCOMPARE(f.tree.openFileCount(), std::size_t(2));
    }
    // When the device is lent, the detector closes the reopened handle.
    const auto lent = f.detector->lendDevice(f.recorder.last, Access::Read, Access::ReadWrite);
    QCOMPARE(f.tree.openFileCount(), std::size_t(2));
    f.detector->takeBack(*lent);
    QVERIFY(!f.tree.requestRemoval(path)); // a handle that was taken back is not watched
    QVERIFY(lent->isOpen());
    lent->close();
    f.detector->stop();
    QCOMPARE(f.recorder.waitFor(6, 5), "reopened 6");
}

/// A removal of the first device is requested, so the detector closes the device's handle. The second device
/// is then opened, and the new handle gets the value of the closed handle. Then the removal is refused.
void TestDetectorHandles::handlesOfOneValueAreNotConfused()
{
    DetectorFixture f;
    const std::wstring path = hidNode(headset).interfacePath;
    DWORD error = 0;
    QVERIFY(f.detected({transmitter}));
    DeviceInstance* const first = f.recorder.last;
    f.tree.plug(hidNode(headset));
    f.recorder.waitFor(3);
    DeviceInstance* const second = f.recorder.last;
    const HANDLE closed = f.detector->openDevice(first, Access::ReadWrite, Access::Read, nullptr, 0);
    QVERIFY(closed != INVALID_HANDLE_VALUE);
    HANDLE other = INVALID_HANDLE_VALUE;
    auto bystander = std::make_shared<Bystander>(DBT_DEVICEQUERYREMOVE, [&] {
        other = f.detector->openDevice(second, Access::ReadWrite, Access::Read, nullptr, 0);
    });
    f.tree.observe(bystander);
    const auto someoneElse = f.tree.open(hidNode(transmitter).interfacePath, 0, 0, error);
    QVERIFY(!f.tree.requestRemoval(hidNode(transmitter).interfacePath));
    bystander.reset();
    QCOMPARE(f.recorder.waitFor(4, 3), "reopened 4");
    QCOMPARE(other, closed);
    const auto anyone = f.tree.open(path, 0, 0, error);
    QVERIFY(!f.tree.requestRemoval(path));
    QCOMPARE(f.recorder.waitFor(5, 4), "reopened 6");
    f.detector->stop(); // closes the reopened handles
    QCOMPARE(openHandleCount(), handlesBefore);
}

void TestDetectorHandles::anOrderlyRemovalClosesEveryHandle()
{
    DetectorFixture f;
    DeviceInstance* const device = f.detected({transmitter});
    QVERIFY(device);
    const auto first = f.detector->lendDevice(device, Access::ReadWrite, Access::ReadWrite);
    const auto second = f.detector->lendDevice(device, Access::ReadWrite, Access::ReadWrite);
    const auto third = f.detector->lendDevice(device, Access::ReadWrite, Access::ReadWrite);
    f.detector->takeBack(*third);
    third->close();
    QVERIFY(f.tree.requestRemoval(hidNode(transmitter).interfacePath));
    QVERIFY(!first->isOpen() && !second->isOpen());
    QCOMPARE(f.recorder.waitFor(3, 2), "-4");
}

void TestDetectorHandles::aRemovalIsReportedOnceHoweverItIsBroadcast_data()
{
    const Table<Broadcasts> table("broadcasts");
    table.row("for the interface first", {false, 1, false});
    table.row("for the handle first", {true, 1, false});
    table.row("twice, the interface first", {false, 2, true});
    table.row("twice, the handle first", {true, 2, true});
}

void TestDetectorHandles::aRemovalIsReportedOnceHoweverItIsBroadcast()
{
    QFETCH(const Broadcasts, broadcasts);
    DetectorFixture f;
    f.tree.setBroadcasts(broadcasts);
    QVERIFY(f.detected({transmitter}));
    const HANDLE handle =
        f.detector->openDevice(f.recorder.last, Access::ReadWrite, Access::Read, nullptr, 0);
    QByteArray lastReport; // set when the bystander gets the broadcast
    const auto bystander =
        std::make_shared<Bystander>(DBT_DEVICEREMOVECOMPLETE, [&] { lastReport = f.recorder.waitFor(3, 2); });
    f.tree.observe(bystander);
    f.tree.unplugAndWait(hidNode(transmitter).interfacePath);
    QCOMPARE(lastReport, "-4");
    f.tree.plug(hidNode(headset));
    QCOMPARE(f.recorder.waitFor(4, 2), "-4, +7a31:6");
    QVERIFY(CloseHandle(handle));
}

QTEST_GUILESS_MAIN(TestDetectorHandles)

#include "tst_detectorhandles.moc"
