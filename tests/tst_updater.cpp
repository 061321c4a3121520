// Updates one device with a FirmwareUpdater, from the device's normal mode to the updater's last signal, and
// checks the signals.

#include <future>

#include "attempt.h"
#include "bystander.h"
#include "hidnode.h"
#include "leavesnothing.h"
#include "openobjects.h"
#include "pairedcomputer.h"
#include "table.h"
#include "waiting.h"

namespace {

constexpr HidIdentity programmingHeadset{0x170D, 0x0101};
constexpr std::uint32_t packetDelayMs = 20;

/// A computer with both devices plugged in, and an attempt that the gate holds after its first data packet.
struct HeldDownload : PairedComputer
{
    explicit HeldDownload(DeviceType type)
        : attempt(plugIn(type), type, images[type])
    {
        gate.close(packetDelayMs);
        attempt.updater->flashDevice();
    }
    ~HeldDownload() { letThreadsEnd(); }

    bool isHeld()
    {
        return QTest::qWaitFor([this] { return gate.isReached(); }, patienceMs);
    }

    Attempt attempt;

private:
    std::wstring plugIn(DeviceType type)
    {
        pair.plugIn();
        return pair.channelPath(type);
    }
};

} // namespace

class TestUpdater : public LeavesNothing
{
    Q_OBJECT

public:
    TestUpdater()
    {
        const auto goOn = [](std::promise<void>* waiting) { waiting->set_value(); };
        connect(this, &TestUpdater::reached, this, goOn, Qt::QueuedConnection);
    }

Q_SIGNALS:
    void reached(std::promise<void>* waiting); ///< emitted on the flasher's thread, which then waits

private Q_SLOTS:
    void aDeviceLostWhileProgrammedEndsTheAttempt_data();
    void aDeviceLostWhileProgrammedEndsTheAttempt();
    void aDeviceDisabledBetweenTwoPacketsLeavesTheOtherAlone();
    void aRefusedRemovalEndsTheAttempt();
    void theDeviceThatArrivedLastCounts();
    void destructionWaitsForTheProgramming();
};

void TestUpdater::aDeviceLostWhileProgrammedEndsTheAttempt_data()
{
    // Transfers are counted from the leave request. The last column follows "Failed in phase" in the log.
    const Table<int, int, QByteArray, QByteArray> table("type", "transfer", "outcome", "logged");
    table.row("leave", Headset, 1, "error 1", "leave, code 1");
    table.row("identify", Headset, 3, "error 3", "identify at transfer 2, code 3");
    table.row("configure", Transmitter, 7, "range 0, error 1", "configure at transfer 6, code 1");
    table.row("erase", Transmitter, 13, "range 0, error 1", "erase at transfer 12, code 1");
    table.row("download", Headset, 15, "range 0, error 1", "download at transfer 14, code 1");
    table.row("commit", Headset, 31, "range 0, error 1", "commit at transfer 30, code 1");
    table.row("final wait", Headset, 53, "range 0, finished", "");
}

void TestUpdater::aDeviceLostWhileProgrammedEndsTheAttempt()
{
    QFETCH(const int, type);
    QFETCH(const int, transfer);
    QFETCH(const QByteArray, logged);
    PairedComputer computer;
    computer.pair.plugIn();
    const auto kind = static_cast<DeviceType>(type);
    SimulatedDevice& device = computer.pair.device(kind);
    device.setFault(Fault::Vanish, transfer);
    const QThread* const own = QThread::currentThread();
    // The flasher waits until the updater knows of the loss, because virtual time has no delays.
    device.onVanished = [&] {
        if (QThread::currentThread() == own)
            return;
        std::promise<void> waiting;
        Q_EMIT reached(&waiting);
        waiting.get_future().wait();
    };
    Attempt attempt(computer.pair.channelPath(kind), kind, computer.images[kind]);
    attempt.updater->flashDevice();
    if (transfer == 1)
        attempt.timer().setInterval(0);
    TRY_VERIFY(!attempt.journal.isEmpty() && !attempt.journal.last().startsWith("range"));
    QTEST(attempt.text(), "outcome");
    const QByteArray end = ", device type = " + QByteArray::number(type);
    QCOMPARE(computer.log.find("!Failed in phase"),
             logged.isEmpty() ? logged : "!Failed in phase " + logged + end);
    QCOMPARE(QByteArray(phaseName(device.struckAt()->phase)), QByteArray(QTest::currentDataTag()));
    QCOMPARE(device.transfers().count, transfer); // nothing was sent after the loss
    QCOMPARE(computer.tree.openFileCount(), std::size_t(0));
    device.clearFault();
    device.plugIn();
    Attempt again(computer.pair.channelPath(kind), kind, computer.images[kind]);
    again.updater->flashDevice();
    TRY_COMPARE(again.text(), "range 0, finished");
    QVERIFY(again.progress > 100);
    TRY_VERIFY(device.isSettled() && device.isPluggedIn() && !device.isProgramming());
    QVERIFY(computer.isUpdated(kind));
    QVERIFY(device.refusals().empty());
    QCOMPARE(computer.pair.device(kind == Headset ? Transmitter : Headset).transfers().count, 0);
}

/// The system reuses the value of the transmitter's closed handle for the headset. The transmitter's flasher
/// ends before the headset's flasher.
void TestUpdater::aDeviceDisabledBetweenTwoPacketsLeavesTheOtherAlone()
{
    HeldDownload computer(Transmitter);
    QVERIFY(computer.isHeld());
    QVERIFY(computer.tree.requestRemoval(computer.pair.channelPath(Transmitter)));
    computer.second.close(packetDelayMs);
    Attempt headset(computer.pair.channelPath(Headset), Headset, computer.images[Headset]);
    const auto letGo = qScopeGuard([&] { computer.second.open(); });
    headset.updater->flashDevice();
    TRY_VERIFY(computer.second.isReached());
    computer.gate.open();
    TRY_COMPARE(computer.attempt.text(), "range 0, error 1");
    computer.second.open();
    TRY_COMPARE(headset.text(), "range 0, finished");
    QVERIFY(computer.isUpdated(Headset));
}

void TestUpdater::aRefusedRemovalEndsTheAttempt()
{
    HeldDownload computer(Headset);
    QVERIFY(computer.isHeld());
    const std::wstring path = computer.pair.channelPath(Headset);
    DWORD error = 0;
    auto someoneElse = computer.tree.open(path, 0, 0, error);
    Stranger stranger;
    const auto bystander = std::make_shared<Bystander>();
    bystander->onQuery = [&] { stranger.open(); };
    computer.tree.observe(bystander);
    QVERIFY(!computer.tree.requestRemoval(path));
    computer.gate.open();
    TRY_COMPARE(computer.attempt.text(), "range 0, error 1");
    QVERIFY(stranger.close());
    // The detector of the first attempt still holds the handle that it has reopened.
    Attempt again(path, Headset, computer.images[Headset]);
    again.updater->flashDevice();
    TRY_COMPARE(again.text(), "range 0, finished");
    QVERIFY(computer.isUpdated(Headset));
}

/// A second device in programming mode arrives while the first one is programmed. The removal of the second
/// device ends the attempt.
void TestUpdater::theDeviceThatArrivedLastCounts()
{
    HeldDownload computer(Headset);
    QVERIFY(computer.isHeld());
    computer.attempt.watchArrivals();
    const DeviceNode last = hidNode(programmingHeadset);
    computer.tree.plug(last);
    TRY_ACQUIRE(computer.attempt.arrivals, 1);
    QCoreApplication::processEvents();
    computer.tree.unplugAndWait(last.interfacePath);
    QCoreApplication::processEvents();
    computer.gate.open();
    TRY_COMPARE(computer.attempt.text(), "range 0, error 1");
    QVERIFY(!computer.isUpdated(Headset));
}

void TestUpdater::destructionWaitsForTheProgramming()
{
    HeldDownload computer(Headset);
    QVERIFY(computer.isHeld());
    connect(computer.attempt.updater.get(), &QObject::destroyed, [&] { computer.gate.open(); });
    computer.attempt.updater.reset();
    QVERIFY(computer.isUpdated(Headset));
    QCOMPARE(openHandleCount(), handlesBefore);
}

QTEST_GUILESS_MAIN(TestUpdater)

#include "tst_updater.moc"
