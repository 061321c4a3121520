#include "logfile.h"

#include <QMutex>
#include <QMutexLocker>
#include <QTextStream>

namespace {

QTextStream& logStream()
{
    static QTextStream stream;
    return stream;
}

QMutex& logLock()
{
    static QMutex lock;
    return lock;
}

void attachLogStream(QIODevice* device)
{
    const QMutexLocker locker(&logLock());
    logStream().setDevice(device);
}

void writeMessage(QtMsgType, const QMessageLogContext&, const QString& text)
{
    const QMutexLocker locker(&logLock());
    QTextStream& stream = logStream();
    if (!stream.device() || !stream.device()->isWritable())
        return;
    stream << text << '\n';
    stream.flush();
}

} // namespace

LogFile::LogFile(const QString& path)
    : file(path)
{
    static_cast<void>(file.open(QIODevice::WriteOnly | QIODevice::Truncate | QIODevice::Text));
    attachLogStream(&file);
    previousHandler = qInstallMessageHandler(writeMessage);
}

LogFile::~LogFile()
{
    qInstallMessageHandler(previousHandler);
    // A thread may still be inside the handler; it finds no device once this has the lock.
    attachLogStream(nullptr);
}
