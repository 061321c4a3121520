// Tests how a device's identity is read: the requests to the chip, and what wrong answers lead to.

#include <algorithm>
#include <atomic>
#include <memory>

#include <QtTest>

#include "detection.h"
#include "devicereader_p.h"
#include "leavesnothing.h"
#include "table.h"
#include "utilities.h"
#include "waiting.h"

using Memory = ScriptedChip::Memory;
using Answer = ScriptedChip::Answer;
Q_DECLARE_METATYPE(Memory)
Q_DECLARE_METATYPE(Answer)

namespace {

const auto notCancelled = std::make_shared<std::atomic<bool>>(false);

/// @return the lowest @p bytes bytes of @p value as hexadecimal digits, the lowest byte first.
QByteArray hex(unsigned value, int bytes)
{
    QByteArray result;
    for (int i = 0; i < bytes; ++i)
        result += static_cast<char>(value >> 8 * i);
    return result.toHex().toUpper();
}

} // namespace

class TestDeviceReader : public LeavesNothing
{
    Q_OBJECT

private Q_SLOTS:
    void theReaderFollowsTheProtocol_data();
    void theReaderFollowsTheProtocol();
    void nothingIsSentForARangePastTheMemory_data();
    void nothingIsSentForARangePastTheMemory();
    void aCancelledReaderStartsNoTransfer();
    void lyingDevicesEndUnidentified_data();
    void lyingDevicesEndUnidentified();
};

void TestDeviceReader::theReaderFollowsTheProtocol_data()
{
    const Table<int, int, QByteArray> table("chip", "revision", "addresses"); // of the mailbox, row 1, row 2
    table.row("chip 12, revision 2", 12, 2, "4BC4 60C0 60D0");
    table.row("chip 12, revision 3", 12, 3, "2EC4 60C0 60D0");
    table.row("chip 13, revision 2", 13, 2, "52C4 A0B0 A0C0");
    table.row("chip 13, revision 3", 13, 3, "3BB5 A0B0 A0C0");
}

void TestDeviceReader::theReaderFollowsTheProtocol()
{
    QFETCH(const QByteArray, addresses);
    QFETCH(const int, chip);
    QFETCH(const int, revision);
    const LogCapture log;
    const auto scripted = std::make_shared<ScriptedChip>();
    scripted->chip = chip;
    scripted->revision = revision;
    HidFixture f({0x170D, 0x0101}, scripted);
    f.clock.onSleep = [&](std::uint32_t ms) { scripted->journal << "s" + QByteArray::number(ms); };
    ReadDataHelper_FromDevice read(Utilities::openHidDeviceByPath(f.path, Access::ReadWrite, Access::None),
                                   notCancelled);
    QByteArray expected = "FF0A00FD040000058104F001 s100 A FF0A00FD040000058102F001 s100 A "
                          "FF1100FF0400000C00<mailbox>00000000<row1>0100 FF0700FF0400000284 "
                          "FF0A00FD0400000581<row1>01 s100 A";
    QByteArray data = "stale";
    for (const int size : {0, 1, 15, 16, 17, 20, 31, 32, 33, 100}) {
        const int bytes = std::min(size, 32); // the reader cuts the size before it checks the range
        const unsigned address = 0x20000u - unsigned(bytes);
        QVERIFY2(read(data, address, static_cast<unsigned short>(size)),
                 "cannot read " + QByteArray::number(size) + " bytes");
        QCOMPARE(data.size(), bytes);
        for (int i = 0; i < bytes; ++i)
            QCOMPARE(data[i], char((int(address) + i) * 7));
        expected += " FF1100FF0400000C00<mailbox>" + hex(address, 4) + "<row1>" + hex(unsigned(bytes), 2) +
                    " FF0700FF0400000284 FF0A00FD0400000581<row1>" + hex(unsigned(std::min(bytes, 16)), 1) +
                    " s100 A";
        if (bytes > 16)
            expected += " FF0A00FD0400000581<row2>" + hex(unsigned(bytes - 16), 1) + " s100 A";
    }
    expected.replace("<mailbox>", addresses.split(' ')[0]);
    expected.replace("<row1>", addresses.split(' ')[1]).replace("<row2>", addresses.split(' ')[2]);
    QCOMPARE(scripted->journal.join(' '), expected);
    constexpr int callsLeft = 256 - 11; // the first byte and the ten ranges took 11 of the 256 allowed reads
    for (int call = 1; call <= callsLeft + 1; ++call)
        QCOMPARE(read(data, 0, 1), call <= callsLeft);
}

void TestDeviceReader::nothingIsSentForARangePastTheMemory_data()
{
    const Table<int, int> table("firstByte", "capacity");
    table.row("none", 0x00, 0);
    table.row("smallest", 0x01, 128);
    table.row("low bits only", 0xF2, 256);
    table.row("128 KiB", 0x0B, 131072);
    table.row("largest", 0x7F, 2097152);
    table.row("first byte without answer", -1, 1);
    table.row("unknown loader", -2, 0);
}

void TestDeviceReader::nothingIsSentForARangePastTheMemory()
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
    const HidFixture f({0x170D, 0x0101}, chip);
    ReadDataHelper_FromDevice read(Utilities::openHidDeviceByPath(f.path, Access::ReadWrite, Access::None),
                                   notCancelled);
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

void TestDeviceReader::aCancelledReaderStartsNoTransfer()
{
    const LogCapture log;
    constexpr int allTransfers = 4 + 4 + 6; // for the chip's kind, the image's first byte and two rows
    for (int k = 1; k <= allTransfers; ++k) {
        const auto chip = std::make_shared<ScriptedChip>();
        HidFixture f({0x170D, 0x0101}, chip);
        const auto cancelled = std::make_shared<std::atomic<bool>>(false);
        std::uint32_t cancelledAt = 0;
        chip->onTransfer = [&] {
            if (chip->transfers == k) {
                *cancelled = true;
                cancelledAt = f.clock.tickCount();
            }
        };
        ReadDataHelper_FromDevice read(
            Utilities::openHidDeviceByPath(f.path, Access::ReadWrite, Access::None), cancelled);
        QByteArray data;
        QCOMPARE(read(data, 5, 20), k == allTransfers);
        QCOMPARE(chip->transfers, k);
        // After a request, even a cancelled reader waits 100 ms.
        const bool isRequest = chip->journal.last().startsWith("FF0A00FD");
        QCOMPARE(f.clock.tickCount() - cancelledAt, isRequest ? 100u : 0u);
        QVERIFY2(!f.log.text().contains('!'), f.log.text()); // cancelling is not logged as an error
    }
}

void TestDeviceReader::lyingDevicesEndUnidentified_data()
{
    const Table<Memory, Answer, int, int> table("memory", "lie", "mostTransfers", "honestAnswers");
    constexpr int mostReads = 2 * 256; // 256 to find the product, 256 to find the version
    const Memory honest = ScriptedChip().memory;
    const Answer isShort = [](const QByteArray& report) { return report.left(63); };
    const Answer isLong = [](const QByteArray& report) { return report + QByteArray(70000, '\x7E'); };
    const Answer noData = [](const QByteArray& report) { return "\xFF\x01" + report.mid(2); };
    const Answer nonsense = [](const QByteArray&) { return QByteArray(264, '\x0E'); };
    table.row("short", honest, isShort, 4, 0);
    table.row("no data", honest, noData, 4, 0);
    table.row("unknown chip", honest, nonsense, 4, 0);
    table.row("short later", honest, isShort, 8 + 2 * 4, 2);
    table.row("no data later", honest, noData, 8 + 2 * 4, 3);
    table.row("too long", honest, isLong, 4 + 4 * mostReads, 0);

    const auto entries = [](const char* hex) { return ScriptedChip::tableOf(QByteArray::fromHex(hex)); };
    table.row("entries without length", entries("00000000"), {}, 4 + 4 * mostReads, 0);
    table.row("entries of 4 bytes", entries("010400017E7E7E7E"), {}, 4 + 4 * mostReads, 0);
    table.row("length FFFF", entries("FFFFFFFF"), {}, 4 + 4 * (2 * 34), 0);
    table.row("descriptors all over", entries("0CFFFFFFFF"), {}, 4 + 4 * mostReads, 0);
    table.row(
        "table past the end", [](unsigned address) { return address ? 0xFF : 1; }, {}, 4 + 4 * 3, 0);
}

void TestDeviceReader::lyingDevicesEndUnidentified()
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
    c.plug({0x170D, 0x0100}, chip);
    c.controller.startDetection();
    TRY_COMPARE(c.text(), "started finished +1");
    QVERIFY(c.controller.isConnected(Transmitter));
    QCOMPARE(c.controller.pid(Transmitter), static_cast<unsigned short>(0));
    QCOMPARE(c.controller.version(Transmitter), QString());
    QVERIFY2(chip->transfers <= mostTransfers, QByteArray::number(chip->transfers) +
                                                   " transfers, expected at most " +
                                                   QByteArray::number(mostTransfers));
}

QTEST_GUILESS_MAIN(TestDeviceReader)

#include "tst_devicereader.moc"
