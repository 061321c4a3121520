#pragma once

#include <QFile>
#include <QString>

/// The log of one run: while an object lives, every message of Qt's message logger, from whatever thread,
/// becomes one line of its file, ended by CR LF and flushed at once. A line holds the message text only,
/// without type or source context.
///
/// A file that cannot be opened, or a full disk, loses the messages silently. There is one log per process at
/// a time; create and destroy it on the main thread.
class LogFile
{
public:
    /// Truncates the file at the absolute path @p path and installs the message handler.
    explicit LogFile(const QString& path);

    /// Gives messages back to the handler of before and closes the file. Threads may go on logging meanwhile.
    ~LogFile();

private:
    QFile file;
    QtMessageHandler previousHandler = nullptr;
};
