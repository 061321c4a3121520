// Tests the start of the program: its language, and the folder in which it looks for an archive.

#include <csignal>

#include <unistd.h>

#include <QApplication>
#include <QDirIterator>
#include <QMainWindow>
#include <QScopeGuard>

#include "archivebuilder.h"
#include "imagebuilder.h"
#include "leavesnothing.h"
#include "literals.h"
#include "simulatedmachine.h"
#include "startup.h"
#include "table.h"
#include "textfile.h"
#include "waiting.h"

int updaterMain(int argc, char* argv[]); // the program's main()

using Processes = std::vector<ProcessEntry>;
Q_DECLARE_METATYPE(Processes)

namespace {

constexpr char runProgram[] = "--run-program";

bool isProgram = false; ///< whether this process is the program that the test has started

/// Once the program's window is open, prints three translated texts: one from a form, one from the code and
/// one of Qt's own. Then closes the window and logs its destruction. Does nothing in the test's own process.
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

} // namespace

class TestStartup : public LeavesNothing
{
    Q_OBJECT

private Q_SLOTS:
    void theProgramSpeaksTheSystemsLanguage_data();
    void theProgramSpeaksTheSystemsLanguage();
    void theFirstReadableArchiveIsTaken_data();
    void theFirstReadableArchiveIsTaken();
    void theParentsFolderIsFoundOrTheWorkingDirectoryServes_data();
    void theParentsFolderIsFoundOrTheWorkingDirectoryServes();
    void theProgramLoadsTheArchiveOfThePackageThatStartsIt_data();
    void theProgramLoadsTheArchiveOfThePackageThatStartsIt();

private:
    const QTemporaryDir folder;
};

void TestStartup::theProgramSpeaksTheSystemsLanguage_data()
{
    const Table<QByteArray> table("texts");
    table.row("en_US.UTF-8", "ZEFO VYNT Firmware Update|Update|Cancel");
    table.row("pt_BR.UTF-8", "ZEFO VYNT Firmware Update|Update|Cancel");
    table.row("es_MX.UTF-8", "Actualización del firmware ZEFO VYNT|Actualizar|Cancelar");
    table.row("fr_FR.UTF-8", "Mise à jour du firmware ZEFO VYNT|Mettre à jour|Annuler");
    table.row("de_AT.UTF-8", "ZEFO VYNT Firmware-Aktualisierung|Aktualisieren|Cancel");
    table.row("it_IT.UTF-8", "Aggiornamento del firmware ZEFO VYNT|Aggiorna|Cancel");
    // Persian and Arabic have their own digits, which the log's name must not contain.
    table.row("fa_IR.UTF-8", "ZEFO VYNT Firmware Update|Update|Cancel");
    table.row("ar_EG.UTF-8", "ZEFO VYNT Firmware Update|Update|Cancel");
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

void TestStartup::theFirstReadableArchiveIsTaken_data()
{
    const Table<bool> table("isFound"); // whether the updater finds one of the files in the row's name
    table.row("", false);
    table.row("fw.zip", true);
    table.row("FW.ZIP", true);
    table.row("b.zip a.zip c.Zip", true);
    table.row(".hidden.zip", false);
    table.row("zip fw.zip.txt fw.7z", false);
    table.row("folder.zip/ ", false);
    table.row("unreadable.zip", false);
}

void TestStartup::theFirstReadableArchiveIsTaken()
{
    const QStringList files = text(QTest::currentDataTag()).split(QLatin1Char(' '), Qt::SkipEmptyParts);
    QFETCH(const bool, isFound);
    const QTemporaryDir searched;
    for (const QString& path : {folder.path(), searched.path()})
        QVERIFY(QFile::setPermissions(path, QFile::Permissions(0x7755))); // another user reads them below
    for (const QString& name : files) {
        const QString path = searched.filePath(name);
        QVERIFY(name.endsWith(QLatin1Char('/')) ? QDir().mkpath(path) : makeFile(path));
        if (name.startsWith("unreadable"_s))
            QVERIFY(QFile::setPermissions(path, QFile::Permissions()));
    }
    QDirIterator inOrder(searched.path(), QDir::Files); // lists files in the file system's order
    const QString first = isFound ? inOrder.next() : QString();

    // Root can read every file, whatever its permissions. Qt checks permissions for the real user ID, so the
    // test changes the real user ID of root.
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
    const Table<Processes, QString> table("processes", "folder");
    const QString here = QDir::currentPath(), package = "/opt/package"_s;
    const ProcessEntry idle{0, 0}, ours{7, 5};
    table.row("found", {idle, {5, 1}, ours}, package);
    table.row("the first entry is not looked at", {ours, {8, 3}}, here);
    table.row("listed twice", {{7, 6}, ours}, package);
    table.row("no entry", {}, here);
    table.row("parent gone", {idle, {7, 9}}, here);
    table.row("parent's path is not readable", {idle, {7, 6}}, here);
}

void TestStartup::theParentsFolderIsFoundOrTheWorkingDirectoryServes()
{
    QFETCH(const Processes, processes);
    SimulatedMachine machine(nullptr);
    // The updater is process 7. Processes 5 and 6 both run, but only the path of process 5 can be read.
    machine.processes() = {7, processes, {{5, L"/opt/package/setup"}, {6, L""}}};
    const ScopedMachine scope(machine);
    QTEST(Startup::parentProcessDirectory().absolutePath(), "folder");
}

void TestStartup::theProgramLoadsTheArchiveOfThePackageThatStartsIt_data()
{
    const Table<bool> table("isPackage"); // whether the arguments in the row's name contain the switch
    table.row("-sfx", true);
    table.row("a.zip -SfX", true);
    table.row("", false);
    table.row("--sfx", false);
    table.row("-sfx=1 sfx", false);
}

void TestStartup::theProgramLoadsTheArchiveOfThePackageThatStartsIt()
{
    QFETCH(const bool, isPackage);
    const QString programFolder = QFileInfo(UPDATER_PROGRAM).absolutePath();
    const QTemporaryDir package; // holds an archive and a shell that starts the program
    const QString shell = package.filePath("setup"_s);
    const QString archive = package.filePath("Firmware.ZIP"_s);
    QVERIFY(QFile::copy("/bin/sh"_s, shell));
    QVERIFY(ArchiveBuilder::write(
        archive, {{"h.ff"_s, ArchiveBuilder::imageText(ImageBuilder::build(ImageBuilder::headset()))}}));
    QProcess setup;
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    environment.insert("TMPDIR"_s, package.path());
    setup.setProcessEnvironment(environment);
    const QString command = "\"$0\" %1 & echo $!; wait"_s.arg(text(QTest::currentDataTag()));
    setup.start(shell, {"-c"_s, command, UPDATER_PROGRAM});
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
        return names.isEmpty() ? QByteArray() : contentsOf(logs.filePath(names.first()));
    };
    const auto line = [](const char* text, const QString& path, const char* end) {
        return text + QByteArray(" \"") + QFile::encodeName(path) + '"' + end;
    };
    const QByteArray looking =
        line("Looking firmware file in: ", isPackage ? package.path() : programFolder, "\r\n");
    const QByteArray loaded = line("Firmware successfully loaded: ", archive, "\r\n");
    TRY_VERIFY(log().contains(isPackage ? loaded : looking));
    QVERIFY2(log().startsWith(line("Application path: ", programFolder, "\r\n")), log());
    QVERIFY2(log().contains(looking) && log().contains("firmware: ") == isPackage, log());
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
