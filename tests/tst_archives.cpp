// Loads archives of all kinds, also damaged and hostile ones, and files that are not archives. Most of the
// loads run in a child process, which measures the memory, the time and the reads that a load takes.

#include <limits>

#include <sys/fsuid.h>
#include <sys/resource.h>
#include <sys/stat.h>

#include <QtTest>

#include "archiverows.h"
#include "firmwarecontroller.h"
#include "logcapture.h"
#include "smallimage.h"
#include "table.h"
#include "waiting.h"

namespace {

// With a sanitizer, a process takes more memory and more time.
constexpr int peakLimitKiB = isSanitized ? std::numeric_limits<int>::max() : 200 * 1024;
constexpr rlim_t cpuLimitSeconds = isSanitized ? 100 : 4;
constexpr int endsWithinMs = 120000; // a child that still runs after this time is blocked
constexpr char childSwitch[] = "--load";

/// Loads the archive at @p path.
/// @return the archive's base name, both product identifiers and the release notes; "failed" if the archive
/// does not load. The log's complaints about the archive follow.
QString load(FirmwareController& controller, const QString& path)
{
    const LogCapture log;
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
    const QStringList logged = QString::fromLatin1(log.text()).split(QLatin1Char('|'));
    return (isEmpty ? QStringLiteral("failed") : state) +
           logged.filter(QStringLiteral("The firmware archive")).join(QLatin1Char('|'));
}

/// @return the number that follows @p key in @p file, a file of /proc.
qint64 numberIn(QFile& file, const char* key)
{
    file.seek(0);
    const QByteArray text = file.readAll();
    return text.mid(text.indexOf(key) + int(qstrlen(key))).simplified().split(' ').first().toLongLong();
}

/// Runs in the child process: loads the archive at @p path and prints peak memory in KiB, processor time in
/// ms, the number of bytes that the load has read, and the outcome.
int loadInChild(const QString& path)
{
    QFile status(QStringLiteral("/proc/self/status")); // getrusage() would include the parent's peak
    QFile io(QStringLiteral("/proc/self/io"));
    for (QFile* const file : {&status, &io}) {
        if (!file->open(QIODevice::ReadOnly | QIODevice::Unbuffered))
            return 1;
    }
    const rlimit none{0, 0};
    setrlimit(RLIMIT_FSIZE, &none); // from now on, writing a byte to a file ends the process
    const rlimit time{cpuLimitSeconds, cpuLimitSeconds};
    setrlimit(RLIMIT_CPU, &time);
    constexpr uid_t nobody = 65534;
    setfsuid(nobody); // because root could read every file
    FirmwareController controller;
    const qint64 readBefore = numberIn(io, "rchar:");
    const QString outcome = load(controller, path);
    const qint64 read = numberIn(io, "rchar:") - readBefore;
    rusage used;
    getrusage(RUSAGE_SELF, &used);
    const auto cpuMs = (used.ru_utime.tv_sec + used.ru_stime.tv_sec) * 1000 +
                       (used.ru_utime.tv_usec + used.ru_stime.tv_usec) / 1000;
    QTextStream(stdout) << numberIn(status, "VmHWM:") << ' ' << cpuMs << ' ' << read << ' '
                        << outcome.toUtf8().toHex();
    return 0;
}

} // namespace

class TestArchives : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void everyArchiveEmitsItsSignal_data();
    void everyArchiveEmitsItsSignal();
    void unreadablePathsAreRefused_data();
    void unreadablePathsAreRefused();
    void everyLoadReplacesThePreviousArchive();
    void everyStepIsLogged();

private:
    void loadInOwnProcess(const QString& archive, const QString& expected);
    void write(const QByteArray& bytes);

    QTemporaryDir folder;
    QString path;
};

void TestArchives::initTestCase()
{
    QVERIFY(folder.isValid());
    QVERIFY(QFile::setPermissions(folder.path(), QFile::Permissions(0x7755))); // the child is another user
    QVERIFY(QDir(folder.path()).mkdir(QStringLiteral("home")));
    path = folder.filePath(QStringLiteral("fw.1.zip"));
}

void TestArchives::write(const QByteArray& bytes)
{
    QFile::remove(path);
    QFile file(path);
    QVERIFY2(file.open(QIODevice::WriteOnly), qPrintable(file.errorString()));
    QCOMPARE(file.write(bytes), static_cast<qint64>(bytes.size()));
}

/// Loads the file @p archive in a child process. Fails if the outcome is not @p expected, or if the child
/// leaves a file in its home, temporary or working folder.
void TestArchives::loadInOwnProcess(const QString& archive, const QString& expected)
{
    const QString home = folder.filePath(QStringLiteral("home"));
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    for (const char* variable : {"HOME", "TMPDIR", "XDG_CACHE_HOME", "XDG_CONFIG_HOME", "XDG_DATA_HOME"})
        environment.insert(QString::fromLatin1(variable), home);
    QProcess child;
    child.setProcessEnvironment(environment);
    child.setWorkingDirectory(home);
    child.start(QCoreApplication::applicationFilePath(), {QString::fromLatin1(childSwitch), archive});
    QVERIFY2(child.waitForFinished(endsWithinMs), "the child does not end");
    const QByteArray errors = child.readAllStandardError().right(3000);
    QVERIFY2(child.exitStatus() == QProcess::NormalExit, "a limit or a fault ended the child\n" + errors);
    QVERIFY2(child.exitCode() == 0, "the child failed\n" + errors);
    constexpr auto all = QDir::AllEntries | QDir::Hidden | QDir::System | QDir::NoDotAndDotDot;
    QVERIFY(QDir(home).isEmpty(all));
    const QByteArrayList output = child.readAllStandardOutput().split(' ');
    QCOMPARE(output.size(), 4);
    QCOMPARE(QString::fromUtf8(QByteArray::fromHex(output.at(3))), expected);
    const int peakKiB = output.at(0).toInt();
    QVERIFY2(peakKiB > 0, "no peak memory was measured: " + output.at(0));
    QVERIFY2(peakKiB < peakLimitKiB,
             "peak memory " + output.at(0) + " KiB, limit " + QByteArray::number(peakLimitKiB) + " KiB");
    // QuaZip reads the directory again for each entry. In a small archive, most of the read bytes come
    // from the directory, so their number is checked only for a large archive.
    const qint64 size = QFileInfo(archive).size();
    const qint64 read = output.at(2).toLongLong();
    QVERIFY2(size < ArchiveRows::packedLimit || read < size + size / 2,
             "read " + output.at(2) + " bytes of an archive of " + QByteArray::number(size) +
                 " bytes; the limit is one and a half times its size");
    qInfo("peak %s KiB, processor %s ms", output.at(0).constData(), output.at(1).constData());
}

void TestArchives::everyArchiveEmitsItsSignal_data()
{
    const Table<Archive, QString> table("archive", "outcome");
    ArchiveRows::addReleases();
    ArchiveRows::addDamagedEntries();
    ArchiveRows::addUnusualEntries();
    ArchiveRows::addReleaseNotes();
    ArchiveRows::addLargeImages();
    ArchiveRows::addDirectories();
}

void TestArchives::everyArchiveEmitsItsSignal()
{
    QFETCH(Archive, archive);
    QFETCH(QString, outcome);
    write(archive());
    loadInOwnProcess(path, outcome);
}

void TestArchives::unreadablePathsAreRefused_data()
{
    const Table<QString> table("file");
    const auto make = [this](const char* name) { return folder.filePath(QString::fromLatin1(name)); };
    table.row("no permission", path);
    table.row("folder", folder.path());
    table.row("FIFO", make("fifo"));
    table.row("link to itself", make("link"));
    table.row("device that never ends", QStringLiteral("/dev/zero"));
    table.row("terminal", QStringLiteral("/dev/tty"));
    table.row("no such file", make("missing.zip"));
    table.row("below a file", path + QStringLiteral("/fw.zip"));
    table.row("no path", QString());
    table.row("path of 100,000 characters", QString(100000, QLatin1Char('p')));
}

void TestArchives::unreadablePathsAreRefused()
{
    QFETCH(QString, file);
    write(RawZip::archive({RawZip::entry("h.ef", imageText(6))}));
    mkfifo(QFile::encodeName(folder.filePath(QStringLiteral("fifo"))).constData(), 0666);
    QFile::link(QStringLiteral("link"), folder.filePath(QStringLiteral("link")));
    if (file == path)
        QVERIFY(QFile::setPermissions(path, QFile::Permissions()));
    loadInOwnProcess(file, ArchiveRows::failed);
}

void TestArchives::everyLoadReplacesThePreviousArchive()
{
    FirmwareController controller;
    write(RawZip::archive({RawZip::entry("t.ff", imageText(4)), RawZip::entry("n.txt", "Old.")}));
    QCOMPARE(load(controller, path), ArchiveRows::loaded(4, 0) + QStringLiteral("Old."));
    QCOMPARE(controller.firmware(DeviceType::Transmitter).size(), 600);
    QCOMPARE(controller.firmware(DeviceType::Transmitter).capacity(), 600);
    QCOMPARE(controller.deviceTypeName(), QStringLiteral("VYNT1"));
    write(RawZip::archive({RawZip::entry("h.ef", imageText(6))}));
    QCOMPARE(load(controller, path), ArchiveRows::headsetOnly());
    QCOMPARE(controller.version(DeviceType::Headset), QStringLiteral("1.2.3"));
    QCOMPARE(controller.deviceTypeName(), QString());
    QVERIFY(controller.firmware(DeviceType::Transmitter).isEmpty());
    QVERIFY(controller.version(DeviceType::Transmitter).isNull());
    QCOMPARE(load(controller, path + path), ArchiveRows::failed);
    QVERIFY(controller.firmware(DeviceType::Headset).isEmpty());
    QVERIFY(controller.version(DeviceType::Headset).isNull());
}

void TestArchives::everyStepIsLogged()
{
    using namespace ImageBuilder;
    const QByteArray image = imageTextOf(
        {versionEntry("7,"), usbDescriptorEntry(0x8D, 0xBEEF, 3), usbDescriptorEntry(0x35, 0x7A31, 3)});
    const LogCapture log;
    FirmwareController controller;
    write(RawZip::archive({RawZip::entry("t\n.ef", image), RawZip::entry("x.ff", "word"),
                           RawZip::entry("y.ff", imageTextOf({fileEntry(1, "")}))}));
    controller.setFilePath(path);
    // If an archive has two files of release notes, no image is read. After a second image for a transmitter,
    // no more images are read.
    write(
        RawZip::archive({RawZip::entry("x.ff", ""), RawZip::entry("a.txt", ""), RawZip::entry("b.txt", "")}));
    controller.setFilePath(path);
    const QByteArray bare = imageTextOf({versionEntry("7,"), usbDescriptorEntry(0x0C, 0x7A31, 4)});
    write(RawZip::archive(
        {RawZip::entry("1.ff", bare), RawZip::entry("2.ff", bare), RawZip::entry("3.ff", bare)}));
    controller.setFilePath(path);
    const QByteArray loading = "Loading firmware:  \"" + path.toLatin1() + "\"";
    const QByteArray read = "File located at address: 0x0010|Bytes to read: 0x0006|"
                            "Detecting firmware device PID|";
    const QByteArray found = "Searching PID in file: 0x000C|PID found: 0x0004 in file: 0x000C";
    QCOMPARE(log.text(), loading + "|Processing  \"x.ff\"|Processing  \"y.ff\"|Processing  \"t\\n.ef\"|" +
                             read +
                             "Searching PID in file: 0x000D|Unknown VID found: 0xBEEF, in file: 0x001A|"
                             "Searching PID in file: 0x0035|PID found: 0x0003 in file: 0x0035|"
                             "Firmware successfully loaded:  \"" +
                             path.toLatin1() + "\"|" + loading + '|' + loading + "|Processing  \"1.ff\"|" +
                             read + found + "|Processing  \"2.ff\"|" + read + found);
}

int main(int argc, char** argv)
{
    const QCoreApplication application(argc, argv);
    if (argc == 3 && qstrcmp(argv[1], childSwitch) == 0)
        return loadInChild(QFile::decodeName(argv[2]));
    TestArchives tests;
    return QTest::qExec(&tests, argc, argv);
}

#include "tst_archives.moc"
