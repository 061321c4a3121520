// The start of the program: its log, its language, and the folder in which it looks for an archive.

#include <csignal>
#include <thread>

#include <dirent.h>
#include <sys/resource.h>
#include <unistd.h>

#include <QApplication>
#include <QDirIterator>
#include <QMainWindow>
#include <QScopeGuard>

#include "archivebuilder.h"
#include "imagebuilder.h"
#include "leavesnothing.h"
#include "literals.h"
#include "logfile.h"
#include "simulatedmachine.h"
#include "startup.h"
#include "waiting.h"

int updaterMain(int argc, char* argv[]); // the program's main()

using Processes = std::vector<ProcessEntry>;
Q_DECLARE_METATYPE(Processes)

namespace {

constexpr char runProgram[] = "--run-program";

QByteArray contentsOf(const QString& path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

bool makeFile(const QString& path, const QByteArray& contents = QByteArray())
{
    QFile file(path);
    return file.open(QIODevice::WriteOnly) && file.write(contents) == contents.size();
}

/// The contents of all regular files below @p folder.
QMap<QString, QByteArray> filesIn(const QString& folder)
{
    QMap<QString, QByteArray> files;
    QDirIterator all(folder, QDir::Files | QDir::Hidden | QDir::NoSymLinks, QDirIterator::Subdirectories);
    while (all.hasNext()) {
        const QString path = all.next();
        files[path] = contentsOf(path);
    }
    return files;
}

bool isProgram = false; ///< this process is the program, started by the test

/// In the program, prints a text of the window, one of the code and one of Qt itself once the window is open.
/// Then closes the window and logs its destruction.
void printTextsAndClose()
{
    if (!isProgram)
        return;
    QTimer::singleShot(0, QCoreApplication::instance(), [] {
        for (QWidget* const window : QApplication::topLevelWidgets()) {
            if (!qobject_cast<QMainWindow*>(window))
                continue;
            const QStringList texts{window->windowTitle(),
                                    QCoreApplication::translate("MainWindow", "Update"),
                                    QCoreApplication::translate("QPlatformTheme", "Cancel")};
            std::puts(texts.join(QLatin1Char('|')).toUtf8().constData());
            std::fflush(stdout);
            QObject::connect(window, &QObject::destroyed, [] { qDebug("the window is gone"); });
            window->close();
        }
    });
}

Q_COREAPP_STARTUP_FUNCTION(printTextsAndClose)

/// The program has process number 7.
class ScriptedProcesses : public ProcessTable
{
public:
    explicit ScriptedProcesses(Processes listed)
        : entries(std::move(listed))
    {
    }

    DWORD currentId() override { return 7; }
    Processes snapshot() override { return entries; }
    bool exists(DWORD id) override { return id == 5 || id == 6; }
    std::wstring imagePath(DWORD id) override { return id == 5 ? L"/opt/package/setup" : L""; }
    bool isWow64() override { return false; }

private:
    const Processes entries;
};

} // namespace

class TestStartup : public LeavesNothing
{
    Q_OBJECT

private Q_SLOTS:
    void init();
    void everyRunHasItsOwnLog();
    void theLogIsANewFileInAFolderOfTheUser_data();
    void theLogIsANewFileInAFolderOfTheUser();
    void theNewestTwentyLogsStay();
    void everyLineIsWholeWhicheverThreadWritesIt();
    void aDiskThatIsFullForAWhileLosesMessagesAndNothingElse();
    void theProgramSpeaksTheSystemsLanguage_data();
    void theProgramSpeaksTheSystemsLanguage();
    void theSwitchCountsAsAWholeArgument();
    void theFirstReadableArchiveIsTaken_data();
    void theFirstReadableArchiveIsTaken();
    void theParentsFolderIsFoundOrTheWorkingDirectoryServes_data();
    void theParentsFolderIsFoundOrTheWorkingDirectoryServes();
    void theProgramLoadsTheArchiveOfThePackageThatStartsIt_data();
    void theProgramLoadsTheArchiveOfThePackageThatStartsIt();

private:
    QString logFolder() const { return folder->filePath("ZEFO_VYNT_Firmware_Update_Logs"_s); }

    std::unique_ptr<QTemporaryDir> folder; ///< the temporary directory
    const QDateTime start{QDate(2024, 3, 5), QTime(7, 9, 59)};
};

void TestStartup::init()
{
    LeavesNothing::init();
    qunsetenv("TMPDIR");
    folder = std::make_unique<QTemporaryDir>();
    qputenv("TMPDIR", QFile::encodeName(folder->path()));
    qputenv("HOME", "/home/anna");
}

void TestStartup::everyRunHasItsOwnLog()
{
    const auto expected = [](const QByteArray& run) {
        return run + " \"C:/a b\"\r\n" + run + ": 0x000A\r\ntwo\r\nlines\r\n";
    };
    for (const char* const run : {"first run", "second run", "third run"}) {
        const LogFile log(start);
        qDebug() << run << "C:/a b"_s;
        qCritical("%s: 0x%.4X", run, 10u);
        qWarning("two\nlines");
    }
    const QString path = logFolder() + "/20240305-0709"_s;
    QCOMPARE(contentsOf(path + ".txt"_s), expected("first run"));
    QCOMPARE(contentsOf(path + "-2.txt"_s), expected("second run"));
    QCOMPARE(contentsOf(path + "-3.txt"_s), expected("third run"));
    QTest::ignoreMessage(QtDebugMsg, "after the log's end"); // the previous handler is back
    qDebug("after the log's end");
}

void TestStartup::theLogIsANewFileInAFolderOfTheUser_data()
{
    QTest::addColumn<QString>("preparation"); // shell commands; $L is the folder, $N the log without suffix
    QTest::addColumn<QString>("log");
    const auto row = [](const char* name, const char* preparation, const char* log) {
        QTest::newRow(name) << text(preparation) << text(log);
    };
    row("nothing is there", "", "/20240305-0709.txt");
    row("folder that others can write to", "mkdir $L; chmod 2777 $L", "/20240305-0709.txt");
    row("link to a file", "mkdir $L; echo kept >victim; ln -s ../victim $N.txt", "/20240305-0709-2.txt");
    row("link to no file", "mkdir $L; ln -s ../victim $N.txt", "/20240305-0709-2.txt");
    row("second name of a file", "mkdir $L; echo kept >victim; ln victim $N.txt", "/20240305-0709-2.txt");
    row("FIFO", "mkdir $L; mkfifo $N.txt", "/20240305-0709-2.txt");
    row("folder with the log's name", "mkdir -p $N.txt", "/20240305-0709-2.txt");
    const char* const links = "mkdir -p $N.txt; for i in `seq 2 %1`; do ln -s x $N-$i.txt; done";
    row("19 names are taken", text(links).arg(19).toLatin1(), "/20240305-0709-20.txt");
    row("20 names are taken", text(links).arg(20).toLatin1(), "-anna/20240305-0709.txt");
    row("another user's folder", "mkdir $L; chmod 777 $L; chown 65534 $L", "-anna/20240305-0709.txt");
    row("link to a folder", "mkdir victim; ln -s victim $L", "-anna/20240305-0709.txt");
    row("file instead of the folder", "echo kept >$L", "-anna/20240305-0709.txt");
    row("FIFO instead of the folder", "mkfifo $L", "-anna/20240305-0709.txt");
    row("both folders are links", "mkdir victim; ln -s victim $L; ln -s victim $L-anna", "");
    row("no temporary directory", "rmdir $PWD", "");
}

void TestStartup::theLogIsANewFileInAFolderOfTheUser()
{
    QFETCH(const QString, preparation);
    QFETCH(const QString, log);
    if (preparation.contains("chown"_s) && geteuid() != 0)
        QSKIP("Only root can give a folder to another user");
    QProcess shell;
    shell.setWorkingDirectory(folder->path());
    shell.start("/bin/sh"_s,
                {"-ec"_s, "L=ZEFO_VYNT_Firmware_Update_Logs; N=$L/20240305-0709; "_s + preparation});
    QVERIFY(shell.waitForFinished(patienceMs));
    QCOMPARE(shell.readAllStandardError(), QByteArray());
    const auto before = filesIn(folder->path());
    {
        const LogFile file(start);
        qDebug("message");
        QCOMPARE(file.path(), log.isEmpty() ? QString() : logFolder() + log);
    }
    auto after = filesIn(folder->path());
    if (!log.isEmpty()) {
        QCOMPARE(after.take(logFolder() + log), QByteArray("message\r\n"));
        const QFile::Permissions others = QFile::WriteGroup | QFile::WriteOther;
        QCOMPARE(QFile::permissions(QFileInfo(logFolder() + log).path()) & others, QFile::Permissions());
    }
    QCOMPARE(after, before);
}

void TestStartup::theNewestTwentyLogsStay()
{
    const QDir logs(logFolder());
    QVERIFY(logs.mkpath("20230101-0000.txt"_s)); // a folder is no log
    for (const char* const name : {"notes.txt", "20230101-0000.log", "20230101-0000-a.txt"})
        QVERIFY(makeFile(logs.filePath(text(name))));
    QStringList expected = logs.entryList(QDir::AllEntries | QDir::NoDotAndDotDot);
    for (int age = 1; age <= 25; ++age) { // minutes, in another order than the names
        const QString name = "2024%1-2359%2.txt"_s.arg(1000 + age * 7 % 26).arg(age % 2 ? QString() : "-2"_s);
        QFile file(logs.filePath(name));
        QVERIFY(file.open(QIODevice::WriteOnly));
        QVERIFY(file.setFileTime(start.addSecs(-60 * age), QFileDevice::FileModificationTime));
        if (age <= 19)
            expected << name;
    }
    for (int run = 0; run < 2; ++run) {
        const LogFile log(start);
        if (run == 1)
            expected.removeOne("20241003-2359.txt"_s); // the oldest
        expected.append(QFileInfo(log.path()).fileName());
        std::sort(expected.begin(), expected.end());
        QCOMPARE(logs.entryList(QDir::AllEntries | QDir::NoDotAndDotDot), expected);
    }
}

void TestStartup::everyLineIsWholeWhicheverThreadWritesIt()
{
    constexpr int threads = 8, messages = 40000;
    QString path;
    {
        const LogFile log(start);
        path = log.path();
        std::vector<std::thread> writers;
        writers.reserve(threads);
        for (int writer = 0; writer < threads; ++writer) {
            writers.emplace_back([writer] {
                for (int i = 0; i < messages / threads; ++i)
                    qDebug("message %d of writer %d, and a few words more", i, writer);
            });
        }
        for (std::thread& writer : writers)
            writer.join();
    }
    QByteArrayList lines = contentsOf(path).split('\n');
    QCOMPARE(lines.takeLast(), QByteArray());
    QCOMPARE(lines.size(), messages);
    int next[threads] = {};
    for (const QByteArray& line : lines) {
        const int writer = line.mid(line.indexOf("writer ") + 7, 1).toInt();
        QCOMPARE(line, QByteArray("message ") + QByteArray::number(next[writer]++) + " of writer " +
                           QByteArray::number(writer) + ", and a few words more\r");
    }
}

void TestStartup::aDiskThatIsFullForAWhileLosesMessagesAndNothingElse()
{
    struct rlimit usual;
    QCOMPARE(getrlimit(RLIMIT_FSIZE, &usual), 0);
    struct rlimit small = usual;
    small.rlim_cur = 5000;
    const auto previous = std::signal(SIGXFSZ, SIG_IGN);
    QString path;
    {
        const LogFile log(start);
        path = log.path();
        setrlimit(RLIMIT_FSIZE, &small);
        for (int i = 0; i < 10000; ++i)
            qDebug("message");
        setrlimit(RLIMIT_FSIZE, &usual);
        qDebug("there is room again");
    }
    std::signal(SIGXFSZ, previous);
    QByteArrayList lines = contentsOf(path).split('\n');
    QCOMPARE(lines.takeLast(), QByteArray());
    QCOMPARE(lines.takeLast(), QByteArray("there is room again\r"));
    QVERIFY(lines.size() < 10000);
    QCOMPARE(lines.count("message\r"), lines.size());
}

void TestStartup::theProgramSpeaksTheSystemsLanguage_data()
{
    QTest::addColumn<QByteArray>("texts");
    const auto row = [](const char* locale, const char* texts) {
        QTest::newRow(locale) << QByteArray(texts);
    };
    row("en_US.UTF-8", "ZEFO VYNT Firmware Update|Update|Cancel");
    row("pt_BR.UTF-8", "ZEFO VYNT Firmware Update|Update|Cancel");
    row("es_MX.UTF-8", "Actualización del firmware ZEFO VYNT|Actualizar|Cancelar");
    row("fr_FR.UTF-8", "Mise à jour du firmware ZEFO VYNT|Mettre à jour|Annuler");
    row("de_AT.UTF-8", "ZEFO VYNT Firmware-Aktualisierung|Aktualisieren|Cancel");
    row("it_IT.UTF-8", "Aggiornamento del firmware ZEFO VYNT|Aggiorna|Cancel");
    row("fa_IR.UTF-8", "ZEFO VYNT Firmware Update|Update|Cancel"); // the next two have digits of their own
    row("ar_EG.UTF-8", "ZEFO VYNT Firmware Update|Update|Cancel");
}

void TestStartup::theProgramSpeaksTheSystemsLanguage()
{
    const QTemporaryDir temporary;
    QProcess program;
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    environment.insert("LC_ALL"_s, text(QTest::currentDataTag()));
    environment.insert("TMPDIR"_s, temporary.path());
    program.setProcessEnvironment(environment);
    program.start(QCoreApplication::applicationFilePath(), {text(runProgram)});
    QVERIFY(program.waitForFinished(patienceMs));
    QCOMPARE(program.exitCode(), 0);
    QTEST(program.readAllStandardOutput().trimmed(), "texts");

    QDirIterator logs(temporary.path(), {"*.txt"_s}, QDir::Files, QDirIterator::Subdirectories);
    const QByteArray log = contentsOf(logs.next());
    QVERIFY2(QRegularExpression("^[0-9]{8}-[0-9]{4}\\.txt$"_s).match(logs.fileName()).hasMatch(),
             qPrintable(logs.fileName()));
    QVERIFY2(log.endsWith("the window is gone\r\n"), log);
}

void TestStartup::theSwitchCountsAsAWholeArgument()
{
    const auto counts = [](const char* commandLine) {
        return Startup::isLaunchedByPackage(text(commandLine).split(QLatin1Char(' ')));
    };
    for (const char* const line : {"updater -sfx", "updater a.zip -SfX"})
        QVERIFY2(counts(line), line);
    for (const char* const line : {"updater", "-sfx", "updater --sfx", "updater -sfx=1", "updater sfx"})
        QVERIFY2(!counts(line), line);
}

void TestStartup::theFirstReadableArchiveIsTaken_data()
{
    QTest::addColumn<QStringList>("files");
    QTest::addColumn<bool>("isFound"); // one of the files
    const auto row = [](const char* files, bool isFound) {
        QTest::newRow(files) << text(files).split(QLatin1Char(' '), Qt::SkipEmptyParts) << isFound;
    };
    row("", false);
    row("fw.zip", true);
    row("FW.ZIP", true);
    row("b.zip a.zip c.Zip", true);
    row(".hidden.zip", false);
    row("zip fw.zip.txt fw.7z", false);
    row("folder.zip/ ", false);
    row("unreadable.zip", false);
}

void TestStartup::theFirstReadableArchiveIsTaken()
{
    QFETCH(const QStringList, files);
    QFETCH(const bool, isFound);
    const QTemporaryDir searched;
    for (const QString& path : {folder->path(), searched.path()})
        QVERIFY(QFile::setPermissions(path, QFile::Permissions(0x7755))); // another user reads it below
    for (const QString& name : files) {
        const QString path = searched.filePath(name);
        QVERIFY(name.endsWith(QLatin1Char('/')) ? QDir().mkpath(path) : makeFile(path));
        if (name.startsWith("unreadable"_s))
            QVERIFY(QFile::setPermissions(path, QFile::Permissions()));
    }
    QString first;
    DIR* const directory = opendir(QFile::encodeName(searched.path()).constData());
    while (const dirent* const entry = readdir(directory)) {
        if (first.isEmpty() && isFound && entry->d_name[0] != '.')
            first = searched.filePath(QFile::decodeName(entry->d_name));
    }
    closedir(directory);

    // Root may read everything. Qt checks permissions for the real user, so change that one.
    const bool isSuperuser = geteuid() == 0;
    constexpr uid_t somebody = 65534;
    if (isSuperuser)
        QCOMPARE(setresuid(somebody, uid_t(-1), uid_t(-1)), 0);
    const QString found = Startup::findFirmwareArchive(QDir(searched.path()));
    if (isSuperuser)
        QCOMPARE(setresuid(0, uid_t(-1), uid_t(-1)), 0);
    QCOMPARE(found, first);
}

void TestStartup::theParentsFolderIsFoundOrTheWorkingDirectoryServes_data()
{
    QTest::addColumn<Processes>("processes");
    QTest::addColumn<QString>("folder");
    const QString here = QDir::currentPath(), package = "/opt/package"_s;
    const ProcessEntry idle{0, 0, L""}, ours{7, 5, L"updater"};
    QTest::newRow("found") << Processes{idle, {5, 1, L"setup"}, ours} << package;
    QTest::newRow("the first entry is not looked at") << Processes{ours, {8, 3, L"other"}} << here;
    QTest::newRow("listed twice") << Processes{{7, 6, L""}, ours} << package;
    QTest::newRow("no entry") << Processes{} << here;
    QTest::newRow("parent gone") << Processes{idle, {7, 9, L"updater"}} << here;
    QTest::newRow("parent's path is not readable") << Processes{idle, {7, 6, L"updater"}} << here;
}

void TestStartup::theParentsFolderIsFoundOrTheWorkingDirectoryServes()
{
    QFETCH(const Processes, processes);
    ScriptedProcesses table(processes);
    SimulatedMachine machine(nullptr);
    machine.setProcessTable(table);
    const ScopedMachine scope(machine);
    QTEST(Startup::parentProcessDirectory().absolutePath(), "folder");
}

void TestStartup::theProgramLoadsTheArchiveOfThePackageThatStartsIt_data()
{
    QTest::addColumn<bool>("isPackage");
    QTest::newRow("-sfx") << true;
    QTest::newRow("-x") << false;
}

void TestStartup::theProgramLoadsTheArchiveOfThePackageThatStartsIt()
{
    QFETCH(const bool, isPackage);
    const QString programFolder = QFileInfo(UPDATER_PROGRAM).absolutePath();
    const QTemporaryDir package; // with a shell that starts the program, and an archive
    const QString shell = package.filePath("setup"_s);
    const QString archive = package.filePath("Firmware.ZIP"_s);
    QVERIFY(QFile::copy("/bin/sh"_s, shell));
    QVERIFY(ArchiveBuilder::write(
        archive, {{"h.ff"_s, ArchiveBuilder::imageText(ImageBuilder::build(ImageBuilder::headset()))}}));
    QProcess setup;
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    environment.insert("TMPDIR"_s, package.path());
    setup.setProcessEnvironment(environment);
    setup.start(shell,
                {"-c"_s, "\"$0\" \"$1\" & echo $!; wait"_s, UPDATER_PROGRAM, text(QTest::currentDataTag())});
    QVERIFY(setup.waitForReadyRead(patienceMs));
    const pid_t program = setup.readLine().trimmed().toInt();
    QVERIFY(program > 0);
    const auto ending = qScopeGuard([&] {
        kill(program, SIGTERM);
        setup.waitForFinished(patienceMs);
    });

    const QDir logs(package.filePath("ZEFO_VYNT_Firmware_Update_Logs"_s));
    const auto log = [&] {
        const QStringList names = logs.entryList({"*.txt"_s}, QDir::Files);
        QByteArrayList lines =
            names.isEmpty() ? QByteArrayList() : contentsOf(logs.filePath(names.first())).split('\n');
        // Whether the program can see devices depends on the computer that runs the test.
        lines.erase(
            std::remove_if(lines.begin(), lines.end(),
                           [](const QByteArray& each) { return each.startsWith("No device can be"); }),
            lines.end());
        return lines.join('\n');
    };
    const auto line = [](const char* text, const QString& path, const char* end) {
        return text + QByteArray(" \"") + QFile::encodeName(path) + '"' + end;
    };
    const QByteArray looking =
        line("Application path: ", programFolder, "\r\n") +
        line("Looking firmware file in: ", isPackage ? package.path() : programFolder, "\r\n");
    const QByteArray loaded = line("Firmware successfully loaded: ", archive, "\r\n");
    TRY_VERIFY(isPackage ? log().endsWith(loaded) : log() == looking);
    QVERIFY2(log().startsWith(looking), log());
}

int main(int argc, char** argv)
{
    isProgram = argc == 2 && qstrcmp(argv[1], runProgram) == 0;
    if (isProgram)
        return updaterMain(argc, argv);
    QCoreApplication application(argc, argv);
    TestStartup test;
    return QTest::qExec(&test, argc, argv);
}

#include "tst_startup.moc"
