#include "eventlog.h"

#include <cstdio>

#include <QMutexLocker>

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
        if (isQuiet) {
            lines << line;
        } else {
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

QStringList EventLog::takeLines()
{
    const QMutexLocker locker(&mutex);
    QStringList taken;
    taken.swap(lines);
    return taken;
}
