// Rows about the log.

#include <memory>
#include <thread>
#include <vector>

#include <fcntl.h>
#include <unistd.h>

#include <QDebug>
#include <QFile>
#include <QTemporaryDir>

#include "comparison.h"
#include "logfile.h"

using namespace Comparison;

namespace {

constexpr int messageCount = 100000;

/// As the flasher writes them.
void logMessages(int count)
{
    for (int i = 0; i < count; ++i)
        qDebug("%s: Erasing Flash starting at 0x%.4X", "Transmitter", static_cast<unsigned int>(i));
}

void logFromThreads(const QString& path, int threads)
{
    const LogFile log(path);
    std::vector<std::thread> running;
    for (int i = 1; i < threads; ++i)
        running.emplace_back(logMessages, messageCount / threads);
    logMessages(messageCount / threads);
    for (std::thread& thread : running)
        thread.join();
}

void writeLines(const QByteArray& path, const QByteArrayList& lines)
{
    const int file = open(path.constData(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0644);
    bool isWritten = file >= 0;
    for (const QByteArray& line : lines)
        isWritten =
            write(file, line.constData(), static_cast<std::size_t>(line.size())) == line.size() && isWritten;
    close(file);
    require(isWritten, "cannot write the lines");
}

QByteArrayList linesOf(const QString& path)
{
    QFile file(path);
    require(file.open(QIODevice::ReadOnly), "there is no log");
    QByteArrayList lines;
    while (!file.atEnd())
        lines << file.readLine();
    require(lines.size() == messageCount, "the log has not all messages");
    return lines;
}

MakePair logPairs(int threads)
{
    const auto folder = std::make_shared<QTemporaryDir>();
    const QString logPath = folder->filePath(QStringLiteral("log.txt"));
    const QByteArray linesPath = folder->filePath(QStringLiteral("lines.txt")).toLocal8Bit();
    logFromThreads(logPath, threads);
    const QByteArrayList lines = linesOf(logPath);
    return alternately([folder, logPath, threads] { logFromThreads(logPath, threads); },
                       [linesPath, lines] { writeLines(linesPath, lines); });
}

const char reference[] = "write of the same lines by one thread";

[[maybe_unused]] const bool added =
    add({"100,000 log messages from one thread", reference, "s", 3, 15}, [] { return logPairs(1); }) &&
    add({"100,000 log messages from 8 threads", reference, "s", 3, 15}, [] { return logPairs(8); });

} // namespace
