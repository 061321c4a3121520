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

QString nameOf(DeviceType type)
{
    return type == DeviceType::Transmitter ? QStringLiteral("transmitter") : QStringLiteral("headset");
}

EventLog::EventLog(Output logOutput)
    : output(logOutput)
{
    timer.start();
    messageLog = this;
    previousHandler = qInstallMessageHandler(logMessage);
}

EventLog::~EventLog()
{
    qInstallMessageHandler(previousHandler);
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
        all << line;
        if (output == Output::Printed)
            std::puts(qUtf8Printable(line));
    }
    Q_EMIT added(line);
}

QStringList EventLog::lines() const
{
    const QMutexLocker locker(&mutex);
    return all;
}
