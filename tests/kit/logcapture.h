#pragma once

#include <QByteArrayList>
#include <QString>

/// Keeps each thread's log messages, with "!" before critical ones and "?" before warnings. text() returns
/// those of the calling thread.
class LogCapture
{
public:
    LogCapture()
        : previous(qInstallMessageHandler(take))
    {
        messages().clear();
    }
    ~LogCapture() { qInstallMessageHandler(previous); }
    LogCapture(const LogCapture&) = delete;
    LogCapture& operator=(const LogCapture&) = delete;

    QByteArray text() const { return messages().join('|'); }

private:
    static QByteArrayList& messages()
    {
        static thread_local QByteArrayList kept;
        return kept;
    }
    static void take(QtMsgType type, const QMessageLogContext&, const QString& text)
    {
        const char* const mark = type == QtCriticalMsg ? "!" : type == QtWarningMsg ? "?" : "";
        messages() << mark + text.toLatin1();
    }

    QtMessageHandler previous;
};
