// Closes the flashing dialog at every stage of an update, and checks what the dialog waits for and in which
// order it cleans up.

#include <thread>

#include <QSemaphore>

#include "dialogrun.h"
#include "leavesnothing.h"
#include "table.h"

namespace {

constexpr std::uint32_t serviceWaitMs = 100;

/// Limits the global thread pool to one thread. Between occupy() and release(), a newly queued task runs only
/// when a thread waits for its result.
class BusyPool
{
public:
    BusyPool() { pool.setMaxThreadCount(1); }
    ~BusyPool()
    {
        release();
        pool.waitForDone();
        pool.setMaxThreadCount(QThread::idealThreadCount());
    }

    /// Occupies the pool's thread as soon as the tasks that are already queued have run.
    void occupy()
    {
        pool.start([this] { end.acquire(); });
    }
    void release() { end.release(); }

private:
    QThreadPool& pool = *QThreadPool::globalInstance();
    QSemaphore end;
};

} // namespace

class TestDialogClosing : public LeavesNothing
{
    Q_OBJECT

private Q_SLOTS:
    void theEndpointsWaitForTheService_data();
    void theEndpointsWaitForTheService();
    void closingBeforeADeviceIsReachedLeavesTheDevicesAlone_data();
    void closingBeforeADeviceIsReachedLeavesTheDevicesAlone();
    void closingWaitsForTheServiceBeforeItEndsTheUpdaters();
    void closingWaitsForADeviceThatIsBeingProgrammed();
};

void TestDialogClosing::theEndpointsWaitForTheService_data()
{
    const Table<bool> table("isClosed"); // whether the dialog is closed before the service runs again
    table.row("left open", false);
    table.row("closed", true);
}

void TestDialogClosing::theEndpointsWaitForTheService()
{
    QFETCH(const bool, isClosed);
    Run run("TH");
    BusyPool pool;
    for (const DeviceType type : bothTypes)
        run.pair.device(type).unplug(); // so that its update fails at the start
    run.dialog->start();
    pool.occupy();
    TRY_VERIFY(run.closeButton()->isEnabled());
    QCOMPARE(run.audioServiceState(), DWORD(SERVICE_STOPPED));
    QVERIFY(!run.areEndpointsRestored());
    QVERIFY(run.isAwake());
    QTest::mouseClick(run.closeButton(), isClosed ? Qt::LeftButton : Qt::NoButton);
    if (isClosed)
        run.dialog.reset();
    else
        pool.release();
    TRY_VERIFY(run.isAtRest());
    QCOMPARE(run.audioServiceState(), DWORD(SERVICE_RUNNING));
}

void TestDialogClosing::closingBeforeADeviceIsReachedLeavesTheDevicesAlone_data()
{
    const Table<bool> table("isStoppedBefore"); // whether the service stops before the dialog is deleted
    table.row("the service is stopping", false);
    table.row("the service has stopped", true);
}

void TestDialogClosing::closingBeforeADeviceIsReachedLeavesTheDevicesAlone()
{
    QFETCH(const bool, isStoppedBefore);
    Run run("TH");
    run.gate.close(serviceWaitMs);
    run.dialog->start();
    TRY_VERIFY(run.gate.isReached());
    QVERIFY(run.isAwake());
    run.ask(isStoppedBefore);
    QVERIFY(run.dialog->isHidden());
    QCOMPARE(run.dialog->result(), int(QDialog::Rejected));
    QVERIFY(run.dialog->errors().isEmpty());
    if (isStoppedBefore) {
        run.gate.open();
        QThreadPool::globalInstance()->waitForDone();
        QCoreApplication::processEvents();
    }
    QVERIFY(run.updaters().isEmpty());
    run.dialog.reset();
    QVERIFY(run.isAtRest());
    QCOMPARE(run.audioServiceState(), DWORD(SERVICE_RUNNING));

    run.gate.open();
    QThreadPool::globalInstance()->waitForDone();
    QCOMPARE(run.audioServiceState(), DWORD(SERVICE_RUNNING));
    for (const DeviceType type : bothTypes)
        QCOMPARE(run.pair.device(type).transfers().count, 0);
}

void TestDialogClosing::closingWaitsForTheServiceBeforeItEndsTheUpdaters()
{
    Run run("TH");
    BusyPool pool; // keeps the service from starting until the dialog waits for it
    for (const DeviceType type : bothTypes)
        run.pair.device(type).setFault(Fault::NeverBack, 1);
    run.dialog->start();
    pool.occupy();
    TRY_COMPARE(run.updaters().size(), 2);
    QCOMPARE(run.audioServiceState(), DWORD(SERVICE_STOPPED));
    QCOMPARE(run.destroyDialog(), 2);
    QVERIFY(run.isAtRest());
}

void TestDialogClosing::closingWaitsForADeviceThatIsBeingProgrammed()
{
    Run run("TH");
    run.gate.close(sectorEraseMs);
    run.dialog->start();
    TRY_VERIFY(run.gate.isReached());
    // Waits until the headset, too, is in programming mode.
    TRY_VERIFY(run.pair.device(Headset).transfers().count > 1);
    QVERIFY(run.isAwake());
    std::thread opener([&run] { run.gate.open(); });
    QCOMPARE(run.destroyDialog(), 2);
    opener.join();
    QVERIFY(run.isAtRest());
    for (const DeviceType type : bothTypes)
        QVERIFY(run.isUpdated(type));
}

QTEST_MAIN(TestDialogClosing)

#include "tst_dialogclosing.moc"
