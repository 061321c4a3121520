// One attempt to update one device, from its normal mode to the last signal, through the updater's own
// signals.

#include <future>
#include <memory>

#include <QProcess>

#include "devicelistener.h"
#include "firmwareupdater.h"
#include "flashingerror.h"
#include "hidnode.h"
#include "openobjects.h"
#include "pairedcomputer.h"
#include "scriptedhid.h"
#include "simulatedchannel.h"

namespace {

constexpr HidIdentity normalHeadset{0x7A31, 0x0006};
constexpr HidIdentity programmingHeadset{0x170D, 0x0101};

/// The record that a detector would have made of the interface with that path.
DeviceInstance recordOf(const std::wstring& path)
{
    DeviceInstance record;
    record.path = QString::fromStdWString(path).toLower().toStdWString();
    const auto hexAfter = [&](const wchar_t* key) {
        const std::size_t at = record.path.find(key);
        return at == std::wstring::npos ? 0 : std::stoul(record.path.substr(at + 4, 4), nullptr, 16);
    };
    record.vendorId = static_cast<std::uint16_t>(hexAfter(L"vid_"));
    record.productId = static_cast<std::uint16_t>(hexAfter(L"pid_"));
    record.interfaceKind = InterfaceKind::Hid;
    return record;
}

/// An attempt, and a journal of its signals; progress only as "...".
struct Attempt
{
    Attempt(const std::wstring& path, DeviceType type, const QByteArray& image)
        : updater(new FirmwareUpdater(nullptr, recordOf(path), type, image))
    {
        using Updater = FirmwareUpdater;
        QObject::connect(updater.get(), &Updater::flashingStarted, [this] { journal << "started"; });
        QObject::connect(updater.get(), &Updater::flashingFinished, [this] { journal << "finished"; });
        QObject::connect(updater.get(), &Updater::flashingError,
                         [this](int code) { journal << "error " + QByteArray::number(code); });
        QObject::connect(updater.get(), &Updater::progressRangeChanged,
                         [this](int min, int) { journal << "range " + QByteArray::number(min); });
        QObject::connect(updater.get(), &Updater::progressValueChanged, [this](int value) {
            if (value != ++progress || !journal.last().startsWith("range"))
                journal << "progress out of order";
        });
    }

    QByteArray text() const { return journal.join(", "); }

    /// The timer that ends the wait for programming mode.
    QTimer& timer() const { return *updater->findChild<QTimer*>(); }

    /// Counts the arrivals that the updater's detector has reported, from flashDevice() on.
    void watchArrivals()
    {
        const auto* const listener = updater->findChild<DeviceListener*>();
        QObject::connect(
            listener, &DeviceListener::deviceArrived, listener, [this] { arrivals.release(); },
            Qt::DirectConnection);
    }

    QByteArrayList journal;
    int progress = 0;
    QSemaphore arrivals;
    std::unique_ptr<FirmwareUpdater> updater;
};

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

    struct Processes : RealProcessTable
    {
        bool isWow64() override { return wow64; }
        bool wow64 = false;
    };

    Processes processes;
    std::shared_ptr<ScriptedHid> hid = std::make_shared<ScriptedHid>();
    const std::wstring path;
};

/// Both devices are plugged in, and a download stops at its begin until it is let go on.
struct HeldComputer : PairedComputer
{
    HeldComputer()
    {
        onReport = [this](const std::string& text) {
            if (text.find("download from") == std::string::npos)
                return;
            downloading.release();
            goOn.acquire();
        };
        pair.plugIn();
    }

    QSemaphore downloading;
    QSemaphore goOn;
};

/// A tool beside the test that writes the arguments which this process gives it into a file beside it.
class FakeTool
{
public:
    explicit FakeTool(const char* architecture)
        : script(QCoreApplication::applicationDirPath() +
                 QStringLiteral("/UninstallDevices_%1.exe").arg(QLatin1String(architecture)))
        , written(script.fileName() + QStringLiteral(".txt"))
    {
        written.remove();
        const QByteArray text =
            "#!/bin/sh\n[ $PPID = " + QByteArray::number(QCoreApplication::applicationPid()) +
            " ] && echo \"$@\" > \"$0.new\" && mv \"$0.new\" \"$0.txt\"\n";
        const bool isWritten = script.open(QIODevice::WriteOnly) && script.write(text) == text.size() &&
                               script.setPermissions(QFile::ReadOwner | QFile::ExeOwner);
        script.close();
        if (!isWritten)
            qFatal("The script cannot be written.");
    }
    ~FakeTool()
    {
        written.remove();
        script.remove();
    }

    bool ran() const { return written.exists(); }
    QByteArray arguments()
    {
        return written.open(QIODevice::ReadOnly) ? written.readAll().trimmed() : QByteArray();
    }

private:
    QFile script;
    QFile written;
};

} // namespace

class TestUpdater : public QObject
{
    Q_OBJECT

public:
    TestUpdater()
    {
        const auto goOn = [](std::promise<void>* waiting) { waiting->set_value(); };
        connect(this, &TestUpdater::reached, this, goOn, Qt::QueuedConnection);
    }

Q_SIGNALS:
    void reached(std::promise<void>* waiting); ///< by the flasher, which waits

private Q_SLOTS:
    void init() { handlesBefore = openHandleCount(); }
    void cleanup() { QCOMPARE(openHandleCount(), handlesBefore); }

    void everyDeviceEndsWithTheImage_data();
    void everyDeviceEndsWithTheImage();
    void aDeviceInNormalModeIsToldToLeaveIt_data();
    void aDeviceInNormalModeIsToldToLeaveIt();
    void aDeviceThatLeavesAtOnceIsSeen();
    void aDeviceInProgrammingModeIsTakenByItsPath();
    void someAttemptsEndBeforeTheyBegin();
    void anEmptyImageIsNeverWritten();
    void aDeviceThatCannotBeTakenEndsTheAttempt_data();
    void aDeviceThatCannotBeTakenEndsTheAttempt();
    void aDeviceLostWhileProgrammedEndsTheAttempt_data();
    void aDeviceLostWhileProgrammedEndsTheAttempt();
    void theDeviceThatArrivedLastCounts();
    void destructionWaitsForTheProgramming();

private:
    std::size_t handlesBefore = 0;
};

void TestUpdater::everyDeviceEndsWithTheImage_data()
{
    QTest::addColumn<int>("type");
    QTest::addColumn<int>("chip");
    QTest::addColumn<int>("revision");
    for (const DeviceType type : {Transmitter, Headset}) {
        for (const int chip : {12, 13}) {
            for (const int revision : {2, 3})
                QTest::addRow("type %d, chip %d, revision %d", type, chip, revision)
                    << int(type) << chip << revision;
        }
    }
}

void TestUpdater::everyDeviceEndsWithTheImage()
{
    QFETCH(const int, type);
    QFETCH(const int, chip);
    QFETCH(const int, revision);
    PairedComputer computer(chip, revision);
    computer.pair.plugIn();
    const auto kind = static_cast<DeviceType>(type);
    SimulatedDevice& device = computer.pair.device(kind);
    for (const bool isProgramming : {false, true}) {
        if (isProgramming)
            enterProgrammingMode(device, computer.pair.channelPath(kind));
        QCOMPARE(computer.isUpdated(kind), isProgramming);
        Attempt attempt(computer.pair.channelPath(kind), kind, computer.images[kind]);
        attempt.updater->flashDevice();
        TRY_COMPARE(attempt.text(), "range 0, finished");
        QVERIFY(attempt.progress > 100);
        QVERIFY(!attempt.timer().isActive());
        TRY_VERIFY(device.isSettled() && device.isPluggedIn() && !device.isProgramming());
        QVERIFY(computer.isUpdated(kind));
        QVERIFY(device.refusals().empty());
    }
    QCOMPARE(computer.pair.device(kind == Headset ? Transmitter : Headset).transfers().count, 0);
}

void TestUpdater::aDeviceInNormalModeIsToldToLeaveIt_data()
{
    QTest::addColumn<int>("productId");
    QTest::addColumn<bool>("wow64");
    QTest::addColumn<QByteArray>("arguments");
    QTest::newRow("first generation") << 4 << false << QByteArray("31281 4");
    QTest::newRow("second generation") << 3 << true << QByteArray("31281 3");
    QTest::newRow("headset") << 6 << true << QByteArray("31281 6");
}

void TestUpdater::aDeviceInNormalModeIsToldToLeaveIt()
{
    QFETCH(const int, productId);
    QFETCH(const bool, wow64);
    ScriptedComputer computer({0x7A31, std::uint16_t(productId)});
    computer.processes.wow64 = wow64;
    FakeTool tool(wow64 ? "x64" : "x86");
    const DeviceType type = productId == 6 ? Headset : Transmitter;
    Attempt attempt(computer.path, type, "image");
    attempt.updater->flashDevice();
    QCOMPARE(computer.hid->transfers, 1);
    QCOMPARE(computer.hid->sent, QByteArray::fromHex("FF02000A").leftJustified(264, '\0'));
    TRY_VERIFY(tool.ran());
    QTEST(tool.arguments(), "arguments");
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
    QCOMPARE(attempt.text(), QByteArray("error 1")); // too late
    QCOMPARE(computer.tree.openings().size(), std::size_t(1));
}

/// It comes in programming mode and is gone again before its request has been answered.
void TestUpdater::aDeviceThatLeavesAtOnceIsSeen()
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

void TestUpdater::aDeviceInProgrammingModeIsTakenByItsPath()
{
    ScriptedComputer computer(programmingHeadset);
    FakeTool tool("x86");
    const std::wstring second = computer.plug(programmingHeadset, L"7&1a2b3c&0&0002");
    Attempt attempt(second, Headset, "image");
    attempt.updater->flashDevice();
    QCOMPARE(computer.hid->transfers, 0); // no request
    computer.hid->setError = computer.hid->getError = ERROR_GEN_FAILURE;
    TRY_COMPARE(attempt.text(), "error 3");
    for (const auto& opening : computer.tree.openings())
        QCOMPARE(recordOf(opening.path).path, recordOf(second).path);
    QVERIFY(!tool.ran());
}

void TestUpdater::someAttemptsEndBeforeTheyBegin()
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

void TestUpdater::anEmptyImageIsNeverWritten()
{
    ScriptedComputer computer(programmingHeadset);
    Attempt attempt(computer.path, Headset, QByteArray());
    attempt.updater->flashDevice();
    QVERIFY(attempt.timer().isActive());
    TRY_VERIFY(!attempt.timer().isActive()); // it has arrived
    QCOMPARE(attempt.text(), QByteArray());
    computer.tree.unplugAndWait(computer.path);
    QCoreApplication::processEvents();
    QCOMPARE(computer.hid->transfers, 0);
    QCOMPARE(attempt.text(), QByteArray("error 1"));
}

void TestUpdater::aDeviceThatCannotBeTakenEndsTheAttempt_data()
{
    QTest::addColumn<QByteArray>("what");
    QTest::newRow("gone before") << QByteArray("gone");
    QTest::newRow("refused in normal mode") << QByteArray("refuses");
    QTest::newRow("refused in programming mode") << QByteArray("refuses later");
    QTest::newRow("removed before it is opened") << QByteArray("removed");
    QTest::newRow("shared with somebody in normal mode") << QByteArray("shared");
    QTest::newRow("shared with somebody in programming mode") << QByteArray("shared later");
}

void TestUpdater::aDeviceThatCannotBeTakenEndsTheAttempt()
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

void TestUpdater::aDeviceLostWhileProgrammedEndsTheAttempt_data()
{
    QTest::addColumn<int>("type");
    QTest::addColumn<int>("transfer"); // counted from the leave request
    QTest::addColumn<QByteArray>("outcome");
    QTest::newRow("leave") << int(Headset) << 1 << QByteArray("error 1");
    QTest::newRow("identify") << int(Headset) << 3 << QByteArray("error 3");
    QTest::newRow("erase") << int(Transmitter) << 13 << QByteArray("range 0, error 1");
    QTest::newRow("download") << int(Headset) << 15 << QByteArray("range 0, error 1");
    QTest::newRow("commit") << int(Headset) << 31 << QByteArray("range 0, error 1");
    QTest::newRow("final wait") << int(Headset) << 53 << QByteArray("range 0, finished");
}

void TestUpdater::aDeviceLostWhileProgrammedEndsTheAttempt()
{
    QFETCH(const int, type);
    QFETCH(const int, transfer);
    PairedComputer computer;
    computer.pair.plugIn();
    const auto kind = static_cast<DeviceType>(type);
    SimulatedDevice& device = computer.pair.device(kind);
    device.setFault(Fault::Vanish, transfer);
    const QThread* const own = QThread::currentThread();
    // The flasher goes on when the updater has heard of the loss: virtual time knows no delay for it.
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
    QCOMPARE(QByteArray(phaseName(device.struckAt()->phase)), QByteArray(QTest::currentDataTag()));
    QCOMPARE(device.transfers().count, transfer); // nothing was sent any more
    QCOMPARE(computer.tree.openFileCount(), std::size_t(0));
    device.clearFault();
    device.plugIn();
    Attempt again(computer.pair.channelPath(kind), kind, computer.images[kind]);
    again.updater->flashDevice();
    TRY_COMPARE(again.text(), "range 0, finished");
    QVERIFY(computer.isUpdated(kind));
}

/// Of two devices in programming mode the removal of the one that came last ends the run, also where the
/// other one is programmed.
void TestUpdater::theDeviceThatArrivedLastCounts()
{
    HeldComputer computer;
    Attempt attempt(computer.pair.channelPath(Headset), Headset, computer.images[Headset]);
    attempt.updater->flashDevice();
    const auto letGo = qScopeGuard([&] { computer.goOn.release(); });
    TRY_VERIFY(computer.downloading.available() == 1);
    attempt.watchArrivals();
    const DeviceNode last = hidNode(programmingHeadset);
    computer.tree.plug(last);
    TRY_ACQUIRE(attempt.arrivals, 1);
    QCoreApplication::processEvents();
    computer.tree.unplugAndWait(last.interfacePath);
    QCoreApplication::processEvents();
    computer.goOn.release();
    TRY_COMPARE(attempt.text(), "range 0, error 1");
    QVERIFY(!computer.isUpdated(Headset));
}

void TestUpdater::destructionWaitsForTheProgramming()
{
    HeldComputer computer;
    Attempt attempt(computer.pair.channelPath(Headset), Headset, computer.images[Headset]);
    attempt.updater->flashDevice();
    TRY_VERIFY(computer.downloading.available() == 1);
    connect(attempt.updater.get(), &QObject::destroyed, [&] { computer.goOn.release(); });
    attempt.updater.reset();
    QVERIFY(computer.isUpdated(Headset));
    QCOMPARE(openHandleCount(), handlesBefore);
}

QTEST_GUILESS_MAIN(TestUpdater)

#include "tst_updater.moc"
