// Checks the programming sequence by a journal of its transfers, delays and reports. The journal's entries:
//   F004?01      requests 1 byte at chip address F004
//   A            fetches the answer
//   F0E2=0A      writes 0A to chip address F0E2
//   D0100        sends image data for offset 0x100 of a chunk of 4096 bytes
//   E, C, X      erases, commits, ends programming
//   s20          sleeps 20 ms
//   r132         reports the progress range 0 to 132
//   p            reports that the progress has grown by 1
//   ok, error 1  reports the outcome, before the device is closed

#include <QtTest>

#include "deviceinstance.h"
#include "flasher.h"
#include "leavesnothing.h"
#include "scriptedhid.h"
#include "table.h"
#include "utilities.h"

namespace {

/// Special values of the column "chip". Each is a case in which the run must fail.
enum Case { noDevice = -3, abortedBefore, shortReports };

QByteArray imageOf(int bytes, int byte0, int byte1)
{
    QByteArray image(bytes, '\0');
    for (int i = 0; i < bytes; ++i)
        image[i] = static_cast<char>(i == 0 ? byte0 : i == 1 ? byte1 : i * 7 + i / 256);
    return image;
}

struct Run : HidFixture
{
    Run(const QByteArray& firmware, int chip, int revision)
        : image(firmware)
        , flasher(chip == noDevice ? nullptr
                                   : Utilities::openHidDeviceByPath(path, Access::ReadWrite, Access::None))
    {
        hid->onSet = [this](const QByteArray& report) { journal << notationOf(report); };
        hid->answer = [this, chip, revision](const QByteArray&) {
            journal << "A";
            return QByteArray(11, '\0') + char(journal.count("A") == 1 ? chip : revision) +
                   QByteArray(52, '\0');
        };
        clock.onSleep = [this](std::uint32_t ms) { note("s", static_cast<int>(ms)); };
        QObject::connect(&flasher, &Flasher::progressValueChanged,
                         [this](int value) { journal << (value == ++progress ? "p" : "p wrong"); });
        QObject::connect(&flasher, &Flasher::progressRangeChanged,
                         [this](int min, int max) { note("r", max - min); });
        QObject::connect(&flasher, &Flasher::flashingFinished, [this] { end("ok"); });
        QObject::connect(&flasher, &Flasher::flashingError,
                         [this](int code) { end("error " + QByteArray::number(code)); });
    }

    void note(const char* what, int number) { journal << what + QByteArray::number(number); }

    void end(const QByteArray& outcome)
    {
        journal << (tree.openFileCount() == openBefore ? outcome : outcome + " of a closed device");
        place = flasher.endOfRun();
    }

    QByteArray operate(int type)
    {
        flasher.operate(image, type);
        return journal.join(' ');
    }

    /// @return the journal entry for @p report, or the report's bytes if it does not follow the protocol.
    QByteArray notationOf(const QByteArray& report)
    {
        QByteArray hex = report.toHex().toUpper();
        if (report.startsWith('\xE4')) {
            const QByteArray data = image.mid(256 * packets++, 256).leftJustified(report.size() - 7, '\0');
            const bool isRight = hex.mid(6, 8) == "00000001" && report.mid(7) == data;
            return isRight ? "D" + hex.mid(4, 2) + hex.mid(2, 2) : hex;
        }
        const int bytes = 2 + static_cast<unsigned char>(report[1]);
        const QByteArray frame = hex.left(2 * bytes), end = frame.mid(22),
                         address = frame.mid(20, 2) + frame.mid(18, 2);
        const auto isCommand = [&](char group, const QByteArray& operation) {
            QByteArray head = QByteArray::fromHex("FF0000FF04000000");
            head[1] = static_cast<char>(bytes - 2), head[3] = group, head[7] = static_cast<char>(bytes - 7);
            return frame.startsWith(head.toHex().toUpper() + operation);
        };
        if (hex.mid(2 * bytes).count('0') != hex.size() - 2 * bytes)
            return hex;
        if (isCommand('\xFD', "81"))
            return address + "?" + end;
        if (isCommand('\xFF', "00"))
            return address + "=" + end;
        if (isCommand('\xFF', "0C000000"))
            return "E" + frame.mid(24);
        return isCommand('\xFF', "03") ? "C" + end : frame == "FF020005" ? "X" : hex;
    }

    const QByteArray image;
    LogCapture log;
    QByteArrayList journal;
    int progress = 0;
    int packets = 0;
    Flasher flasher;
    const std::size_t openBefore = tree.openFileCount();
    Flasher::Place place; ///< where the flasher was at the end of the run
};

QByteArray packets(int count)
{
    QByteArray result;
    for (int i = 0; i < count; ++i)
        result += " D0" + QByteArray::number(i, 16).toUpper() + "00 p s20";
    return result;
}

QByteArray commit(const QByteArray& address, const QByteArray& length, const QByteArray& wait)
{
    return " flash=" + address + " p ram=base p length=" + length + " p clear=0000 C p " + wait + " p";
}

QByteArray erase(const QByteArray& address)
{
    return " flash=" + address + " p length=0100 p E p s4000 p";
}

const QByteArray identify = "F004?01 s100 A F002?01 s100 A";
const QByteArray restart = " p s2000 p X p" + QByteArray(" s100 p").repeated(100) + " ok";

/// An image of 5000 bytes with configuration bits 2, for a memory of 128 KiB with pages of 64 bytes.
const QByteArray headsetImage = imageOf(5000, 0x5B, 0x2C);
const QByteArray headsetJournal = identify +
                                  " r132 p pinmux p type=02 p sector=00000000 p size=00000200024000 p p" +
                                  " patch" + packets(16) + commit("00000000", "0010", "s1000") + packets(4) +
                                  commit("00100000", "8803", "s1000") + restart;

/// An image of 10000 bytes with configuration bits 3, for a memory of 64 KiB with pages of 1 byte and sectors
/// of 4096 bytes.
const QByteArray transmitterImage = imageOf(10000, 0x0A, 0x36);
const QByteArray transmitterJournal =
    identify + " r167 p F0E1=5005 p type=01 p sector=00100000 p size=00000100030100 p p" + " patch" +
    erase("00000000") + erase("00100000") + erase("00200000") + packets(16) +
    commit("00000000", "0010", "s50") + packets(16) + commit("00100000", "0010", "s50") + packets(8) +
    commit("00200000", "1007", "s50") + restart;

} // namespace

class TestFlasher : public LeavesNothing
{
    Q_OBJECT

private Q_SLOTS:
    void theWholeSequenceFollowsTheProtocol_data();
    void theWholeSequenceFollowsTheProtocol();
    void theImageSetsGeometryRangeAndLengths_data();
    void theImageSetsGeometryRangeAndLengths();
    void aRunThatCannotStartWritesNothing_data();
    void aRunThatCannotStartWritesNothing();
    void nothingIsWrittenAfterAnAbort();
    void everyTransferThatFailsIsLogged_data();
    void everyTransferThatFailsIsLogged();
    void theLogShowsEveryStep();
};

void TestFlasher::theWholeSequenceFollowsTheProtocol_data()
{
    const Table<int, int, QByteArray> table("chip", "revision", "words");
    table.row("chip 12, revision 2", 12, 2, "C44A C44B C44F C451 C454 C457 C45E 64C7 F0E2=0A C0A7=00");
    table.row("chip 12, revision 3", 12, 3, "C42D C42E C432 C434 C437 C43A C441 12D3 F0E2=0A ");
    table.row("chip 13, revision 2", 13, 2, "C451 C452 C456 C458 C45B C45E C465 71C7 F0E1=A0 C0A7=00");
    table.row("chip 13, revision 3", 13, 3, "B53A B53B B53F B541 B544 B547 B54E 5CBB F0E1=A0 ");
}

void TestFlasher::theWholeSequenceFollowsTheProtocol()
{
    QFETCH(const int, chip);
    QFETCH(const int, revision);
    QFETCH(const QByteArray, words);
    const QByteArrayList names =
        QByteArray("type flash ram length clear size sector base pinmux patch").split(' ');
    for (const bool isHeadset : {true, false}) {
        QByteArray expected = isHeadset ? headsetJournal : transmitterJournal;
        for (int i = 0; i < names.size(); ++i)
            expected.replace(names[i], words.split(' ')[i]);
        Run run(isHeadset ? headsetImage : transmitterImage, chip, revision);
        run.hid->setError = isHeadset ? ERROR_SUCCESS : ERROR_GEN_FAILURE; // errors must not change the steps
        const QByteArrayList steps = run.operate(isHeadset ? Headset : Transmitter).split(' ');
        const QByteArrayList wanted = expected.simplified().split(' ');
        for (int i = 0; i < std::min(steps.size(), wanted.size()); ++i)
            QVERIFY2(steps[i] == wanted[i],
                     "step " + QByteArray::number(i) + ": " + steps[i] + ", not " + wanted[i]);
        QCOMPARE(steps.size(), wanted.size());
        QCOMPARE(run.tree.openFileCount(), std::size_t(0));
    }
}

void TestFlasher::theImageSetsGeometryRangeAndLengths_data()
{
    const Table<int, QByteArray, QByteArray> table("type", "image", "steps");
    table.row("no page size", Headset, imageOf(300, 0x0B, 0x0F), "C457=00000200000000,C45E=00000000");
    table.row("the headset's page size has 3 bits", Headset, imageOf(300, 0x9B, 0x10), "C457=00000200010400");
    table.row("the transmitter's page size has 4 bits", Transmitter, imageOf(300, 0x9B, 0xF5),
              "C457=00000200030004,C45E=00080000");
    table.row("largest sizes", Transmitter, imageOf(300, 0xFF, 0x0F),
              "C457=00002000000000,C45E=00002000,r109");
    table.row("less than a chunk", Headset, imageOf(300, 0x0B, 0),
              "r109,C451=0010 p C454=0000 C p s1000 p p s2000");
    table.row("a byte less than a chunk", Headset, imageOf(4095, 0x0B, 0),
              "r123,D0F00 p s20 C44B=00000000 p C44F=64C7 p C451=0010 p C454=0000 C p s1000 p p s2000");
    table.row("one chunk", Headset, imageOf(4096, 0x0B, 0),
              "r124,D0F00 p s20 C44B=00000000 p C44F=64C7 p C451=0010 p C454=0000 C p s1000 p p s2000");
    table.row("a byte more than a chunk", Headset, imageOf(4097, 0x0B, 0),
              "r129,D0000 p s20 C44B=00100000 p C44F=64C7 p C451=0100 p C454=0000 C p s1000 p p s2000");
    table.row("two chunks", Headset, imageOf(8192, 0x0B, 0), "r145,C44B=00100000 p C44F=64C7 p C451=0010");
    table.row("a byte less than a sector", Transmitter, imageOf(4095, 0x0A, 0x36),
              "r123,C44B=00000000 p C451=0100 p E p s4000 p D0000");
    table.row("one sector", Transmitter, imageOf(4096, 0x0A, 0x36),
              "r129,C44B=00000000 p C451=0100 p E p s4000 p D0000");
    table.row("a byte more than a sector", Transmitter, imageOf(4097, 0x0A, 0x36),
              "r134,C44B=00100000 p C451=0100 p E p s4000 p D0000");
    table.row("all of the memory", Headset, imageOf(65536, 0x0A, 0), "C44B=00F00000,ok");
}

void TestFlasher::theImageSetsGeometryRangeAndLengths()
{
    QFETCH(const int, type);
    QFETCH(const QByteArray, image);
    QFETCH(const QByteArray, steps);
    Run run(image, 12, 2);
    const QByteArray journal = run.operate(type);
    for (const QByteArray& step : steps.split(','))
        QVERIFY2(journal.contains(' ' + step), step + " not in " + journal.left(2000));
    QCOMPARE(run.packets, (image.size() + 255) / 256);
}

void TestFlasher::aRunThatCannotStartWritesNothing_data()
{
    const Table<QByteArray, int, int, QByteArray, QByteArray> table("image", "chip", "revision", "journal",
                                                                    "lastMessage");
    const QByteArray good = imageOf(300, 0x0B, 0x06);
    const char* const tooLarge = "!Transmitter: ERROR: File size is larger than available device memory!";
    table.row("no device", good, noDevice, 2, "error 1", "");
    table.row("aborted before the start", good, abortedBefore, 2, "error 1", "");
    table.row("empty image", {}, 12, 2, "error 2", "");
    table.row("unknown chip", good, 14, 2, identify + " error 3", "Device type = 1, chip major revision = 2");
    table.row("no revision", good, 12, 0, identify + " error 3", "Device type = 1, chip major revision = 0");
    table.row("unknown revision", good, 12, 4, identify + " error 5",
              "!Transmitter: ERROR: Unsupported chip");
    table.row("a byte too long", imageOf(65537, 0x0A, 0x06), 12, 2, identify + " error 4", tooLarge);
    table.row("no memory size", imageOf(300, 0x00, 0x06), 12, 2, identify + " error 4", tooLarge);
    table.row("no sector size", imageOf(300, 0x0B, 0x30), 12, 2, identify + " error 4",
              "!Transmitter: ERROR: File announces no sector size!");
    table.row("no sector size, unknown revision", imageOf(300, 0x0B, 0x30), 12, 4, identify + " error 5",
              "!Transmitter: ERROR: Unsupported chip");
    table.row("half a header", imageOf(1, 0x0B, 0), 12, 2, identify + " error 4",
              "!Transmitter: ERROR: File is too short to describe the device memory!");
    table.row("reports too short for data", good, shortReports, 2, identify + " error 5",
              "!Transmitter: ERROR: Device takes no data packets!");
}

void TestFlasher::aRunThatCannotStartWritesNothing()
{
    QFETCH(const QByteArray, image);
    QFETCH(const int, chip);
    QFETCH(const int, revision);
    Run run(image, chip == shortReports ? 12 : chip, revision);
    if (chip == shortReports)
        run.hid->caps.featureReportBytes = 262;
    if (chip == abortedBefore)
        run.flasher.abort();
    QTEST(run.operate(Transmitter), "journal");
    QTEST(run.log.text().split('|').last(), "lastMessage");
    QCOMPARE(run.tree.openFileCount(), std::size_t(0));
}

void TestFlasher::nothingIsWrittenAfterAnAbort()
{
    constexpr int queries = 4; // transfers of the identity queries, which an abort does not stop
    for (const int type : {Transmitter, Headset}) {
        int count = 1000;
        for (int k = 0; k <= count; ++k) {
            Run run(imageOf(300, 0x0B, 0x06), 12, 2);
            run.hid->onTransfer = [&run, k] {
                if (run.hid->transfers == k)
                    run.flasher.abort();
            };
            const QByteArray journal = run.operate(type);
            if (k == 0)
                count = run.hid->transfers;
            const bool isComplete = k == 0 || k >= count - 1; // the last commit cannot be aborted
            QVERIFY2(journal.endsWith(isComplete ? " ok" : " error 1"), journal);
            QCOMPARE(run.hid->transfers, isComplete ? count : std::max(k, queries));
            QCOMPARE(run.place.transfer, run.hid->transfers); // the run ended at the last transfer
            QVERIFY(!run.place.isFailed);
            QCOMPARE(run.tree.openFileCount(), std::size_t(0));
            QVERIFY(run.image.isDetached()); // the flasher keeps no copy
        }
    }
}

void TestFlasher::everyTransferThatFailsIsLogged_data()
{
    constexpr int never = 1000;
    const Table<int, int, QByteArray, QByteArray> table("firstFailing", "lastFailing", "logged", "outcome");
    table.row("none", never, never, "", "ok, final wait after 20");
    table.row("from the first on", 1, never, "1 identify|2 identify|3 identify|4 identify",
              "error 3, identify at 1");
    table.row("a failed request with an answer", 3, 3, "3 identify", "ok, final wait after 20");
    table.row("from the last two on", 19, never, "19 commit|20 final wait", "ok, commit at 19");
    table.row("one of the packets", 14, 14, "14 download", "ok, final wait after 20");
}

void TestFlasher::everyTransferThatFailsIsLogged()
{
    QFETCH(const int, firstFailing);
    QFETCH(const int, lastFailing);
    Run run(imageOf(300, 0x0B, 0x06), 12, 2);
    run.hid->onTransfer = [&] {
        const bool fails = run.hid->transfers >= firstFailing && run.hid->transfers <= lastFailing;
        run.hid->setError = run.hid->getError = fails ? ERROR_GEN_FAILURE : ERROR_SUCCESS;
    };
    run.operate(Transmitter);
    QByteArrayList logged;
    for (const QByteArray& line : run.log.text().split('|')) {
        if (line.startsWith("?Transmitter: Transfer "))
            logged << line.mid(23).replace(" did not get through, phase", "");
    }
    QTEST(logged.join('|'), "logged");
    QTEST(run.journal.last() + ", " + phaseName(run.place.phase) + (run.place.isFailed ? " at " : " after ") +
              QByteArray::number(run.place.transfer),
          "outcome");
}

void TestFlasher::theLogShowsEveryStep()
{
    Run run(transmitterImage, 12, 3);
    run.operate(Transmitter);
    const QByteArray chunk =
        "Downloading DATA to RAM|Resetting structure parameters|Committing RAM starting at 0x";
    const QByteArray expected =
        "VMI AV6x01 identified|Device type = 1, chip id = 12 |Device type = 1, chip major "
        "revision = 3|Firmware size is 10000|Start programming at 0x0000| device size = "
        "65536|page size = 1|sector size = 4096|D0 VMI found|Configuring the PINMUX ...|"
        "Available RAM for download is 7149 bytes|Splitting image into multiple downloads|"
        "Erasing Flash starting at 0x0000|Erasing Flash starting at 0x1000|Erasing Flash "
        "starting at 0x2000|Start programming at address 0x0000|" +
        chunk + "0000|" + chunk + "1000|" + chunk + "2000|Final wait";
    QCOMPARE(run.log.text().replace("Transmitter: ", "").replace("Transmitter", ""), expected);
}

QTEST_GUILESS_MAIN(TestFlasher)

#include "tst_flasher.moc"
