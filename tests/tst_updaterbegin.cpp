// Tests the start of an attempt to update one device: the device gets the request to leave its normal mode,
// returns in programming mode, and is opened.

#include <memory>

#include <QProcess>

#include "attempt.h"
#include "hidnode.h"
#include "leavesnothing.h"
#include "literals.h"
#include "scriptedhid.h"
#include "table.h"
#include "waiting.h"

namespace {

constexpr HidIdentity normalHeadset{0x7A31, 0x0006};
constexpr HidIdentity programmingHeadset{0x170D, 0x0101};

/// A computer with one scripted interface.
struct ScriptedComputer : Computer
{
    explicit ScriptedComputer(const HidIdentity& identity)
        : path(plug(identity))
    {
        machine.setProcessTable(processes);
    }

    std::wstring plug(const HidIdentity& identity, const std::wstring& serial = L"7&1a2b3c&0&0001")
    {
        const DeviceNode node = hidNode(identity, serial, hid);
        tree.plug(node);
        return node.interfacePath;
    }

    struct Processes : ProcessTable
    {
        bool isWow64() override { return wow64; }
        bool wow64 = false;
    };

    Processes processes;
    std::shared_ptr<ScriptedHid> hid = std::make_shared<ScriptedHid>();
    const std::wstring path;
};

} // namespace

class TestUpdaterBegin : public LeavesNothing
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
};

void TestUpdaterBegin::aDeviceInNormalModeGetsTheRequestToLeave_data()
{
    const Table<int, bool, QStringList> table("productId", "wow64", "arguments");
    table.row("first generation", 4, false, {"31281"_s, "4"_s});
    table.row("second generation", 3, true, {"31281"_s, "3"_s});
    table.row("headset", 6, true, {"31281"_s, "6"_s});
}

void TestUpdaterBegin::aDeviceInNormalModeGetsTheRequestToLeave()
{
    QFETCH(const int, productId);
    QFETCH(const bool, wow64);
    ScriptedComputer computer({0x7A31, std::uint16_t(productId)});
    computer.processes.wow64 = wow64;
    const QString tool = QDir(QCoreApplication::applicationDirPath())
                             .filePath("UninstallDevices_%1.exe"_s.arg(wow64 ? "x64"_s : "x86"_s));
    QFile::remove(tool); // left by a run that was interrupted
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
    computer.plug(type == Headset ? programmingHeadset : HidIdentity{0x170D, 0x0100});
    TRY_ACQUIRE(attempt.arrivals, 1);
    QCoreApplication::processEvents();
    QCOMPARE(attempt.text(), QByteArray("error 1")); // the device has returned too late
    QCOMPARE(computer.tree.openings().size(), std::size_t(1));
}

/// The device arrives in programming mode and is removed before the leave request has returned.
void TestUpdaterBegin::aDeviceThatLeavesAtOnceIsNoticed()
{
    ScriptedComputer computer(normalHeadset);
    Attempt attempt(computer.path, Headset, "image");
    bool isSeen = false;
    computer.hid->onTransfer = [&] {
        attempt.watchArrivals();
        const std::wstring programming = computer.plug(programmingHeadset);
        isSeen = attempt.arrivals.tryAcquire(1, patienceMs);
        computer.tree.unplugAndWait(programming);
    };
    attempt.updater->flashDevice();
    QVERIFY(isSeen);
    TRY_COMPARE(attempt.text(), "error 1");
    QCOMPARE(computer.hid->transfers, 1);
}

void TestUpdaterBegin::aDeviceInProgrammingModeIsOpenedByItsPath()
{
    ScriptedComputer computer(programmingHeadset);
    const std::wstring second = computer.plug(programmingHeadset, L"7&1a2b3c&0&0002");
    Attempt attempt(second, Headset, "image");
    attempt.updater->flashDevice();
    QCOMPARE(computer.hid->transfers, 0); // no leave request
    QVERIFY(!attempt.updater->findChild<QProcess*>());
    computer.hid->setError = computer.hid->getError = ERROR_GEN_FAILURE;
    TRY_COMPARE(attempt.text(), "error 3");
    for (const auto& opening : computer.tree.openings())
        QCOMPARE(recordOf(opening.path).path, recordOf(second).path);
}

void TestUpdaterBegin::anAttemptWithoutPathOrTypeOpensNothing()
{
    ScriptedComputer computer(normalHeadset);
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

void TestUpdaterBegin::anEmptyImageIsNeverWritten()
{
    ScriptedComputer computer(programmingHeadset);
    Attempt attempt(computer.path, Headset, QByteArray());
    attempt.updater->flashDevice();
    QVERIFY(attempt.timer().isActive());
    TRY_VERIFY(!attempt.timer().isActive()); // the device has arrived
    QCOMPARE(attempt.text(), QByteArray());
    computer.tree.unplugAndWait(computer.path);
    QCoreApplication::processEvents();
    QCOMPARE(computer.hid->transfers, 0);
    QCOMPARE(attempt.text(), QByteArray("error 1"));
}

void TestUpdaterBegin::aDeviceThatCannotBeOpenedEndsTheAttempt_data()
{
    const Table<QByteArray> table("what");
    table.row("gone before the attempt", "gone");
    table.row("refused in normal mode", "refuses");
    table.row("refused in programming mode", "refuses later");
    table.row("removed before it is opened", "removed");
    table.row("shared with somebody in normal mode", "shared");
    table.row("shared with somebody in programming mode", "shared later");
}

void TestUpdaterBegin::aDeviceThatCannotBeOpenedEndsTheAttempt()
{
    QFETCH(const QByteArray, what);
    ScriptedComputer computer(normalHeadset);
    SimulatedDeviceTree& tree = computer.tree;
    const std::wstring programming = hidNode(programmingHeadset, L"7&1a2b3c&0&0001").interfacePath;
    if (what == "gone")
        tree.unplug(computer.path);
    if (what.startsWith("refuses"))
        tree.refuseOpen(what == "refuses" ? computer.path : programming, ERROR_ACCESS_DENIED, 1);
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
        computer.plug(programmingHeadset);
        TRY_ACQUIRE(attempt.arrivals, 1);
        if (what == "removed")
            tree.unplugAndWait(programming);
        if (what == "shared later")
            share(programming);
        TRY_COMPARE(attempt.text(), "error 1");
    }
    tree.unplugAndWait(programming);
    computer.plug(programmingHeadset);
    QCoreApplication::processEvents();
    QCOMPARE(attempt.text(), QByteArray("error 1"));
    QCOMPARE(computer.hid->transfers, isAtOnce ? 0 : 1);
}

QTEST_GUILESS_MAIN(TestUpdaterBegin)

#include "tst_updaterbegin.moc"
