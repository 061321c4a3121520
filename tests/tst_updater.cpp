// Updates one device with a FirmwareUpdater and checks the updater's signals. At the start, the device is in
// normal mode or in programming mode.

#include <QProcess>

#include "attempt.h"
#include "hidnode.h"
#include "leavesnothing.h"
#include "literals.h"
#include "openobjects.h"
#include "pairedcomputer.h"
#include "scriptedhid.h"
#include "table.h"
#include "waiting.h"

namespace {

constexpr HidIdentity normalHeadset{0x7A31, 0x0006};
constexpr HidIdentity programmingHeadset{0x170D, 0x0101};
constexpr std::uint32_t packetDelayMs = 20;

/// A computer with both devices plugged in, and an attempt to update one of them. The gate holds the attempt
/// after its first data packet.
struct HeldDownload : PairedComputer
{
    explicit HeldDownload(DeviceType type)
        : attempt(plugIn(type), type, images[type])
    {
        gate.close(packetDelayMs);
        attempt.updater->flashDevice();
    }
    ~HeldDownload() { letThreadsEnd(); }

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

private Q_SLOTS:
    void aDeviceInNormalModeGetsTheRequestToLeave_data();
    void aDeviceInNormalModeGetsTheRequestToLeave();
    void aDeviceThatLeavesAtOnceIsNoticed();
    void aDeviceInProgrammingModeIsOpenedByItsPath();
    void anAttemptWithoutPathOrTypeOpensNothing();
    void anEmptyImageIsNeverWritten();
    void aDeviceThatCannotBeOpenedEndsTheAttempt_data();
    void aDeviceThatCannotBeOpenedEndsTheAttempt();
    void aDeviceLostWhileProgrammedEndsTheAttempt_data();
    void aDeviceLostWhileProgrammedEndsTheAttempt();
    void aDeviceDisabledBetweenTwoPacketsLeavesTheOtherAlone();
    void aRefusedRemovalEndsTheAttempt();
    void theRemovalOfTheLatestArrivalEndsTheAttempt();
    void destructionWaitsForTheProgramming();
};

void TestUpdater::aDeviceInNormalModeGetsTheRequestToLeave_data()
{
    const Table<int, bool, QStringList> table("productId", "wow64", "arguments");
    table.row("first generation", 4, false, {"31281"_s, "4"_s});
    table.row("second generation", 3, true, {"31281"_s, "3"_s});
    table.row("headset", 6, true, {"31281"_s, "6"_s});
}

void TestUpdater::aDeviceInNormalModeGetsTheRequestToLeave()
{
    QFETCH(const int, productId);
    QFETCH(const bool, wow64);
    HidFixture computer({0x7A31, std::uint16_t(productId)});
    computer.machine.processes().isWow64 = wow64;
    const QString tool = QDir(QCoreApplication::applicationDirPath())
                             .filePath("UninstallDevices_%1.exe"_s.arg(wow64 ? "x64"_s : "x86"_s));
    QFile::remove(tool); // an interrupted run may have left this file
    QVERIFY(QFile::link("/bin/true"_s, tool));
    const auto removeTool = qScopeGuard([&] { QFile::remove(tool); });
    const DeviceType type = productId == 6 ? Headset : Transmitter;
    Attempt attempt(computer.path, type, "image");
    attempt.updater->flashDevice();
    const auto processes = attempt.updater->findChildren<QProcess*>();
    QCOMPARE(processes.size(), 1);
    QCOMPARE(processes.front()->program(), tool);
    QTEST(processes.front()->arguments(), "arguments");
    QCOMPARE(computer.hid->transfers, 1);
    QCOMPARE(computer.hid->sent, QByteArray::fromHex("FF02000A").leftJustified(264, '\0'));
    TRY_COMPARE(attempt.updater->findChild<QProcess*>(), static_cast<QProcess*>(nullptr));
    QCOMPARE(attempt.text(), QByteArray());
    QVERIFY(attempt.timer().isActive());
    QVERIFY(attempt.timer().isSingleShot());
    QCOMPARE(attempt.timer().interval(), 30000);
    QCOMPARE(computer.tree.openFileCount(), std::size_t(0));

    attempt.timer().setInterval(0);
    TRY_COMPARE(attempt.text(), "error 1");
    attempt.watchArrivals();
    computer.plug(type == Headset ? programmingHeadset : HidIdentity{0x170D, 0x0100}, computer.hid);
    TRY_ACQUIRE(attempt.arrivals, 1);
    QCoreApplication::processEvents();
    QCOMPARE(attempt.text(), QByteArray("error 1")); // the device has come back too late
    QCOMPARE(computer.tree.openings().size(), std::size_t(1));
}

/// The first transfer asks the device to leave normal mode. Before this transfer returns, the device arrives
/// in programming mode and is removed again.
void TestUpdater::aDeviceThatLeavesAtOnceIsNoticed()
{
    HidFixture computer(normalHeadset);
    Attempt attempt(computer.path, Headset, "image");
    bool isSeen = false;
    computer.hid->onTransfer = [&] {
        attempt.watchArrivals();
        const std::wstring programming = computer.plug(programmingHeadset, computer.hid);
        isSeen = attempt.arrivals.tryAcquire(1, patienceMs);
        computer.tree.unplugAndWait(programming);
    };
    attempt.updater->flashDevice();
    QVERIFY(isSeen);
    TRY_COMPARE(attempt.text(), "error 1");
    QCOMPARE(computer.hid->transfers, 1);
}

void TestUpdater::aDeviceInProgrammingModeIsOpenedByItsPath()
{
    HidFixture computer(programmingHeadset);
    const std::wstring second = computer.plug(programmingHeadset, computer.hid, L"7&1a2b3c&0&0002");
    Attempt attempt(second, Headset, "image");
    attempt.updater->flashDevice();
    QCOMPARE(computer.hid->transfers, 0); // no request to leave normal mode was sent
    QVERIFY(!attempt.updater->findChild<QProcess*>());
    computer.hid->setError = computer.hid->getError = ERROR_GEN_FAILURE;
    TRY_COMPARE(attempt.text(), "error 3");
    for (const auto& opening : computer.tree.openings())
        QCOMPARE(recordOf(opening.path).path, recordOf(second).path);
}

void TestUpdater::anAttemptWithoutPathOrTypeOpensNothing()
{
    HidFixture computer(normalHeadset);
    Attempt pathless(std::wstring(), Headset, "image");
    pathless.updater->flashDevice();
    QCOMPARE(pathless.text() + computer.log.text(), QByteArray());
    Attempt unknown(computer.path, Unknown, "image");
    unknown.updater->flashDevice();
    QCOMPARE(unknown.text() + computer.log.text(), QByteArray("finished!Unknown device"));
    QVERIFY(computer.tree.openings().empty());
    QVERIFY(!pathless.timer().isActive());
    QVERIFY(!unknown.timer().isActive());
}

void TestUpdater::anEmptyImageIsNeverWritten()
{
    HidFixture computer(programmingHeadset);
    Attempt attempt(computer.path, Headset, QByteArray());
    attempt.updater->flashDevice();
    QVERIFY(attempt.timer().isActive());
    TRY_VERIFY(!attempt.timer().isActive()); // the arrival of the device stops the timer
    QCOMPARE(attempt.text(), QByteArray());
    computer.tree.unplugAndWait(computer.path);
    QCoreApplication::processEvents();
    QCOMPARE(computer.hid->transfers, 0);
    QCOMPARE(attempt.text(), QByteArray("error 1"));
}

void TestUpdater::aDeviceThatCannotBeOpenedEndsTheAttempt_data()
{
    const Table<QByteArray> table("what");
    table.row("gone before the attempt", "gone");
    table.row("refused in normal mode", "refuses");
    table.row("refused in programming mode", "refuses later");
    table.row("removed before it is opened", "removed");
    table.row("shared with another program in normal mode", "shared");
    table.row("shared with another program in programming mode", "shared later");
}

void TestUpdater::aDeviceThatCannotBeOpenedEndsTheAttempt()
{
    QFETCH(const QByteArray, what);
    HidFixture computer(normalHeadset);
    SimulatedDeviceTree& tree = computer.tree;
    const std::wstring programming = hidNode(programmingHeadset).interfacePath;
    if (what == "gone")
        tree.unplug(computer.path);
    if (what.startsWith("refuses"))
        tree.refuseOpen(what == "refuses" ? computer.path : programming, ERROR_ACCESS_DENIED);
    std::unique_ptr<DeviceFile> someoneElse;
    const auto share = [&](const std::wstring& path) {
        DWORD error = 0;
        someoneElse = tree.open(path, GENERIC_READ, FILE_SHARE_READ | FILE_SHARE_WRITE, error);
    };
    if (what == "shared")
        share(computer.path);
    Attempt attempt(computer.path, Headset, "image");
    attempt.updater->flashDevice();
    const bool isAtOnce = what == "gone" || what == "refuses" || what == "shared";
    QCOMPARE(attempt.text(), QByteArray(isAtOnce ? "error 1" : ""));
    QCOMPARE(attempt.timer().isActive(), !isAtOnce);
    if (!isAtOnce) {
        attempt.watchArrivals();
        computer.plug(programmingHeadset, computer.hid);
        TRY_ACQUIRE(attempt.arrivals, 1);
        if (what == "removed")
            tree.unplugAndWait(programming);
        if (what == "shared later")
            share(programming);
        TRY_COMPARE(attempt.text(), "error 1");
    }
    QCOMPARE(computer.hid->transfers, isAtOnce ? 0 : 1);
}

void TestUpdater::aDeviceLostWhileProgrammedEndsTheAttempt_data()
{
    // "logged" is the text after "Failed in phase" in the log. The log does not count transfer 1, which asks
    // the device to leave normal mode.
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
    // In virtual time, the flasher could end before the updater knows that the device is lost. onVanished
    // therefore makes the flasher wait for the updater.
    device.onVanished = [this] {
        if (QThread::currentThread() != thread())
            QMetaObject::invokeMethod(
                this, [] {}, Qt::BlockingQueuedConnection);
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
    QCOMPARE(computer.pair.device(kind == Headset ? Transmitter : Headset).transfers().count, 0);
}

/// The system gives the value of the transmitter's closed handle to the headset's new handle. The
/// transmitter's flasher ends before the headset's flasher.
void TestUpdater::aDeviceDisabledBetweenTwoPacketsLeavesTheOtherAlone()
{
    HeldDownload computer(Transmitter);
    TRY_VERIFY(computer.gate.isReached());
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
    TRY_VERIFY(computer.gate.isReached());
    const std::wstring path = computer.pair.channelPath(Headset);
    DWORD error = 0;
    auto someoneElse = computer.tree.open(path, 0, 0, error);
    QVERIFY(!computer.tree.requestRemoval(path));
    computer.gate.open();
    TRY_COMPARE(computer.attempt.text(), "range 0, error 1");
    // The detector of the first attempt still has the device open: it has reopened the device's handle.
    Attempt again(path, Headset, computer.images[Headset]);
    again.updater->flashDevice();
    TRY_COMPARE(again.text(), "range 0, finished");
    QVERIFY(computer.isUpdated(Headset));
}

/// A second device in programming mode arrives while the first one is programmed. The removal of the second
/// device ends the attempt.
void TestUpdater::theRemovalOfTheLatestArrivalEndsTheAttempt()
{
    HeldDownload computer(Headset);
    TRY_VERIFY(computer.gate.isReached());
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
    TRY_VERIFY(computer.gate.isReached());
    connect(computer.attempt.updater.get(), &QObject::destroyed, [&] { computer.gate.open(); });
    computer.attempt.updater.reset();
    QVERIFY(computer.isUpdated(Headset));
    QCOMPARE(openHandleCount(), handlesBefore);
}

QTEST_GUILESS_MAIN(TestUpdater)

#include "tst_updater.moc"
