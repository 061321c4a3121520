// Loads damaged and hostile archives and files that are no archives. A child process loads each and measures
// the cost.

#include <array>
#include <limits>

#include <sys/fsuid.h>
#include <sys/resource.h>
#include <sys/stat.h>

#include <QtTest>

#include "archiverows.h"
#include "firmwarecontroller.h"
#include "smallimage.h"
#include "waiting.h"

namespace {

// A sanitizer adds to the memory and the time of the process.
constexpr int peakLimitKiB = isSanitized ? std::numeric_limits<int>::max() : 200 * 1024;
constexpr rlim_t cpuLimitSeconds = isSanitized ? 100 : 4;
constexpr int endsWithinMs = 120000; // a child that runs longer is blocked for ever
constexpr char childSwitch[] = "--load";

QString logged; ///< complaints about the archive, each preceded by '|'

void keepComplaint(QtMsgType, const QMessageLogContext&, const QString& message)
{
    if (message.startsWith(QStringLiteral("The firmware archive")))
        logged += QLatin1Char('|') + message;
}

/// Loads the archive at @p path.
/// @return its base name, both product identifiers and the release notes, or "failed"; then the complaints.
QString load(FirmwareController& controller, const QString& path)
{
    logged.clear();
    const QtMessageHandler previous = qInstallMessageHandler(keepComplaint);
    const auto restoring = qScopeGuard([=] { qInstallMessageHandler(previous); });
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
    return (isEmpty ? QStringLiteral("failed") : state) + logged;
}

/// @return this process's peak memory. getrusage() would include the parent's peak.
int peakKiB()
{
    QFile status(QStringLiteral("/proc/self/status"));
    if (!status.open(QIODevice::ReadOnly))
        return std::numeric_limits<int>::max();
    const QByteArray text = status.readAll();
    const int at = text.indexOf("VmHWM:");
    return text.mid(at + 6, text.indexOf("kB", at) - at - 6).trimmed().toInt();
}

/// Runs in the child: loads the archive at @p path and prints peak memory in KiB, processor time in ms, and
/// the outcome.
int loadInChild(const QString& path)
{
    const rlimit none{0, 0};
    setrlimit(RLIMIT_FSIZE, &none); // writing a byte to a file ends the process
    const rlimit time{cpuLimitSeconds, cpuLimitSeconds};
    setrlimit(RLIMIT_CPU, &time);
    constexpr uid_t nobody = 65534;
    setfsuid(nobody); // root could read every file
    FirmwareController controller;
    const QString outcome = load(controller, path);
    rusage used;
    getrusage(RUSAGE_SELF, &used);
    const auto cpuMs = (used.ru_utime.tv_sec + used.ru_stime.tv_sec) * 1000 +
                       (used.ru_utime.tv_usec + used.ru_stime.tv_usec) / 1000;
    QTextStream(stdout) << peakKiB() << ' ' << cpuMs << ' ' << outcome.toUtf8().toHex();
    return 0;
}

/// @return every file and folder below @p folder with its size and time, so that a write changes the list.
QStringList listing(const QString& folder)
{
    QStringList files;
    QDirIterator all(folder, QDir::AllEntries | QDir::Hidden | QDir::System | QDir::NoDotAndDotDot,
                     QDirIterator::Subdirectories);
    while (all.hasNext()) {
        const QFileInfo file(all.next());
        const bool isMarked =
            !isSanitized || !file.isDir(); // a sanitizer creates and removes files of its own
        const QString time = file.lastModified().toString(Qt::ISODateWithMs);
        files << QStringLiteral("%1 %2 %3")
                     .arg(file.filePath())
                     .arg(file.size())
                     .arg(isMarked ? time : QString());
    }
    files.sort();
    return files;
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
    void noCutAndNoFlippedBitYieldsAnotherImage();

private:
    void loadInOwnProcess(const QString& archive, const QString& expected);
    void write(const QByteArray& bytes);

    QTemporaryDir folder;
    QString path;
};

void TestArchives::initTestCase()
{
    QVERIFY(folder.isValid());
    QVERIFY(QFile::setPermissions(folder.path(), QFile::Permissions(0x7755))); // the child changes its user
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

/// Loads the file @p archive in a child process. Fails if the outcome is not @p expected, or if the child
/// writes a file into one of its folders.
void TestArchives::loadInOwnProcess(const QString& archive, const QString& expected)
{
    const QString home = folder.filePath(QStringLiteral("home"));
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    for (const char* variable : {"HOME", "TMPDIR", "XDG_CACHE_HOME", "XDG_CONFIG_HOME", "XDG_DATA_HOME"})
        environment.insert(QString::fromLatin1(variable), home);
    const QStringList before = listing(folder.path());
    QProcess child;
    child.setProcessEnvironment(environment);
    child.setWorkingDirectory(home);
    child.start(QCoreApplication::applicationFilePath(), {QString::fromLatin1(childSwitch), archive});
    QVERIFY2(child.waitForFinished(endsWithinMs), "the child does not end");
    const QByteArray errors = child.readAllStandardError().right(3000);
    QVERIFY2(child.exitStatus() == QProcess::NormalExit, "a limit or a fault ended the child\n" + errors);
    QVERIFY2(child.exitCode() == 0, errors.constData());
    QCOMPARE(listing(folder.path()), before);
    const QByteArrayList output = child.readAllStandardOutput().split(' ');
    QCOMPARE(output.size(), 3);
    QCOMPARE(QString::fromUtf8(QByteArray::fromHex(output.at(2))), expected);
    QVERIFY2(output.at(0).toInt() > 0, output.at(0).constData());
    QVERIFY2(output.at(0).toInt() < peakLimitKiB, output.at(0).constData());
    qInfo("%s KiB, %s ms", output.at(0).constData(), output.at(1).constData());
}

void TestArchives::everyArchiveEmitsItsSignal_data()
{
    QTest::addColumn<Archive>("archive");
    QTest::addColumn<QString>("outcome");
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
    QTest::addColumn<QString>("file");
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

void TestArchives::unreadablePathsAreRefused()
{
    QFETCH(QString, file);
    write(RawZip::archive({RawZip::entry("h.ef", imageText(6))}));
    mkfifo(QFile::encodeName(folder.filePath(QStringLiteral("fifo"))).constData(), 0666);
    QFile::link(QStringLiteral("link"), folder.filePath(QStringLiteral("link")));
    if (file == path)
        QVERIFY(QFile::setPermissions(path, QFile::Permissions()));
    loadInOwnProcess(file, QStringLiteral("failed"));
}

void TestArchives::noCutAndNoFlippedBitYieldsAnotherImage()
{
    const std::array<QByteArray, 2> texts{imageText(4), imageText(6)};
    const QByteArray archive =
        RawZip::archive({RawZip::entry("t.ff", texts[0], RawZip::Deflated), RawZip::entry("h.ef", texts[1])});
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
    QVERIFY(lost > 2 * archive.size()); // a cut loses both images, a flipped bit mostly one
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
