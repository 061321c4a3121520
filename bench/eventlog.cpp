#include "eventlog.h"

#include <cstdio>

#include <QMutexLocker>

namespace {

EventLog* messageLog = nullptr;

void logMessage(QtMsgType type, const QMessageLogContext&, const QString& text)
{
    const bool isSerious = type == QtWarningMsg || type == QtCriticalMsg || type == QtFatalMsg;
    messageLog->add((isSerious ? QStringLiteral("log: (!) ") : QStringLiteral("log: ")) + text);
}

} // namespace

UpdaterLog::UpdaterLog(EventLog& log)
    : previous((messageLog = &log, qInstallMessageHandler(logMessage)))
{
}

UpdaterLog::~UpdaterLog()
{
    qInstallMessageHandler(previous);
}

QString nameOf(DeviceType type)
{
    return type == DeviceType::Transmitter ? QStringLiteral("transmitter") : QStringLiteral("headset");
}

EventLog::EventLog()
{
    timer.start();
}

void EventLog::add(const QString& text)
{
    constexpr double msPerSecond = 1000;
    QString line;
    {
        const QMutexLocker locker(&mutex);
        line = QStringLiteral("[%1] %2")
                   .arg(static_cast<double>(timer.elapsed()) / msPerSecond, 8, 'f', 3)
                   .arg(text);
        lines << line;
        if (!isQuiet) {
            std::puts(line.toUtf8().constData());
            std::fflush(stdout);
        }
    }
    Q_EMIT added(line);
}

void EventLog::setQuiet(bool quiet)
{
    const QMutexLocker locker(&mutex);
    isQuiet = quiet;
}

int EventLog::lineCount() const
{
    const QMutexLocker locker(&mutex);
    return lines.size();
}

QStringList EventLog::linesWith(const QString& text, int first) const
{
    const QMutexLocker locker(&mutex);
    return lines.mid(first).filter(text);
}

QStringList EventLog::takeLines()
{
    const QMutexLocker locker(&mutex);
    QStringList taken;
    taken.swap(lines);
    return taken;
}
