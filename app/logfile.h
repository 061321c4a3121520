#pragma once

#include <QFile>
#include <QString>

class QDateTime;

/// Writes the log of one run of the program. While the object lives, the text of every message that any
/// thread logs through Qt is written to the log file. The message's type and source context are left out.
/// Each message ends with CR LF and is flushed at once.
///
/// If no file can be created, or while the disk is full, messages are lost silently. Only one LogFile may
/// exist in a process at a time. Create and destroy it on the main thread.
class LogFile
{
public:
    /// Creates the log file of a run that started at local time @p start, and starts logging. LogFolder
    /// describes the file's name and folder.
    explicit LogFile(const QDateTime& start);

    /// Restores the previous message handler and closes the file. Other threads may go on logging meanwhile.
    ~LogFile();

    /// The file's absolute path, or "" if no file could be created.
    QString path() const { return file.isOpen() ? file.fileName() : QString(); }

private:
    QFile file;
    QtMessageHandler previousHandler = nullptr;
};
