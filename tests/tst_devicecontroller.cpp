// The picture of the connected devices, and the reading of their identity: which interface is taken, what is
// asked of the chip, and that nothing a device does or says holds it up.

#include <atomic>
#include <thread>

#include <QtTest>

#include "devicecontroller.h"
#include "devicelistener.h"
#include "devicereader_p.h"
#include "hidnode.h"
#include "imagebuilder.h"
#include "layerbus.h"
#include "openobjects.h"
#include "scriptedhid.h"
#include "simulatedchannel.h"

using Bytes = std::vector<std::uint8_t>;
using Memory = std::function<int(unsigned address)>;
using Answer = std::function<QByteArray(const QByteArray& honest)>;
Q_DECLARE_METATYPE(Bytes)
Q_DECLARE_METATYPE(Memory)
Q_DECLARE_METATYPE(Answer)

namespace {

constexpr HidIdentity transmitter{0x7A31, 0x0004};
constexpr HidIdentity headset{0x7A31, 0x0006};
const std::wstring serial = L"7&1a2b3c&0&0001";
constexpr HidIdentity programmingTransmitter{0x170D, 0x0100};

const auto notCancelled = std::make_shared<std::atomic<bool>>(false);

unsigned numberAt(const QByteArray& report, int offset, int bytes)
{
    unsigned value = 0;
    for (int i = bytes - 1; i >= 0; --i)
        value = value << 8 | static_cast<unsigned char>(report[offset + i]);
    return value;
}

/// Answers a chip's queries, from a memory that is computed, and keeps a journal of frames, answers ("A") and
/// delays ("s100").
struct ScriptedChip : ScriptedHid
{
    ScriptedChip()
    {
        onSet = [this](const QByteArray& report) { take(report); };
        answer = [this](const QByteArray&) {
            journal << "A";
            const QByteArray honest = ("\xFF" + QByteArray(10, '\0') + prepared).leftJustified(264, '\0');
            return lie ? lie(honest) : honest;
        };
    }

    void take(const QByteArray& report)
    {
        journal << report.left(2 + report[1]).toHex().toUpper();
        const unsigned at = numberAt(report, 9, 2);
        if (report[8] == '\0')
            loaded = numberAt(report, 11, 4);
        if (report[8] != '\x81')
            return;
        prepared = QByteArray(1, static_cast<char>(at == 0xF004 ? chip : revision));
        const unsigned buffer = chip == 12 ? 0xC060 : 0xB0A0;
        for (unsigned i = 0; at < 0xF000 && i < numberAt(report, 11, 1); ++i)
            prepared.insert(int(i), char(memory(loaded + (at - buffer) / 0x1000 * 16 + i)));
    }

    int chip = 12;
    int revision = 2;
    Memory memory = [](unsigned address) { return address == 0 ? 0x0B : int(address * 7); };
    Answer lie;
    QByteArrayList journal;
    unsigned loaded = 0;
    QByteArray prepared;
};

struct Detection : Computer
{
    Detection()
    {
        const auto note = [this](const char* text) { return [this, text] { reports << text; }; };
        QObject::connect(&controller, &DeviceController::deviceDetectionStarted, note("started"));
        QObject::connect(&controller, &DeviceController::deviceDetectionFinished, note("finished"));
        QObject::connect(&controller, &DeviceController::deviceArrived,
                         [this](DeviceType type) { reports << "+" + QByteArray::number(type); });
        QObject::connect(&controller, &DeviceController::deviceRemoved, [this](DeviceType type) {
            reports << (controller.isConnected(type) ? "?" : "-") + QByteArray::number(type);
        });
        // On the detector's threads, before the controller hears of it.
        const auto* const listener = controller.findChild<DeviceListener*>();
        QObject::connect(
            listener, &DeviceListener::deviceArrived, listener, [this] { arrivals.release(); },
            Qt::DirectConnection);
    }

    std::wstring plug(const HidIdentity& identity,
                      const std::shared_ptr<HidFunction>& hid = std::make_shared<ScriptedChip>())
    {
        const DeviceNode node = hidNode(identity, serial, hid);
        tree.plug(node);
        return node.interfacePath;
    }

    QByteArray text() const { return reports.join(' '); }

    QSemaphore arrivals; ///< reported by the detector
    DeviceController controller{nullptr};
    QByteArrayList reports;
};

/// A chip that stops at its first transfer until it is let go on.
struct HeldChip : ScriptedChip
{
    HeldChip()
    {
        onTransfer = [this] {
            if (transfers > 1)
                return;
            reached.release();
            goOn.acquire();
        };
    }

    QSemaphore reached;
    QSemaphore goOn;
};

/// An image whose table, from 5 on, consists of @p entry over and over again.
Memory tableOf(const QByteArray& entry)
{
    return [entry](unsigned address) {
        return address < 5 ? (address == 0 ? 0x0F : 0) : entry[int((address - 5) % unsigned(entry.size()))];
    };
}

} // namespace

class TestDeviceController : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init() { handlesBefore = openHandleCount(); }
    void cleanup() { QCOMPARE(openHandleCount(), handlesBefore); }

    void devicesAreIdentifiedInBothModes_data();
    void devicesAreIdentifiedInBothModes();
    void theFirstVendorDefinedInterfaceIsTaken_data();
    void theFirstVendorDefinedInterfaceIsTaken();
    void theFirstDeviceOfAKindWins();
    void startedAndFinishedBracketAllReads();
    void aRemovalEndsTheReadWithoutArrival();
    void aDeviceThatWasGoneForAMomentIsReadAnew();
    void detectionStartedAgainReportsWhatIsThere();
    void stopCutsReadsShort();
    void stopWaitsForTheReadOfADeviceThatIsGone();

    void theReaderAsksByTheProtocol_data();
    void theReaderAsksByTheProtocol();
    void nothingIsSentForWhatLiesPastTheMemory_data();
    void nothingIsSentForWhatLiesPastTheMemory();
    void aCancelledReaderBeginsNoTransfer();
    void lyingDevicesEndUnidentified_data();
    void lyingDevicesEndUnidentified();

private:
    std::size_t handlesBefore = 0;
};

void TestDeviceController::devicesAreIdentifiedInBothModes_data()
{
    QTest::addColumn<int>("type");
    QTest::addColumn<bool>("isProgramming");
    QTest::addColumn<Bytes>("image");
    QTest::addColumn<int>("pid");
    QTest::addColumn<QByteArray>("version");
    QTest::addColumn<QByteArray>("name");
    const auto row = [](const char* name, DeviceType type, bool isProgramming, const ImageOptions& options,
                        int pid, const char* version, const char* deviceName) {
        QTest::newRow(name) << int(type) << isProgramming << ImageBuilder::build(options) << pid
                            << QByteArray(version) << QByteArray(deviceName);
    };
    const ImageOptions first = ImageBuilder::transmitter(1);
    ImageOptions unreadable = first;
    unreadable.entries = {ImageBuilder::fileEntry(1, std::string(8, '\x01'))};
    ImageOptions foreignProduct = first;
    foreignProduct.productId = 0x0005;
    ImageOptions foreignVendor = first;
    foreignVendor.vendorId = 0x7A32;
    row("first generation", Transmitter, false, first, 4, "1.2.3", "VYNT1");
    row("second generation", Transmitter, false, ImageBuilder::transmitter(2), 3, "1.2.3", "VYNT2");
    row("headset", Headset, false, ImageBuilder::headset(), 6, "1.2.3", "");
    row("unreadable", Transmitter, false, unreadable, 4, "", "VYNT1");
    row("programming, first", Transmitter, true, first, 4, "1.2.3", "VYNT1");
    row("programming, second", Transmitter, true, ImageBuilder::transmitter(2), 3, "1.2.3", "VYNT2");
    row("programming, headset", Headset, true, foreignProduct, 6, "1.2.3", "");
    row("programming, unreadable", Transmitter, true, unreadable, 0, "", "");
    row("programming, foreign product", Transmitter, true, foreignProduct, 0, "1.2.3", "");
    row("programming, foreign vendor", Transmitter, true, foreignVendor, 0, "1.2.3", "");
}

void TestDeviceController::devicesAreIdentifiedInBothModes()
{
    QFETCH(const int, type);
    QFETCH(const bool, isProgramming);
    QFETCH(const Bytes, image);
    QFETCH(const int, pid);
    Detection c;
    const auto kind = static_cast<DeviceType>(type);
    LayerBus bus(c.tree);
    SimulatedDevice device(bus, sleepOn(c.clock),
                           {SimulatedChip::hardwareFor(kind, 13, 3, image), image, 1, {}});
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
    QVERIFY(device.refusals().empty());
    c.controller.stopDetection();
}

void TestDeviceController::theFirstVendorDefinedInterfaceIsTaken_data()
{
    QTest::addColumn<QByteArray>("usagePages"); // of the interfaces; "!" before one that cannot be opened
    QTest::addColumn<int>("taken");
    QTest::newRow("second") << QByteArray("000C FF00") << 1;
    QTest::newRow("lowest page") << QByteArray("FEFF 0000 FF00 FFFF") << 2;
    QTest::newRow("highest page") << QByteArray("FFFF FF00") << 0;
    QTest::newRow("the first cannot be opened") << QByteArray("!FF00 FF00") << 1;
    QTest::newRow("none") << QByteArray("000C !FF00") << -1;
}

void TestDeviceController::theFirstVendorDefinedInterfaceIsTaken()
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
            c.tree.refuseOpen(hidNode(function, serial).interfacePath, ERROR_ACCESS_DENIED, 1);
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
    TRY_COMPARE(c.text(), "started finished +1 -1"); // the second is not taken for it
    c.tree.unplugAndWait(second);
    c.plug({0x7A31, 0x0003});
    TRY_COMPARE(c.text(), "started finished +1 -1 started finished +1");
    QCOMPARE(c.controller.pid(Transmitter), static_cast<unsigned short>(3));
}

void TestDeviceController::startedAndFinishedBracketAllReads()
{
    Detection c;
    const auto first = std::make_shared<HeldChip>();
    const auto second = std::make_shared<HeldChip>();
    c.plug(transmitter, first);
    c.plug(headset, second);
    c.controller.startDetection();
    TRY_COMPARE(c.text(), "started started");
    QVERIFY(c.controller.isConnected(Headset));
    QCOMPARE(c.controller.pid(Headset), static_cast<unsigned short>(0));
    second->goOn.release();
    TRY_COMPARE(c.text(), "started started +2");
    first->goOn.release();
    TRY_COMPARE(c.text(), "started started +2 finished +1");
}

void TestDeviceController::aRemovalEndsTheReadWithoutArrival()
{
    Detection c;
    const auto chip = std::make_shared<HeldChip>();
    const std::wstring path = c.plug(headset, chip);
    c.controller.startDetection();
    TRY_COMPARE(c.text(), "started");
    TRY_ACQUIRE(chip->reached, 1);
    c.tree.unplugAndWait(path);
    TRY_COMPARE(c.text(), "started finished -2");
    chip->goOn.release();
    TRY_COMPARE(c.tree.openFileCount(), std::size_t(0));
    c.plug(transmitter); // its reports come after the late result
    TRY_COMPARE(c.text(), "started finished -2 started finished +1");
    QVERIFY(!c.controller.isConnected(Headset));
}

void TestDeviceController::aDeviceThatWasGoneForAMomentIsReadAnew()
{
    Detection c;
    const auto chip = std::make_shared<HeldChip>();
    c.controller.startDetection();
    const std::wstring path = c.plug(headset, chip);
    TRY_ACQUIRE(c.arrivals, 1);
    c.tree.unplugAndWait(path);
    c.plug(headset, chip);
    TRY_ACQUIRE(c.arrivals, 1);
    // Both arrivals are heard of late. The first one's record does not open what came in its place.
    TRY_COMPARE(c.text(), "started");
    QCOMPARE(c.tree.openings().size(), std::size_t(1));
    chip->goOn.release();
    TRY_COMPARE(c.text(), "started finished +2");
    c.tree.unplugAndWait(path);
    TRY_COMPARE(c.text(), "started finished +2 -2");
}

void TestDeviceController::detectionStartedAgainReportsWhatIsThere()
{
    Detection c;
    c.plug(transmitter);
    const std::wstring gone = c.plug(headset);
    c.controller.startDetection();
    c.controller.startDetection(); // it runs
    TRY_COMPARE(c.text().count('+'), 2);
    const int before = c.reports.size();
    c.tree.unplugAndWait(gone); // its report is still queued when the detection ends
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
    chip->memory = tableOf(QByteArray(4, '\x7E')); // some 200 reads
    std::atomic<bool> isArmed{true};
    QSemaphore reached;
    chip->onTransfer = [&] {
        if (chip->transfers % 20 != 0 || !isArmed.exchange(false))
            return;
        const std::size_t handles = openHandleCount();
        reached.release();
        while (openHandleCount() + 3 > handles) // until the detector has closed its own
            std::this_thread::yield();
    };
    c.plug(headset, chip);
    c.controller.startDetection();
    TRY_COMPARE(c.text(), "started");
    TRY_ACQUIRE(reached, 1);
    c.controller.stopDetection();
    QCOMPARE(openHandleCount(), handlesBefore);
    QCOMPARE(chip->transfers, 20); // the last was the answer that a read needed
    QVERIFY(!c.controller.isConnected(Headset));
    TRY_COMPARE(c.text(), "started finished +2");
    QVERIFY(c.controller.isConnected(Headset));
    QCOMPARE(c.controller.deviceInstance(Headset).path, std::wstring());
    c.controller.startDetection();
    TRY_COMPARE(c.text(), "started finished +2 -2 started finished +2");
    QVERIFY(!c.controller.deviceInstance(Headset).path.empty());

    // Started again before the end of the read was heard of.
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
    Detection c;
    const auto chip = std::make_shared<HeldChip>();
    const std::wstring path = c.plug(headset, chip);
    c.controller.startDetection();
    TRY_COMPARE(c.text(), "started");
    TRY_ACQUIRE(chip->reached, 1);
    c.tree.unplugAndWait(path);
    TRY_COMPARE(c.text(), "started finished -2");
    std::thread letGo([&chip, handles = openHandleCount()] {
        while (openHandleCount() + 3 > handles) // until the detector has closed its own
            std::this_thread::yield();
        for (int i = 0; i < whileOthersRun; ++i)
            std::this_thread::yield();
        chip->goOn.release();
    });
    c.controller.stopDetection();
    const std::size_t openFiles = c.tree.openFileCount();
    letGo.join();
    QCOMPARE(openFiles, std::size_t(0));
}

void TestDeviceController::theReaderAsksByTheProtocol_data()
{
    QTest::addColumn<int>("chip");
    QTest::addColumn<int>("revision");
    QTest::addColumn<QByteArray>("addresses"); // mailbox, first row, second row
    QTest::newRow("chip 12, revision 2") << 12 << 2 << QByteArray("4BC4 60C0 60D0");
    QTest::newRow("chip 12, revision 3") << 12 << 3 << QByteArray("2EC4 60C0 60D0");
    QTest::newRow("chip 13, revision 2") << 13 << 2 << QByteArray("52C4 A0B0 A0C0");
    QTest::newRow("chip 13, revision 3") << 13 << 3 << QByteArray("3BB5 A0B0 A0C0");
}

void TestDeviceController::theReaderAsksByTheProtocol()
{
    QFETCH(const QByteArray, addresses);
    QFETCH(const int, chip);
    QFETCH(const int, revision);
    const LogCapture log;
    const auto scripted = std::make_shared<ScriptedChip>();
    scripted->chip = chip;
    scripted->revision = revision;
    HidFixture f(scripted);
    f.clock.onSleep = [&](std::uint32_t ms) { scripted->journal << "s" + QByteArray::number(ms); };
    ReadDataHelper_FromDevice read(Utilities::openHidDeviceByPath(f.path, 3, 0), notCancelled);
    QByteArray expected = "FF0A00FD040000058104F001 s100 A FF0A00FD040000058102F001 s100 A "
                          "FF1100FF0400000C00<mailbox>00000000<row1>0100 FF0700FF0400000284 "
                          "FF0A00FD0400000581<row1>01 s100 A "
                          "FF1100FF0400000C00<mailbox>03020100<row1>1400 FF0700FF0400000284 "
                          "FF0A00FD0400000581<row1>10 s100 A FF0A00FD0400000581<row2>04 s100 A "
                          "FF1100FF0400000C00<mailbox>E0FF0100<row1>2000 FF0700FF0400000284 "
                          "FF0A00FD0400000581<row1>10 s100 A FF0A00FD0400000581<row2>10 s100 A";
    expected.replace("<mailbox>", addresses.split(' ')[0]);
    expected.replace("<row1>", addresses.split(' ')[1]).replace("<row2>", addresses.split(' ')[2]);
    QByteArray data = "stale";
    QVERIFY(read(data, 0x010203, 20)); // within 128 KiB
    for (int i = 0; i < 20; ++i)
        QCOMPARE(data[i], char((0x010203 + i) * 7));
    QCOMPARE(data.size(), 20);
    QVERIFY(read(data, 0x01FFE0, 100)); // cut before it is held against the memory
    QCOMPARE(data.size(), 32);
    QCOMPARE(scripted->journal.join(' '), expected);
}

void TestDeviceController::nothingIsSentForWhatLiesPastTheMemory_data()
{
    QTest::addColumn<int>("firstByte");
    QTest::addColumn<int>("capacity");
    QTest::newRow("none") << 0x00 << 0;
    QTest::newRow("smallest") << 0x01 << 128;
    QTest::newRow("low bits only") << 0xF2 << 256;
    QTest::newRow("128 KiB") << 0x0B << 131072;
    QTest::newRow("largest") << 0x7F << 2097152;
    QTest::newRow("first byte without answer") << -1 << 1;
    QTest::newRow("unknown loader") << -2 << 0;
}

void TestDeviceController::nothingIsSentForWhatLiesPastTheMemory()
{
    QFETCH(const int, firstByte);
    QFETCH(const int, capacity);
    const LogCapture log;
    const auto chip = std::make_shared<ScriptedChip>();
    chip->memory = [firstByte = firstByte](unsigned address) { return address == 0 ? firstByte : 1; };
    chip->revision = firstByte == -2 ? 4 : 2;
    chip->lie = [&](const QByteArray& honest) {
        const bool isMute = firstByte == -1 && chip->journal.count("A") == 3;
        return isMute ? "\xFF\x01" + honest.mid(2) : honest;
    };
    const HidFixture f(chip);
    ReadDataHelper_FromDevice read(Utilities::openHidDeviceByPath(f.path, 3, 0), notCancelled);
    QCOMPARE(chip->transfers, firstByte == -2 ? 4 : 8);
    const int before = chip->transfers;
    const auto end = static_cast<unsigned>(capacity);
    QByteArray data;
    QVERIFY(!read(data, end, 1));
    QVERIFY(!read(data, 0xFFFFFFFF, 5));
    QVERIFY(!read(data, end - std::min(end, 19u), 20));
    QCOMPARE(chip->transfers, before);
    QCOMPARE(read(data, end - 1, 1), capacity > 0);
}

void TestDeviceController::aCancelledReaderBeginsNoTransfer()
{
    const LogCapture log;
    constexpr int allTransfers = 4 + 4 + 6; // the chip's kind, the image's first byte, two rows
    for (int k = 1; k <= allTransfers; ++k) {
        const auto chip = std::make_shared<ScriptedChip>();
        HidFixture f(chip);
        const auto cancelled = std::make_shared<std::atomic<bool>>(false);
        std::uint32_t cancelledAt = 0;
        chip->onTransfer = [&] {
            if (chip->transfers == k) {
                *cancelled = true;
                cancelledAt = f.clock.tickCount();
            }
        };
        ReadDataHelper_FromDevice read(Utilities::openHidDeviceByPath(f.path, 3, 0), cancelled);
        QByteArray data;
        QCOMPARE(read(data, 5, 20), k == allTransfers);
        QCOMPARE(chip->transfers, k);
        QVERIFY2(f.clock.tickCount() - cancelledAt <= 100, QByteArray::number(k));
    }
}

void TestDeviceController::lyingDevicesEndUnidentified_data()
{
    QTest::addColumn<Memory>("memory");
    QTest::addColumn<Answer>("lie");
    QTest::addColumn<int>("mostTransfers");
    QTest::addColumn<int>("honestAnswers");
    constexpr int mostReads = 2 * 256; // by the search for the product, and by that for the version
    const Memory honest = ScriptedChip().memory;
    const auto answers = [&](const char* name, const Answer& lie, int most, int honestAnswers) {
        QTest::newRow(name) << honest << lie << most << honestAnswers;
    };
    const Answer isShort = [](const QByteArray& report) { return report.left(63); };
    const Answer noData = [](const QByteArray& report) { return "\xFF\x01" + report.mid(2); };
    const Answer nonsense = [](const QByteArray&) { return QByteArray(264, '\x0E'); };
    answers("short", isShort, 4, 0);
    answers(
        "nothing at all", [](const QByteArray&) { return QByteArray(); }, 4, 0);
    answers("no data", noData, 4, 0);
    answers("unknown chip", nonsense, 4, 0);
    answers("short later", isShort, 8 + 2 * 4, 2);
    answers("no data later", noData, 8 + 2 * 4, 3);
    const Answer isLong = [](const QByteArray& report) { return report + QByteArray(70000, '\x7E'); };
    answers("too long", isLong, 4 + 4 * mostReads, 0);

    const auto table = [](const char* name, const QByteArray& entry, int most) {
        QTest::newRow(name) << tableOf(entry) << Answer() << most << 0;
    };
    table("entries without length", QByteArray(4, '\0'), 4 + 4 * mostReads);
    table("entries of 4 bytes", QByteArray::fromHex("010400017E7E7E7E"), 4 + 4 * mostReads);
    table("length FFFF", QByteArray(4, '\xFF'), 4 + 4 * (2 * 34));
    table("descriptors all over", QByteArray::fromHex("0CFFFFFFFF"), 4 + 4 * mostReads);
    QTest::newRow("table past the end")
        << Memory([](unsigned address) { return address ? 0xFF : 1; }) << Answer() << 4 + 4 * 3 << 0;
}

void TestDeviceController::lyingDevicesEndUnidentified()
{
    QFETCH(const Memory, memory);
    QFETCH(const Answer, lie);
    QFETCH(const int, mostTransfers);
    QFETCH(const int, honestAnswers);
    Detection c;
    const auto chip = std::make_shared<ScriptedChip>();
    chip->memory = memory;
    chip->lie = [&](const QByteArray& honest) {
        return lie && chip->journal.count("A") > honestAnswers ? lie(honest) : honest;
    };
    c.plug(programmingTransmitter, chip);
    c.controller.startDetection();
    TRY_COMPARE(c.text(), "started finished +1");
    QVERIFY(c.controller.isConnected(Transmitter));
    QCOMPARE(c.controller.pid(Transmitter), static_cast<unsigned short>(0));
    QCOMPARE(c.controller.version(Transmitter), QString());
    QVERIFY2(chip->transfers <= mostTransfers, QByteArray::number(chip->transfers));
}

QTEST_GUILESS_MAIN(TestDeviceController)

#include "tst_devicecontroller.moc"
