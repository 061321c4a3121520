// The end of an update at every moment: what the dialog waits for, and in which order it cleans up.

#include <thread>

#include <QSemaphore>

#include "dialogrun.h"
#include "leavesnothing.h"

namespace {

constexpr std::uint32_t serviceWaitMs = 100;

/// While it lives, the global pool has one thread. Occupied, it runs a task only for somebody who waits for
/// it.
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

    /// Occupies the thread when it is through with the tasks it has.
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
    void closingBeforeADeviceIsReachedLeavesThemAlone_data();
    void closingBeforeADeviceIsReachedLeavesThemAlone();
    void closingWaitsForTheServiceBeforeItEndsTheUpdaters();
    void closingEndsADeviceThatDoesNotComeBack_data();
    void closingEndsADeviceThatDoesNotComeBack();
    void closingWaitsForADeviceThatIsBeingProgrammed();
};

void TestDialogClosing::theEndpointsWaitForTheService_data()
{
    QTest::addColumn<bool>("isClosed"); // before the service is back
    QTest::newRow("left open") << false;
    QTest::newRow("closed") << true;
}

void TestDialogClosing::theEndpointsWaitForTheService()
{
    QFETCH(const bool, isClosed);
    Run run("TH");
    BusyPool pool;
    for (const DeviceType type : bothTypes)
        run.pair.device(type).unplug(); // fails at its start
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

void TestDialogClosing::closingBeforeADeviceIsReachedLeavesThemAlone_data()
{
    QTest::addColumn<bool>("isStoppedBefore"); // the service, before the dialog goes
    QTest::newRow("the service is stopping") << false;
    QTest::newRow("the service has stopped") << true;
}

void TestDialogClosing::closingBeforeADeviceIsReachedLeavesThemAlone()
{
    QFETCH(const bool, isStoppedBefore);
    Run run("TH");
    run.gate.close(serviceWaitMs);
    run.dialog->start();
    TRY_VERIFY(run.gate.isReached());
    QVERIFY(run.isAwake());
    QTest::keyClick(run.dialog.get(), Qt::Key_Escape);
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
    BusyPool pool; // which keeps the service from coming back, until somebody waits for it
    for (const DeviceType type : bothTypes)
        run.pair.device(type).setFault(Fault::NeverBack, 1);
    run.dialog->start();
    pool.occupy();
    TRY_COMPARE(run.updaters().size(), 2);
    QCOMPARE(run.audioServiceState(), DWORD(SERVICE_STOPPED));
    run.dialog->close();
    QCOMPARE(run.destroyDialog(), 2);
    QVERIFY(run.isAtRest());
}

void TestDialogClosing::closingEndsADeviceThatDoesNotComeBack_data()
{
    QTest::addColumn<int>("reported"); // devices, of which the first has failed
    QTest::newRow("leaving") << 0;
    QTest::newRow("one reported") << 1;
    QTest::newRow("done") << 2;
}

void TestDialogClosing::closingEndsADeviceThatDoesNotComeBack()
{
    QFETCH(const int, reported);
    Run run("TH");
    run.startInVain(2);
    if (reported > 0)
        Q_EMIT run.updaters().first()->flashingError(5);
    if (reported > 1)
        Q_EMIT run.updaters().last()->flashingFinished();
    TRY_VERIFY(run.isAtRest() == (reported == 2));
    QTest::keyClick(run.dialog.get(), Qt::Key_Escape);
    QVERIFY(run.dialog->isHidden());
    QCOMPARE(run.dialog->result(), int(QDialog::Rejected));
    QCOMPARE(run.dialog->errors().size(), reported > 0 ? 1 : 0);
    QCOMPARE(run.destroyDialog(), 2);
    QVERIFY(run.isAtRest());
    for (const DeviceType type : bothTypes)
        QVERIFY(!run.isUpdated(type));
}

void TestDialogClosing::closingWaitsForADeviceThatIsBeingProgrammed()
{
    Run run("TH");
    run.gate.close(sectorEraseMs);
    run.dialog->start();
    TRY_VERIFY(run.gate.isReached());
    // The headset, too, has done more than to leave its application.
    TRY_VERIFY(run.pair.device(Headset).transfers().count > 1);
    QVERIFY(run.isAwake());
    QTest::keyClick(run.dialog.get(), Qt::Key_Escape);
    std::thread opener([&run] { run.gate.open(); });
    QCOMPARE(run.destroyDialog(), 2);
    opener.join();
    QVERIFY(run.isAtRest());
    for (const DeviceType type : bothTypes)
        QVERIFY(run.isUpdated(type));
}

QTEST_MAIN(TestDialogClosing)

#include "tst_dialogclosing.moc"
