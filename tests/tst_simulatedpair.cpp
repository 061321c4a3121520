// Checks that the simulated devices are strict. If commands come in a wrong order, a device refuses a
// command, or its memory gets wrong bytes.

#include <windows.h>

#include <hidclass.h>

#include "literals.h"
#include "pairedcomputer.h"
#include "simulatedchannel.h"
#include "table.h"
#include "textfile.h"
#include "utilities.h"

Q_DECLARE_METATYPE(Fault)

namespace {

/// A computer with a device of chip 12, revision 2 (control block at C44A, download buffer at C764).
struct Workbench : PairedComputer
{
    explicit Workbench(DeviceType type)
        : testedType(type)
        , tested(pair.device(type))
    {
        tested.plugIn();
    }

    std::vector<int> usagePages()
    {
        std::vector<int> pages;
        for (const auto& node : tree.presentNodes(GUID_DEVINTERFACE_HID))
            pages.push_back(node->hid->capabilities().usagePage);
        return pages;
    }

    std::wstring channel() { return pair.channelPath(testedType); }

    const DeviceType testedType;
    SimulatedDevice& tested;
};

/// Sends a data packet that fills the first 256 bytes of the download buffer with @p byte.
bool download(Channel& channel, char byte)
{
    return channel.send(QByteArray::fromHex("E4000000000001") + QByteArray(256, byte));
}

/// A bus that keeps the channel of a detached device, as a computer does while a transfer is in progress.
struct KeepingBus : Bus
{
    void attach(const BusDevice& device) override { channel = device.interfaces.back().serves; }
    void detach(int) override {}
    bool requestRemoval(int, bool isHeld) override { return !isHeld; }

    std::shared_ptr<FeatureReports> channel;
};

const char commit[] = "FF0700FF0400000203";
const char erase[] = "FF0A00FF040000050C000000";

/// A write that a commit of the first 256 bytes needs. If this write is missing, the commit is refused with
/// the reason `refusal`.
struct Preparation
{
    unsigned address;
    const char* bytes; ///< the bytes for a transmitter, a comma, the bytes for a headset
    const char* refusal;
};
constexpr Preparation preparations[] = {
    {0xC0A7, "00,00", "C0 patch"},
    {0xC44A, "01,02", "memory type"},
    {0xC45E, "00100000,00000000", "geometry"},
    {0xC457, "00200000020001,00200000014000", "geometry"},
    {0xC44B, "00000000,00000000", "target"},
    {0xC44F, "64C7,64C7", "target"},
    {0xC451, "0001,0001", "target"},
    {0xC454, "0000,0000", "target"},
};

void prepare(Channel& channel, bool isTransmitter, int without)
{
    const QByteArray pins = isTransmitter ? "5005" : "0A";
    QVERIFY(without == -1 || channel.write(isTransmitter ? 0xF0E1 : 0xF0E2, pins));
    for (int i = 0; i < int(std::size(preparations)); ++i) {
        const QByteArray bytes = QByteArray(preparations[i].bytes).split(',')[isTransmitter ? 0 : 1];
        QVERIFY(i == without || channel.write(preparations[i].address, bytes));
    }
}

constexpr int nothing = 99;

} // namespace

class TestSimulatedPair : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void theModeIsKeptWithoutPower();
    void aCommitNeedsItsSetUp_data();
    void aCommitNeedsItsSetUp();
    void norFlashIsErasedInWholeSectors();
    void aTransferNeverReachesTheNextConnection();
    void faultsStrikeAtTheirTransfer_data();
    void faultsStrikeAtTheirTransfer();
    void aDeviceOnAnotherPortStaysThere();
    void anOrderlyRemovalIsRefusedWhileAProgramHoldsTheDevice();
    void aChangeOfSpeedShortensWaitsUnderWay();
    void identitiesAreTheSameEverywhere();
};

void TestSimulatedPair::theModeIsKeptWithoutPower()
{
    Workbench computer(Headset);
    const std::vector<int> normal{0x000C, 0xFF00};
    const std::vector<int> programming{0xFF00};
    QCOMPARE(computer.usagePages(), normal);
    enterProgrammingMode(computer.tested, computer.channel());
    computer.tested.unplug();
    QVERIFY(computer.usagePages().empty());
    computer.tested.plugIn();
    QCOMPARE(computer.usagePages(), programming);

    // Only a valid image lets the device leave programming mode.
    const QByteArray image = toByteArray(computer.tested.memory());
    for (const bool isValid : {false, true}) {
        Channel programmed(computer.channel());
        prepare(programmed, false, nothing);
        const QByteArray bytes = isValid ? image.left(256) : QByteArray(256, '\x55');
        QVERIFY(programmed.send(QByteArray::fromHex("E4000000000001") + bytes));
        QVERIFY(programmed.send(commit) && programmed.send("FF020005"));
        TRY_VERIFY(computer.tested.isSettled() && computer.tested.isPluggedIn());
        QCOMPARE(computer.usagePages(), isValid ? normal : programming);
    }
    QVERIFY(toByteArray(computer.tested.memory()) == image);
}

void TestSimulatedPair::aCommitNeedsItsSetUp_data()
{
    const Table<bool, int, QByteArray> table("isTransmitter", "without", "refusal");
    for (const bool isTransmitter : {true, false}) {
        const QByteArray name = isTransmitter ? "transmitter, " : "headset, ";
        table.row(name + "complete", isTransmitter, nothing, "");
        table.row(name + "without pins", isTransmitter, -1, "commit refused: pin multiplexer");
        for (int i = 0; i < int(std::size(preparations)); ++i)
            table.row(name + "without " + QByteArray::number(preparations[i].address, 16), isTransmitter, i,
                      QByteArray("commit refused: ") + preparations[i].refusal);
    }
}

void TestSimulatedPair::aCommitNeedsItsSetUp()
{
    QFETCH(const bool, isTransmitter);
    QFETCH(const int, without);
    QFETCH(const QByteArray, refusal);
    Workbench computer(isTransmitter ? Transmitter : Headset);
    Channel normal(computer.channel());
    prepare(normal, isTransmitter, nothing);
    QVERIFY(normal.send(commit)); // the device refuses a commit in normal mode
    QCOMPARE(computer.tested.refusals(), std::vector<std::string>{"commit refused: programming mode"});
    enterProgrammingMode(computer.tested, computer.channel());
    Channel channel(computer.channel());
    prepare(channel, isTransmitter, without);
    std::vector<std::uint8_t> expected = computer.tested.memory();
    QVERIFY(download(channel, 0x3C) && channel.send(commit));
    for (int i = 0; refusal.isEmpty() && i < 256; ++i)
        expected[i] = isTransmitter ? expected[i] & 0x3C : 0x3C; // programming NOR flash only clears bits
    QVERIFY(computer.tested.memory() == expected);
    QCOMPARE(QByteArray::fromStdString(computer.tested.refusals().back()),
             refusal.isEmpty() ? "commit refused: programming mode" : refusal);
}

void TestSimulatedPair::norFlashIsErasedInWholeSectors()
{
    for (const DeviceType type : {Transmitter, Headset}) {
        Workbench computer(type);
        enterProgrammingMode(computer.tested, computer.channel());
        Channel channel(computer.channel());
        prepare(channel, type == Transmitter, nothing);
        std::vector<std::uint8_t> expected = computer.tested.memory();
        QVERIFY(channel.write(0xC44B, "00100000") && channel.write(0xC451, "0100") && channel.send(erase));
        if (type == Transmitter)
            std::fill(expected.begin() + 0x1000, expected.begin() + 0x2000, 0xFF);
        QVERIFY(computer.tested.memory() == expected);
        QCOMPARE(computer.tested.refusals().size(), type == Transmitter ? std::size_t(0) : 1);
        QVERIFY(channel.write(0xC44B, "00080000") && channel.send(erase)); // an address inside a sector
        QCOMPARE(computer.tested.refusals().back(), std::string("erase refused: target"));
    }
}

void TestSimulatedPair::aTransferNeverReachesTheNextConnection()
{
    VirtualClock clock;
    KeepingBus bus;
    const auto image = ImageBuilder::build(ImageBuilder::headset());
    SimulatedDevice device(bus, sleepOn(clock), {Headset, 12, 2, image, 1, {}});
    device.plugIn();
    const auto earlier = bus.channel;
    device.unplug();
    device.plugIn();
    std::vector<std::uint8_t> report = bytesOf(QByteArray::fromHex("FF0A00FD0400000581"));
    std::size_t received = 0;
    for (const auto& channel : {earlier, bus.channel}) {
        const auto expected = int(channel == earlier ? Transfer::Gone : Transfer::Done);
        QCOMPARE(int(channel->set(report.data(), report.size())), expected);
        QCOMPARE(int(channel->get(report.data(), report.size(), received)), expected);
    }
}

void TestSimulatedPair::faultsStrikeAtTheirTransfer_data()
{
    // "outcomes" has a character for each transfer: . for a success, x for a failure, n for an answer without
    // data, w for a wrong identity.
    const Table<Fault, int, QByteArray, int> table("fault", "transfer", "outcomes", "struckAt");
    table.row("none", Fault::None, 1, "........", 0);
    table.row("vanishes at the first", Fault::Vanish, 1, "xxxxxxxx", 1);
    table.row("vanishes", Fault::Vanish, 4, "...xxxxx", 4);
    table.row("power lost", Fault::PowerLost, 3, "..xxxxxx", 3);
    table.row("request fails", Fault::TransferFails, 3, "..xn....", 3);
    table.row("answer fails", Fault::TransferFails, 4, "...x....", 4);
    table.row("no data from a request on", Fault::NoData, 3, "...n....", 4);
    table.row("no data", Fault::NoData, 4, "...n....", 4);
    table.row("short answer", Fault::ShortAnswer, 6, ".....x..", 6);
    table.row("wrong identity from a request on", Fault::WrongIdentity, 3, "...w.w.w", 3);
    table.row("wrong identity", Fault::WrongIdentity, 4, ".....w.w", 4);
}

void TestSimulatedPair::faultsStrikeAtTheirTransfer()
{
    QFETCH(const Fault, fault);
    QFETCH(const int, transfer);
    QFETCH(const int, struckAt);
    Workbench computer(Transmitter);
    Channel channel(computer.channel());
    computer.tested.setFault(fault, transfer);
    QByteArray outcomes;
    for (int i = 0; i < 4; ++i) {
        outcomes += channel.ask(0xF004, 1) ? '.' : 'x';
        const QByteArray answer = channel.answer();
        if (answer == "failed" || answer == "no data")
            outcomes += answer == "failed" ? 'x' : 'n';
        else
            outcomes += answer[0] == 12 ? '.' : 'w';
    }
    QTEST(outcomes, "outcomes");
    QCOMPARE(computer.tested.struckAt().value_or(Transfers()).count, struckAt);
    TRY_VERIFY(computer.tested.isSettled());
    QCOMPARE(computer.tested.isPluggedIn(), fault != Fault::Vanish); // after a power loss, the device returns
}

void TestSimulatedPair::aDeviceOnAnotherPortStaysThere()
{
    Workbench computer(Transmitter);
    computer.pair.device(Headset).plugIn();
    const int firstPort = computer.tested.port();
    computer.tested.setFault(Fault::OtherPort, 1);
    enterProgrammingMode(computer.tested, computer.channel());
    const int port = computer.tested.port();
    QVERIFY(port != firstPort && port != computer.pair.device(Headset).port());
    computer.tested.unplug();
    computer.tested.plugIn();
    QCOMPARE(computer.tested.port(), port);
}

void TestSimulatedPair::anOrderlyRemovalIsRefusedWhileAProgramHoldsTheDevice()
{
    Workbench computer(Headset);
    LayerBus layer(computer.tree);
    const int port = computer.tested.port();
    QVERIFY(!layer.requestRemoval(port, true));
    {
        Channel opened(computer.channel());
        QVERIFY(!layer.requestRemoval(port, false));
    }
    QCOMPARE(computer.usagePages().size(), std::size_t(2));
    QVERIFY(layer.requestRemoval(port, false) && computer.usagePages().empty());
    for (const Fault fault : {Fault::Removed, Fault::RemovalRefused}) {
        VirtualClock clock;
        KeepingBus bus;
        SimulatedDevice device(bus, sleepOn(clock), {Headset, 12, 2, computer.tested.memory(), 1, {}});
        device.plugIn();
        device.setFault(fault, 2);
        const std::vector<std::uint8_t> request = bytesOf(QByteArray::fromHex("FF0A00FD0400000581"));
        for (int transfer = 1; transfer <= 2; ++transfer) {
            QVERIFY(device.isPluggedIn() && !device.struckAt());
            QCOMPARE(int(bus.channel->set(request.data(), request.size())), int(Transfer::Done));
        }
        TRY_VERIFY(device.isSettled());
        QCOMPARE(device.struckAt()->count, 2);
        QCOMPARE(device.isPluggedIn(), fault == Fault::RemovalRefused);
    }
}

/// At the clock's initial speed, each of the two waits would take ten minutes.
void TestSimulatedPair::aChangeOfSpeedShortensWaitsUnderWay()
{
    constexpr std::uint32_t waitMs = 600000;
    ScaledClock clock;
    const std::uint32_t start = clock.tickCount();
    std::thread sleeper([&clock] { clock.sleep(waitMs); });
    std::mutex mutex;
    std::condition_variable never;
    std::thread waiter([&] {
        std::unique_lock<std::mutex> lock(mutex);
        clock.waitFor(lock, never, waitMs, [] { return false; });
    });
    clock.setSpeed(1000 * ScaledClock::atOnce);
    sleeper.join();
    waiter.join();
    QVERIFY(clock.tickCount() - start >= waitMs);
}

/// A new generation of devices needs an entry in the updater, the udev rules, the metainfo file
/// and the simulator.
void TestSimulatedPair::identitiesAreTheSameEverywhere()
{
    QStringList expected;
    for (const DeviceId& id : Utilities::allDeviceIds())
        expected << QString::asprintf("%04X%04X", unsigned(id.vendorId), unsigned(id.productId));
    expected.sort();
    const QMap<QString, QString> patterns{
        {"70-zefo-vynt-firmware-update.rules"_s, "0003:(\\w{4}):(\\w{4})\\.\\*"_s},
        {"metainfo.xml.in"_s, "<modalias>usb:v(\\w{4})p(\\w{4})d\\*</modalias>"_s},
    };
    for (auto pattern = patterns.begin(); pattern != patterns.end(); ++pattern) {
        const QByteArray text = contentsOf(LINUX_PACKAGING_FOLDER "/"_s + pattern.key());
        QStringList found;
        for (auto all = QRegularExpression(*pattern).globalMatch(QString::fromUtf8(text)); all.hasNext();)
            found << all.next().capturedTexts().mid(1).join(QString());
        found.sort();
        QCOMPARE(found, expected);
    }
    std::vector<std::uint16_t> simulated(std::begin(ImageBuilder::transmitterProductIds),
                                         std::end(ImageBuilder::transmitterProductIds));
    simulated.push_back(ImageBuilder::headset().productId);
    std::vector<std::uint16_t> known;
    for (const Utilities::KnownDevice& device : Utilities::knownDevices())
        known.push_back(device.id.productId);
    QCOMPARE(simulated, known);
}

QTEST_GUILESS_MAIN(TestSimulatedPair)

#include "tst_simulatedpair.moc"
