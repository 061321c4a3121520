// Archives that are damaged, hostile or no archives at all. Each is loaded in a process of its own, in which
// what loading cost is measured.

#include <array>
#include <functional>
#include <limits>
#include <vector>

#include <sys/fsuid.h>
#include <sys/resource.h>
#include <sys/stat.h>

#include <QtTest>

#include "archivebuilder.h"
#include "firmwarecontroller.h"
#include "imagebuilder.h"
#include "rawzip.h"
#include "waiting.h"

using RawZip::Deflated;
using RawZip::Stored;
using Archive = std::function<QByteArray()>; // built when its row is run
Q_DECLARE_METATYPE(Archive)

namespace {

constexpr int entryLimit = 64 * 1024 * 1024;
constexpr int notesLimit = 1024 * 1024;
// A sanitizer's shadow memory and quarantine count as the process's own.
constexpr int peakLimitKiB = isSanitized ? std::numeric_limits<int>::max() : 200 * 1024;
constexpr rlim_t cpuLimitSeconds = isSanitized ? 100 : 10;
constexpr int endsWithinMs = 120000; // where it waits for something that does not come
constexpr char childSwitch[] = "--load";

/// An image that inspection takes for the device with the product identifier @p pid.
QByteArray imageText(unsigned short pid)
{
    ImageOptions options;
    options.size = 600;
    options.productId = pid;
    return ArchiveBuilder::imageText(ImageBuilder::build(options));
}

/// Loads an archive. The outcome in one line, both PIDs, base name, release notes; "failed" after a failure.
QString load(FirmwareController& controller, const QString& path)
{
    const QSignalSpy failed(&controller, &FirmwareController::loadingFailed);
    const QSignalSpy loaded(&controller, &FirmwareController::loadedSuccessfully);
    controller.setFilePath(path);
    const QString state = QStringLiteral("%1 %2 %3")
                              .arg(controller.fileBaseName())
                              .arg(controller.pid(DeviceType::Transmitter))
                              .arg(controller.pid(DeviceType::Headset)) +
                          controller.releaseNotes();
    const bool isEmpty = state == QStringLiteral(" 0 0");
    if (failed.count() + loaded.count() != 1 || isEmpty != (failed.count() == 1))
        return QStringLiteral("wrong signals");
    return isEmpty ? QStringLiteral("failed") : state;
}

/// The largest part of this process that was ever in memory. getrusage() would count the parent's as well.
int peakKiB()
{
    QFile status(QStringLiteral("/proc/self/status"));
    if (!status.open(QIODevice::ReadOnly))
        return std::numeric_limits<int>::max();
    const QByteArray text = status.readAll();
    const int at = text.indexOf("VmHWM:");
    return text.mid(at + 6, text.indexOf("kB", at) - at - 6).trimmed().toInt();
}

/// The child: prints peak memory, processor time and the outcome of loading the archive at @p path.
int loadInChild(const QString& path)
{
    const rlimit none{0, 0};
    setrlimit(RLIMIT_FSIZE, &none); // a byte written to a file ends the process
    const rlimit time{cpuLimitSeconds, cpuLimitSeconds};
    setrlimit(RLIMIT_CPU, &time);
    constexpr uid_t nobody = 65534;
    setfsuid(nobody); // root may read everything
    FirmwareController controller;
    const QString outcome = load(controller, path);
    rusage used;
    getrusage(RUSAGE_SELF, &used);
    const auto cpuMs = (used.ru_utime.tv_sec + used.ru_stime.tv_sec) * 1000 +
                       (used.ru_utime.tv_usec + used.ru_stime.tv_usec) / 1000;
    QTextStream(stdout) << peakKiB() << ' ' << cpuMs << ' ' << outcome.toUtf8().toHex();
    return 0;
}

/// Every file and folder below @p folder, with what writing to it would change.
QStringList listing(const QString& folder)
{
    QStringList files;
    QDirIterator all(folder, QDir::AllEntries | QDir::Hidden | QDir::System | QDir::NoDotAndDotDot,
                     QDirIterator::Subdirectories);
    while (all.hasNext()) {
        const QFileInfo file(all.next());
        const bool isMarked =
            !isSanitized || !file.isDir(); // a sanitizer's own short-lived files are no news
        const QString time = file.lastModified().toString(Qt::ISODateWithMs);
        files << QStringLiteral("%1 %2 %3")
                     .arg(file.filePath())
                     .arg(file.size())
                     .arg(isMarked ? time : QString());
    }
    files.sort();
    return files;
}

RawEntry changed(RawEntry entry, const std::function<void(RawEntry&)>& change)
{
    change(entry);
    return entry;
}

} // namespace

class TestArchives : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void archivesEndInTheirSignal_data();
    void archivesEndInTheirSignal();
    void placesThatAreNoArchivesAreRefused_data();
    void placesThatAreNoArchivesAreRefused();
    void noCutAndNoFlippedBitYieldsAnotherImage();

private:
    void loadApart(const QString& place, const QString& expected);
    void write(const QByteArray& bytes);

    QTemporaryDir folder;
    QString path;
};

void TestArchives::initTestCase()
{
    QVERIFY(folder.isValid());
    QVERIFY(QFile::setPermissions(folder.path(), QFile::Permissions(0x7755))); // for the child, see there
    QVERIFY(QDir(folder.path()).mkdir(QStringLiteral("home")));
    path = folder.filePath(QStringLiteral("fw.zip"));
}

void TestArchives::write(const QByteArray& bytes)
{
    QFile::remove(path);
    QFile file(path);
    QVERIFY2(file.open(QIODevice::WriteOnly), qPrintable(file.errorString()));
    QCOMPARE(file.write(bytes), static_cast<qint64>(bytes.size()));
}

/// Loads the archive at @p place in a child, in a folder where a file that it writes is found.
void TestArchives::loadApart(const QString& place, const QString& expected)
{
    const QString home = folder.filePath(QStringLiteral("home"));
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    for (const char* variable : {"HOME", "TMPDIR", "XDG_CACHE_HOME", "XDG_CONFIG_HOME", "XDG_DATA_HOME"})
        environment.insert(QString::fromLatin1(variable), home);
    const QStringList before = listing(folder.path());
    QProcess child;
    child.setProcessEnvironment(environment);
    child.setWorkingDirectory(home);
    child.start(QCoreApplication::applicationFilePath(), {QString::fromLatin1(childSwitch), place});
    QVERIFY2(child.waitForFinished(endsWithinMs), "it does not end");
    const QByteArray errors = child.readAllStandardError().right(3000);
    QVERIFY2(child.exitStatus() == QProcess::NormalExit, "it was ended, by a limit or a fault\n" + errors);
    QVERIFY2(child.exitCode() == 0, errors.constData());
    QCOMPARE(listing(folder.path()), before);
    const QByteArrayList told = child.readAllStandardOutput().split(' ');
    QCOMPARE(told.size(), 3);
    QCOMPARE(QString::fromUtf8(QByteArray::fromHex(told.at(2))), expected);
    QVERIFY2(told.at(0).toInt() > 0, told.at(0).constData());
    QVERIFY2(told.at(0).toInt() < peakLimitKiB, told.at(0).constData());
    qInfo("%s KiB, %s ms", told.at(0).constData(), told.at(1).constData());
}

void TestArchives::archivesEndInTheirSignal_data()
{
    QTest::addColumn<Archive>("archive");
    QTest::addColumn<QString>("outcome");
    const QString failed = QStringLiteral("failed");
    const QString headsetOnly = QStringLiteral("fw 0 6");
    const auto row = [](const char* name, const QString& outcome, const Archive& archive) {
        QTest::newRow(name) << archive << outcome;
    };
    const RawEntry headset = RawZip::entry("h.ef", imageText(6), Deflated);
    const QByteArray transmitter = imageText(4);

    // A transmitter's image that is not to be used, beside a headset's that is.
    const auto damaged = [=](const char* name, const std::function<void(RawEntry&)>& change) {
        row(name, headsetOnly, [=] {
            RawEntry packed = RawZip::entry("p.ff", transmitter, Deflated);
            RawEntry stored = RawZip::entry("s.ff", transmitter, Stored);
            change(packed);
            change(stored);
            return RawZip::archive({packed, headset, stored});
        });
    };
    damaged("checksum", [](RawEntry& e) { e.checksum ^= 1; });
    damaged("encrypted", [](RawEntry& e) { e.flags = 1; });
    damaged("unknown method", [](RawEntry& e) { e.method = 99; });
    damaged("packed size past the end", [](RawEntry& e) { e.packedBytes = 0x100000; });
    damaged("packed size of 2 GiB", [](RawEntry& e) { e.packedBytes = 0x80000000; });
    damaged("packed size of 0", [](RawEntry& e) { e.packedBytes = 0; });
    damaged("shorter than declared", [](RawEntry& e) { e.bytes += 1; });
    damaged("longer than declared", [](RawEntry& e) { e.bytes -= 1; });
    damaged("declared 2 GiB", [](RawEntry& e) { e.bytes = 0x80000000; });
    damaged("declared 2 GiB in ZIP64", [](RawEntry& e) { e = RawZip::inZip64(e, 0x80000000); });
    damaged("declared 16 EiB in ZIP64", [](RawEntry& e) { e = RawZip::inZip64(e, ~quint64{0}); });
    damaged("declared in ZIP64 that is not there", [](RawEntry& e) { e.bytes = 0xFFFFFFFF; });
    const auto bzip2 = [](const QByteArray& packed) {
        return [packed](RawEntry& e) {
            e.method = RawZip::Bzip2;
            e.packed = packed;
            e.packedBytes = static_cast<std::uint32_t>(packed.size());
        };
    };
    const QByteArray bzip2OfNew = QByteArray::fromHex("425A683931415926535979BF4855000000958000010001"
                                                      "020000802000219A68334D133C5DC914E14241E6FD2154");
    damaged("bzip2 that ends early", bzip2(bzip2OfNew.chopped(1)));
    damaged("bzip2 of 1 byte", bzip2("B"));
    damaged("bzip2 of 0 bytes", bzip2(""));
    damaged("nothing in it", [](RawEntry& e) { e = RawZip::entry(e.name, "", RawZip::Method(e.method)); });
    damaged("name of more than 256 bytes", [](RawEntry& e) { e.name.prepend(QByteArray(253, 'n')); });

    const auto entries = [=](const char* name, const QString& outcome, const std::vector<RawEntry>& all) {
        row(name, outcome, [=] { return RawZip::archive(all); });
    };
    const auto notes = [=](const char* name, const QByteArray& bytes, const QString& text) {
        entries(name, headsetOnly + text, {headset, RawZip::entry("n.txt", bytes, Deflated)});
    };
    entries("ZIP64", headsetOnly, {RawZip::inZip64(headset, headset.bytes)});
    entries("extra field past its end", headsetOnly,
            {changed(headset, [](RawEntry& e) { e.extra = QByteArray("\1\0\xFF\xFF", 4); })});
    entries("absolute and upward names", QStringLiteral("fw 4 6"),
            {RawZip::entry("/etc/t.ff", transmitter), RawZip::entry("../../h.ef", imageText(6))});
    entries("names alike but for case stand for the first", failed,
            {RawZip::entry("H.ef", imageText(6)), RawZip::entry("h.ef", "word")});
    entries("names alike but for case, the first of no use", failed,
            {RawZip::entry("H.EF", "word"), RawZip::entry("h.ef", imageText(6))});
    entries("names that are no text", headsetOnly, {RawZip::entry("\xFF\xC0\n.ff", ""), headset});
    entries("no names", headsetOnly, {RawZip::entry("", transmitter), headset});
    entries("folders only", failed, {RawZip::entry("a/", ""), RawZip::entry("t.ff/", transmitter)});
    entries("no entries", failed, {});
    const RawEntry plainNotes = RawZip::entry("n.txt", "New.");
    entries("notes in bzip2", headsetOnly, {headset, changed(plainNotes, bzip2(bzip2OfNew))});
    entries("notes in bzip2 that end early", headsetOnly,
            {headset, changed(plainNotes, bzip2(bzip2OfNew.chopped(1)))});
    notes("notes in the system's encoding", "\xC3\xA9", QString::fromLocal8Bit("\xC3\xA9"));
    notes("notes in UTF-8, marked", "\xEF\xBB\xBF\xC3\xA9", QStringLiteral("\u00E9"));
    notes("notes in UTF-16, little end first", QByteArray("\xFF\xFE\xE9\0", 4), QStringLiteral("\u00E9"));
    notes("notes in UTF-16, big end first", QByteArray("\xFE\xFF\0\xE9", 4), QStringLiteral("\u00E9"));
    notes("notes of half a character", QByteArray("\xFF\xFE\xE9", 3), QString());
    notes("notes at the limit", QByteArray(notesLimit, 'n'), QString(notesLimit, QLatin1Char('n')));
    notes("notes above the limit", QByteArray(notesLimit + 1, 'n'), QString());

    const auto lines = [=](int size) {
        return RawZip::entry("l.ff", transmitter.leftJustified(size, '\n'), Deflated);
    };
    row("image at the limit", QStringLiteral("fw 4 6"), [=] {
        return RawZip::archive({lines(entryLimit), headset});
    });
    row("image above the limit", headsetOnly, [=] {
        return RawZip::archive({lines(entryLimit + 1), headset});
    });
    row("bomb of digits, stored", headsetOnly, [=] {
        return RawZip::archive({RawZip::entry("d.ff", QByteArray("1\n").repeated(entryLimit / 2)), headset});
    });
    row("bomb: 1000 entries share 64 MiB", headsetOnly, [=] {
        RawEntry bomb = RawZip::entry("0000.ff", QByteArray(entryLimit, '\n'), Deflated);
        std::vector<RawEntry> all{headset, bomb};
        bomb.sharesBytes = true;
        for (int i = 1; i < 1000; ++i)
            all.push_back(changed(
                bomb, [i](RawEntry& e) { e.name = QByteArray::number(i).rightJustified(4, '0') + ".ff"; }));
        return RawZip::archive(all);
    });
    row("65 MiB of empty blocks before an image", headsetOnly, [=] {
        RawEntry blocks = RawZip::entry("e.ff", transmitter, Deflated);
        blocks.packed.prepend(QByteArray("\0\0\0\xFF\xFF", 5).repeated(13 * 1024 * 1024));
        blocks.packedBytes = static_cast<std::uint32_t>(blocks.packed.size());
        return RawZip::archive({blocks, headset});
    });
    const auto many = [=](int count, const QByteArray& suffix) {
        std::vector<RawEntry> all{RawZip::entry("000000" + suffix, "")};
        all.reserve(static_cast<std::size_t>(count) + 1);
        for (int i = 1; i < count; ++i) {
            all.push_back(all.front());
            all.back().name = QByteArray::number(i).rightJustified(6, '0') + suffix;
            all.back().sharesBytes = true;
        }
        all.push_back(headset);
        return RawZip::archive(all);
    };
    row("100,000 entries", headsetOnly, [=] { return many(100000, ""); });
    row("100,000 images", headsetOnly, [=] { return many(100000, ".ff"); });
    row("directory of more than 16 MiB", failed, [=] { return many(400000, ""); });
    row("directory that tells 2^63 entries", headsetOnly,
        [=] { return RawZip::archive({headset}, std::numeric_limits<qint64>::max()); });
    row("directory that tells too few entries", headsetOnly, [=] {
        return RawZip::archive({headset, RawZip::entry("t.ff", transmitter)}, 1);
    });
    row("no archive", failed, [] { return QByteArray(100000, 'P'); });
    row("end record only", failed, [] { return QByteArray("PK\5\6"); });
    row("nothing", failed, [] { return QByteArray(); });
}

void TestArchives::archivesEndInTheirSignal()
{
    QFETCH(Archive, archive);
    QFETCH(QString, outcome);
    write(archive());
    loadApart(path, outcome);
}

void TestArchives::placesThatAreNoArchivesAreRefused_data()
{
    QTest::addColumn<QString>("place");
    const auto make = [this](const char* name) { return folder.filePath(QString::fromLatin1(name)); };
    QTest::newRow("no permission") << path;
    QTest::newRow("folder") << folder.path();
    QTest::newRow("FIFO") << make("fifo");
    QTest::newRow("link to itself") << make("link");
    QTest::newRow("device that never ends") << QStringLiteral("/dev/zero");
    QTest::newRow("terminal") << QStringLiteral("/dev/tty");
    QTest::newRow("no such file") << make("missing.zip");
    QTest::newRow("below a file") << path + QStringLiteral("/fw.zip");
    QTest::newRow("no path") << QString();
    QTest::newRow("path of 100,000 characters") << QString(100000, QLatin1Char('p'));
}

void TestArchives::placesThatAreNoArchivesAreRefused()
{
    QFETCH(QString, place);
    write(RawZip::archive({RawZip::entry("h.ef", imageText(6))}));
    mkfifo(QFile::encodeName(folder.filePath(QStringLiteral("fifo"))).constData(), 0666);
    QFile::link(QStringLiteral("link"), folder.filePath(QStringLiteral("link")));
    if (place == path)
        QVERIFY(QFile::setPermissions(path, QFile::Permissions()));
    loadApart(place, QStringLiteral("failed"));
}

void TestArchives::noCutAndNoFlippedBitYieldsAnotherImage()
{
    const std::array<QByteArray, 2> texts{imageText(4), imageText(6)};
    const QByteArray archive =
        RawZip::archive({RawZip::entry("t.ff", texts[0], Deflated), RawZip::entry("h.ef", texts[1])});
    const auto images = [this] {
        FirmwareController controller;
        load(controller, path);
        return std::array<QByteArray, 2>{controller.firmware(DeviceType::Transmitter),
                                         controller.firmware(DeviceType::Headset)};
    };
    write(archive);
    const auto whole = images();
    QCOMPARE(whole[0].size() + whole[1].size(), 1200);
    int lost = 0;
    for (int i = 0; i < archive.size(); ++i) {
        QByteArray flipped = archive;
        flipped[i] = static_cast<char>(flipped.at(i) ^ 1 << i % 8);
        for (const QByteArray& damaged : {archive.left(i), flipped}) {
            write(damaged);
            const auto read = images();
            for (std::size_t kind = 0; kind < read.size(); ++kind) {
                QVERIFY2(read[kind].isEmpty() || read[kind] == whole[kind],
                         QByteArray::number(i).constData());
                lost += read[kind].isEmpty() ? 1 : 0;
            }
        }
    }
    QVERIFY(lost > 2 * archive.size()); // both by a cut, one by most bits
}

int main(int argc, char** argv)
{
    const QCoreApplication application(argc, argv);
    QLoggingCategory::setFilterRules(QStringLiteral("default.debug=false"));
    if (argc == 3 && qstrcmp(argv[1], childSwitch) == 0)
        return loadInChild(QFile::decodeName(argv[2]));
    TestArchives tests;
    return QTest::qExec(&tests, argc, argv);
}

#include "tst_archives.moc"
