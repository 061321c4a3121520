// Tests which interface of a device the device controller uses, and what interrupts an identification.

#include <atomic>
#include <thread>

#include <QtTest>

#include "detection.h"
#include "imagebuilder.h"
#include "leavesnothing.h"
#include "openobjects.h"
#include "simulatedchannel.h"
#include "simulatedpair.h"
#include "table.h"

Q_DECLARE_METATYPE(ImageOptions)

namespace {

constexpr HidIdentity transmitter{0x7A31, 0x0004};
constexpr HidIdentity headset{0x7A31, 0x0006};
constexpr HidIdentity programmingTransmitter{0x170D, 0x0100};
constexpr std::uint32_t memoryReadMs = 100;

/// Waits until the detector, which another thread is stopping, has closed its three handles.
/// @param handles  number of handles that were open before the stop.
void waitForTheDetectorsEnd(std::size_t handles)
{
    while (openHandleCount() + 3 > handles)
        std::this_thread::yield();
}

/// A computer with a transmitter and a headset, of which only the transmitter is plugged in. A thread reads
/// the transmitter, and the gate holds this thread between two transfers.
struct HeldRead : Detection
{
    HeldRead()
    {
        pair.device(Transmitter).plugIn();
        gate.close(memoryReadMs);
        controller.startDetection();
    }
    ~HeldRead() { letThreadsEnd(); }

    std::wstring path() { return pair.channelPath(Transmitter); }

    SimulatedPair pair{machine, {}};
};

} // namespace

class TestDeviceController : public LeavesNothing
{
    Q_OBJECT

private Q_SLOTS:
    void devicesAreIdentifiedInBothModes_data();
    void devicesAreIdentifiedInBothModes();
    void theFirstVendorDefinedInterfaceIsUsed_data();
    void theFirstVendorDefinedInterfaceIsUsed();
    void theFirstDeviceOfAKindWins();
    void everyReadReportsStartedAndOnlyTheLastReportsFinished();
    void aDeviceThatWasGoneForAMomentIsReadAgain();
    void aReadOfADisabledDeviceReachesNoOther();
    void aDeviceWhoseRemovalIsRefusedIsReadAgain();
    void detectionStartedAgainReportsWhatIsThere();
    void stopCutsReadsShort();
    void stopWaitsForTheReadOfADeviceThatIsGone();
};

void TestDeviceController::devicesAreIdentifiedInBothModes_data()
{
    const Table<int, bool, ImageOptions, int, QByteArray, QByteArray> table("type", "isProgramming", "image",
                                                                            "pid", "version", "name");
    const ImageOptions first = ImageBuilder::transmitter(1);
    ImageOptions second = ImageBuilder::transmitter(2);
    second.version = "12.34.56.78.90"; // ends in the second of the two rows that a read fetches
    ImageOptions unreadable = first;
    unreadable.entries = {ImageBuilder::fileEntry(1, std::string(8, '\x01'))};
    ImageOptions foreignProduct = first;
    foreignProduct.productId = 0x0005;
    ImageOptions foreignVendor = first;
    foreignVendor.vendorId = 0x7A32;
    table.row("first generation", Transmitter, false, first, 4, "1.2.3", "VYNT1");
    table.row("second generation", Transmitter, false, second, 3, "12.34.56.78.90", "VYNT2");
    table.row("headset", Headset, false, ImageBuilder::headset(), 6, "1.2.3", "");
    table.row("unreadable", Transmitter, false, unreadable, 4, "", "VYNT1");
    table.row("programming, first", Transmitter, true, first, 4, "1.2.3", "VYNT1");
    table.row("programming, second", Transmitter, true, second, 3, "12.34.56.78.90", "VYNT2");
    table.row("programming, headset", Headset, true, foreignProduct, 6, "1.2.3", "");
    table.row("programming, unreadable", Transmitter, true, unreadable, 0, "", "");
    table.row("programming, foreign product", Transmitter, true, foreignProduct, 0, "1.2.3", "");
    table.row("programming, foreign vendor", Transmitter, true, foreignVendor, 0, "1.2.3", "");
}

void TestDeviceController::devicesAreIdentifiedInBothModes()
{
    QFETCH(const int, type);
    QFETCH(const bool, isProgramming);
    QFETCH(const ImageOptions, image);
    QFETCH(const int, pid);
    Detection c;
    const auto kind = static_cast<DeviceType>(type);
    LayerBus bus(c.tree);
    SimulatedDevice device(bus, sleepOn(c.clock), {kind, 13, 3, ImageBuilder::build(image), 1, {}});
    device.plugIn();
    if (isProgramming)
        enterProgrammingMode(device, bus.channelPath(1));
    QCOMPARE(c.controller.deviceInstance(kind).productId, std::uint16_t(0));
    c.controller.startDetection();
    TRY_COMPARE(c.text(), "started finished +" + QByteArray::number(type));
    QCOMPARE(int(c.controller.pid(kind)), pid);
    QTEST(c.controller.version(kind).toLatin1(), "version");
    QTEST(c.controller.deviceName().toLatin1(), "name");
    QCOMPARE(c.controller.deviceInstance(kind).vendorId, std::uint16_t(isProgramming ? 0x170D : 0x7A31));
    QVERIFY(!c.controller.isConnected(kind == Headset ? Transmitter : Headset));
    QCOMPARE(c.tree.openFileCount(), std::size_t(0));
    TRY_VERIFY(c.controller.findChildren<QFutureWatcherBase*>().isEmpty());
    QVERIFY(device.refusals().empty());
    c.controller.stopDetection();
}

void TestDeviceController::theFirstVendorDefinedInterfaceIsUsed_data()
{
    // "usagePages" has the usage page of each interface, with "!" in front if the interface cannot be opened.
    const Table<QByteArray, int> table("usagePages", "taken");
    table.row("second", "000C FF00", 1);
    table.row("lowest page", "FEFF 0000 FF00 FFFF", 2);
    table.row("highest page", "FFFF FF00", 0);
    table.row("the first cannot be opened", "!FF00 FF00", 1);
    table.row("none", "000C !FF00", -1);
}

void TestDeviceController::theFirstVendorDefinedInterfaceIsUsed()
{
    QFETCH(const QByteArray, usagePages);
    QFETCH(const int, taken);
    Detection c;
    std::vector<std::wstring> paths;
    for (const QByteArray& page : usagePages.split(' ')) {
        const auto chip = std::make_shared<ScriptedChip>();
        chip->caps.usagePage = page.right(4).toUShort(nullptr, 16);
        const HidIdentity function{0x7A31, 0x0006, int(paths.size())};
        if (page.startsWith('!'))
            c.tree.refuseOpen(hidNode(function).interfacePath, ERROR_ACCESS_DENIED);
        paths.push_back(c.plug(function, chip));
    }
    c.controller.startDetection();
    TRY_ACQUIRE(c.arrivals, int(paths.size()));
    TRY_COMPARE(c.text(), taken < 0 ? "" : "started finished +2");
    TRY_COMPARE(int(c.tree.openings().size()), taken < 0 ? int(paths.size()) : taken + 1);
    QCOMPARE(c.controller.deviceInstance(Headset).path,
             taken < 0 ? std::wstring() : QString::fromStdWString(paths[taken]).toLower().toStdWString());
    const QByteArray warning = "?Cannot open device VID: 0x7A31, PID: 0x0006";
    QCOMPARE(c.log.text(), usagePages.contains('!') ? warning : QByteArray());
}

void TestDeviceController::theFirstDeviceOfAKindWins()
{
    Detection c;
    const std::wstring first = c.plug(transmitter);
    c.controller.startDetection();
    TRY_COMPARE(c.text(), "started finished +1");
    const std::wstring second = c.plug({0x7A31, 0x0003});
    const std::wstring third = c.plug(programmingTransmitter);
    TRY_ACQUIRE(c.arrivals, 3);
    c.tree.unplugAndWait(third);
    c.tree.unplugAndWait(first);
    TRY_COMPARE(c.text(), "started finished +1 -1"); // the second transmitter does not replace the first
    c.tree.unplugAndWait(second);
    c.plug({0x7A31, 0x0003});
    TRY_COMPARE(c.text(), "started finished +1 -1 started finished +1");
    QCOMPARE(c.controller.pid(Transmitter), static_cast<unsigned short>(3));
}

void TestDeviceController::everyReadReportsStartedAndOnlyTheLastReportsFinished()
{
    HeldRead c;
    TRY_VERIFY(c.gate.isReached());
    c.second.close(memoryReadMs);
    c.pair.device(Headset).plugIn();
    TRY_COMPARE(c.text(), "started started");
    TRY_VERIFY(c.second.isReached());
    QVERIFY(c.controller.isConnected(Headset));
    QCOMPARE(c.controller.pid(Headset), static_cast<unsigned short>(0));
    c.second.open();
    TRY_COMPARE(c.text(), "started started +2");
    c.gate.open();
    TRY_COMPARE(c.text(), "started started +2 finished +1");
}

void TestDeviceController::aDeviceThatWasGoneForAMomentIsReadAgain()
{
    Detection c;
    c.gate.close(memoryReadMs);
    c.controller.startDetection();
    const std::wstring path = c.plug(headset);
    TRY_ACQUIRE(c.arrivals, 1);
    c.tree.unplugAndWait(path);
    c.plug(headset);
    TRY_ACQUIRE(c.arrivals, 1);
    // Now the controller handles both arrivals. The device of the first arrival is gone. For that arrival,
    // the controller must not open the device that was plugged in later.
    TRY_COMPARE(c.text(), "started");
    QCOMPARE(c.tree.openings().size(), std::size_t(1));
    c.gate.open();
    TRY_COMPARE(c.text(), "started finished +2");
    c.tree.unplugAndWait(path);
    TRY_COMPARE(c.text(), "started finished +2 -2");
}

void TestDeviceController::aReadOfADisabledDeviceReachesNoOther()
{
    HeldRead c;
    TRY_VERIFY(c.gate.isReached());
    QVERIFY(c.tree.requestRemoval(c.path()));
    TRY_COMPARE(c.text(), "started finished -1");
    c.second.close(memoryReadMs);
    SimulatedDevice& other = c.pair.device(Headset);
    other.plugIn();
    TRY_VERIFY(c.second.isReached());
    c.gate.open();
    TRY_COMPARE(QThreadPool::globalInstance()->activeThreadCount(), 1); // only the headset's read still runs
    c.second.open();
    TRY_COMPARE(c.text(), "started finished -1 started finished +2");
    QCOMPARE(c.controller.version(Headset), QStringLiteral("1.0.0"));
    const int transfers = other.transfers().count;
    other.clearFault(); // also sets the count of transfers to 0
    other.unplug();
    other.plugIn();
    TRY_COMPARE(c.reports.mid(6).join(' '), "-2 started finished +2");
    QCOMPARE(transfers, other.transfers().count);
}

void TestDeviceController::aDeviceWhoseRemovalIsRefusedIsReadAgain()
{
    HeldRead c;
    TRY_VERIFY(c.gate.isReached());
    DWORD error = 0;
    auto someoneElse = c.tree.open(c.path(), 0, 0, error);
    c.second.close(memoryReadMs);
    QVERIFY(!c.tree.requestRemoval(c.path()));
    TRY_COMPARE(c.text(), "started started");
    TRY_VERIFY(c.second.isReached());
    QVERIFY(!c.tree.requestRemoval(c.path())); // interrupts the second read
    c.gate.open();
    c.second.open();
    TRY_COMPARE(c.text(), "started started started finished +1");
    QCOMPARE(c.controller.version(Transmitter), QStringLiteral("1.0.0"));
    QVERIFY(!c.tree.requestRemoval(c.path())); // does not repeat the finished read
    someoneElse.reset();
    QCOMPARE(c.tree.openFileCount(), std::size_t(0));
    QVERIFY(c.tree.requestRemoval(c.path()));
    TRY_COMPARE(c.text(), "started started started finished +1 -1");
}

void TestDeviceController::detectionStartedAgainReportsWhatIsThere()
{
    Detection c;
    c.plug(transmitter);
    const std::wstring gone = c.plug(headset);
    c.controller.startDetection();
    c.controller.startDetection(); // does nothing, because detection already runs
    TRY_COMPARE(c.text().count('+'), 2);
    const int before = c.reports.size();
    c.tree.unplugAndWait(gone); // the removal is still queued when detection stops
    c.controller.stopDetection();
    QVERIFY(!c.controller.isConnected(Transmitter));
    QCOMPARE(c.controller.deviceName(), QString());
    QCOMPARE(openHandleCount(), handlesBefore);
    c.controller.startDetection();
    TRY_COMPARE(c.reports.mid(before).join(' '), "started finished +1");
    QVERIFY(!c.controller.isConnected(Headset));
}

void TestDeviceController::stopCutsReadsShort()
{
    Detection c;
    const auto chip = std::make_shared<ScriptedChip>();
    chip->memory = ScriptedChip::tableOf(QByteArray(4, '\x7E')); // identified after about 200 reads
    std::atomic<bool> isArmed{true};
    QSemaphore reached;
    chip->onTransfer = [&] {
        if (chip->transfers % 20 != 0 || !isArmed.exchange(false))
            return;
        const std::size_t handles = openHandleCount();
        reached.release();
        waitForTheDetectorsEnd(handles);
    };
    c.plug(headset, chip);
    c.controller.startDetection();
    TRY_COMPARE(c.text(), "started");
    TRY_ACQUIRE(reached, 1);
    c.controller.stopDetection();
    QCOMPARE(openHandleCount(), handlesBefore);
    QCOMPARE(chip->transfers, 20); // the last transfer fetched the answer to the last request
    QVERIFY(!c.controller.isConnected(Headset));
    TRY_COMPARE(c.text(), "started finished +2");
    QVERIFY(c.controller.isConnected(Headset));
    QCOMPARE(c.controller.deviceInstance(Headset).path, std::wstring());
    c.controller.startDetection();
    TRY_COMPARE(c.text(), "started finished +2 -2 started finished +2");
    QVERIFY(!c.controller.deviceInstance(Headset).path.empty());

    // Detection starts again before the controller handles the end of the interrupted read.
    isArmed = true;
    c.tree.unplugAndWait(c.controller.deviceInstance(Headset).path);
    c.plug(headset, chip);
    TRY_COMPARE(c.reports.last(), "started");
    TRY_ACQUIRE(reached, 1);
    c.controller.stopDetection();
    c.controller.startDetection();
    QCOMPARE(c.reports.last(), QByteArray("finished"));
    const int before = c.reports.size();
    TRY_COMPARE(c.reports.mid(before).join(' '), "started finished +2");
}

void TestDeviceController::stopWaitsForTheReadOfADeviceThatIsGone()
{
    constexpr int whileOthersRun = 100;
    HeldRead c;
    TRY_VERIFY(c.gate.isReached());
    TRY_COMPARE(c.text(), "started");
    c.pair.device(Transmitter).unplug();
    TRY_COMPARE(c.text(), "started finished -1");
    std::thread letGo([&c, handles = openHandleCount()] {
        waitForTheDetectorsEnd(handles);
        for (int i = 0; i < whileOthersRun; ++i)
            std::this_thread::yield();
        c.gate.open();
    });
    c.controller.stopDetection();
    const std::size_t openFiles = c.tree.openFileCount();
    letGo.join();
    QCOMPARE(openFiles, std::size_t(0));
}

QTEST_GUILESS_MAIN(TestDeviceController)

#include "tst_devicecontroller.moc"
