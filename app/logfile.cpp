#include "logfile.h"

#include <QMutex>
#include <QMutexLocker>
#include <QTextStream>

#include "logfolder.h"

namespace {

constexpr char lineEnd[] = "\r\n"; // also on Linux

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
    stream.resetStatus(); // otherwise a full disk would make the stream keep all later messages in memory
}

} // namespace

LogFile::LogFile(const QDateTime& start)
{
    static_cast<void>(LogFolder::createLog(file, start));
    attachLogStream(&file);
    previousHandler = qInstallMessageHandler(writeMessage);
}

LogFile::~LogFile()
{
    qInstallMessageHandler(previousHandler);
    // Another thread may still call writeMessage(), which writes nothing if the stream has no device.
    attachLogStream(nullptr);
}
