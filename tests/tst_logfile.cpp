// Tests the log of a run: where its file is created, which old logs are kept, and that lines are complete.

#include <csignal>
#include <thread>

#include <sys/resource.h>
#include <unistd.h>

#include <QDirIterator>

#include "leavesnothing.h"
#include "literals.h"
#include "logfile.h"
#include "table.h"
#include "textfile.h"
#include "waiting.h"

namespace {

/// @return the path and the contents of each regular file below @p folder.
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

} // namespace

class TestLogFile : public LeavesNothing
{
    Q_OBJECT

private Q_SLOTS:
    void init();
    void theLogIsANewFileInAFolderOfTheUser_data();
    void theLogIsANewFileInAFolderOfTheUser();
    void theNewestTwentyLogsStay();
    void everyLineIsWholeWhicheverThreadWritesIt();
    void aDiskThatIsFullForAWhileLosesMessagesAndNothingElse();

private:
    QString logFolder() const { return folder->filePath("ZEFO_VYNT_Firmware_Update_Logs"_s); }

    std::unique_ptr<QTemporaryDir> folder; ///< serves as the temporary directory
    const QDateTime start{QDate(2024, 3, 5), QTime(7, 9, 59)};
};

void TestLogFile::init()
{
    LeavesNothing::init();
    qunsetenv("TMPDIR");
    folder = std::make_unique<QTemporaryDir>();
    qputenv("TMPDIR", QFile::encodeName(folder->path()));
    qputenv("HOME", "/home/anna");
}

void TestLogFile::theLogIsANewFileInAFolderOfTheUser_data()
{
    // The preparation consists of shell commands. $L is the log folder, $N the log's path without suffix.
    const Table<QByteArray, QByteArray> table("preparation", "log");
    table.row("nothing is there", "", "/20240305-0709.txt");
    table.row("folder that others can write to", "mkdir $L; chmod 2777 $L", "/20240305-0709.txt");
    table.row("link to a file", "mkdir $L; echo kept >victim; ln -s ../victim $N.txt",
              "/20240305-0709-2.txt");
    table.row("link to no file", "mkdir $L; ln -s ../victim $N.txt", "/20240305-0709-2.txt");
    table.row("second name of a file", "mkdir $L; echo kept >victim; ln victim $N.txt",
              "/20240305-0709-2.txt");
    table.row("FIFO", "mkdir $L; mkfifo $N.txt", "/20240305-0709-2.txt");
    table.row("folder with the log's name", "mkdir -p $N.txt", "/20240305-0709-2.txt");
    const char* const links = "mkdir -p $N.txt; for i in `seq 2 %1`; do ln -s x $N-$i.txt; done";
    table.row("19 names are taken", text(links).arg(19).toLatin1(), "/20240305-0709-20.txt");
    table.row("20 names are taken", text(links).arg(20).toLatin1(), "-anna/20240305-0709.txt");
    table.row("another user's folder", "mkdir $L; chmod 777 $L; chown 65534 $L", "-anna/20240305-0709.txt");
    table.row("link to a folder", "mkdir victim; ln -s victim $L", "-anna/20240305-0709.txt");
    table.row("file instead of the folder", "echo kept >$L", "-anna/20240305-0709.txt");
    table.row("FIFO instead of the folder", "mkfifo $L", "-anna/20240305-0709.txt");
    table.row("both folders are links", "mkdir victim; ln -s victim $L; ln -s victim $L-anna", "");
    table.row("no temporary directory", "rmdir $PWD", "");
}

void TestLogFile::theLogIsANewFileInAFolderOfTheUser()
{
    QFETCH(const QByteArray, preparation);
    QFETCH(const QByteArray, log);
    const QString path = log.isEmpty() ? QString() : logFolder() + QString::fromLatin1(log);
    if (preparation.contains("chown") && geteuid() != 0)
        QSKIP("Only root can give a folder to another user");
    QProcess shell;
    shell.setWorkingDirectory(folder->path());
    shell.start("/bin/sh"_s,
                {"-ec"_s, "L=ZEFO_VYNT_Firmware_Update_Logs; N=$L/20240305-0709; "_s + text(preparation)});
    QVERIFY(shell.waitForFinished(patienceMs));
    QCOMPARE(shell.readAllStandardError(), QByteArray());
    const auto before = filesIn(folder->path());
    {
        const LogFile file(start);
        QCOMPARE(file.path(), path);
        qDebug() << "message"
                 << "C:/a b"_s;
        qCritical("0x%.4X", 10u);
        qWarning("two\nlines");
    }
    QTest::ignoreMessage(QtDebugMsg, "after the log's end"); // the log has restored the previous handler
    qDebug("after the log's end");
    auto after = filesIn(folder->path());
    if (!log.isEmpty()) {
        QCOMPARE(after.take(path), QByteArray("message \"C:/a b\"\r\n0x000A\r\ntwo\r\nlines\r\n"));
        const QFile::Permissions others = QFile::WriteGroup | QFile::WriteOther;
        QCOMPARE(QFile::permissions(QFileInfo(path).path()) & others, QFile::Permissions());
    }
    QCOMPARE(after, before);
}

void TestLogFile::theNewestTwentyLogsStay()
{
    const QDir logs(logFolder());
    QVERIFY(logs.mkpath("20230101-0000.txt"_s)); // a folder is no log
    for (const char* const name : {"notes.txt", "20230101-0000.log", "20230101-0000-a.txt"})
        QVERIFY(makeFile(logs.filePath(text(name))));
    QStringList expected = logs.entryList(QDir::AllEntries | QDir::NoDotAndDotDot);
    for (int age = 1; age <= 25; ++age) { // in minutes; the order by age is not the order by name
        const QString name =
            "2024%1-2359%2.txt"_s.arg(1000 + age * 7 % 26).arg(age % 2 ? QString() : "-12"_s);
        QFile file(logs.filePath(name));
        QVERIFY(file.open(QIODevice::WriteOnly));
        QVERIFY(file.setFileTime(start.addSecs(qint64{-60} * age), QFileDevice::FileModificationTime));
        if (age <= 19)
            expected << name;
    }
    for (int run = 0; run < 2; ++run) {
        const LogFile log(start);
        if (run == 1)
            expected.removeOne("20241003-2359.txt"_s); // the oldest log
        expected.append(QFileInfo(log.path()).fileName());
        std::sort(expected.begin(), expected.end());
        QCOMPARE(logs.entryList(QDir::AllEntries | QDir::NoDotAndDotDot), expected);
    }
}

void TestLogFile::everyLineIsWholeWhicheverThreadWritesIt()
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

void TestLogFile::aDiskThatIsFullForAWhileLosesMessagesAndNothingElse()
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

QTEST_GUILESS_MAIN(TestLogFile)

#include "tst_logfile.moc"
