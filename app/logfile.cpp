#include "logfile.h"

#include <QMutex>
#include <QMutexLocker>
#include <QTextStream>

namespace {

constexpr char lineEnd[] = "\r\n"; // also where the system has another one

Q_GLOBAL_STATIC(QTextStream, logStream)
Q_GLOBAL_STATIC(QMutex, logLock)

void attachLogStream(QIODevice* device)
{
    const QMutexLocker locker(logLock());
    logStream->setDevice(device);
}

void writeMessage(QtMsgType, const QMessageLogContext&, const QString& text)
{
    const QMutexLocker locker(logLock());
    QTextStream& stream = *logStream;
    if (!stream.device() || !stream.device()->isWritable())
        return;
    stream << QString(text).replace(QLatin1Char('\n'), QLatin1String(lineEnd)) << lineEnd;
    stream.flush();
    stream.resetStatus(); // on a full disk messages are lost, and not kept in memory
}

} // namespace

LogFile::LogFile(const QString& path)
    : file(path)
{
    static_cast<void>(file.open(QIODevice::WriteOnly | QIODevice::Truncate));
    attachLogStream(&file);
    previousHandler = qInstallMessageHandler(writeMessage);
}

LogFile::~LogFile()
{
    qInstallMessageHandler(previousHandler);
    // A thread may still be inside the handler; it finds no device once this has the lock.
    attachLogStream(nullptr);
}
