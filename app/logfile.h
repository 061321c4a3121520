#pragma once

#include <QFile>
#include <QString>

class QDateTime;

/// Writes the log of one run. While the object lives, its file receives the text of every message that any
/// thread logs through Qt, without the message's type and source context. Each message ends with CR LF and is
/// flushed at once.
///
/// If no file can be created, or while the disk is full, messages are lost silently. Only one LogFile may
/// exist in a process at a time. Create and destroy it on the main thread.
class LogFile
{
public:
    /// Creates the log file of a run that started at local time @p start (see LogFolder), and starts logging
    /// into that file.
    explicit LogFile(const QDateTime& start);

    /// Restores the previous message handler and closes the file. Other threads may go on logging meanwhile.
    ~LogFile();

    /// The file's absolute path, or "" if no file could be created.
    QString path() const { return file.isOpen() ? file.fileName() : QString(); }

private:
    QFile file;
    QtMessageHandler previousHandler = nullptr;
};
