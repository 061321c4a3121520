#pragma once

#include <QFile>
#include <QString>

class QDateTime;

/// The log of one run. While an object lives, every message that any thread logs through Qt is written to the
/// object's file, without its type and source context. A message ends with CR LF and is flushed at once.
///
/// If no file can be created, or while the disk is full, messages are lost silently. There is one log per
/// process at a time; create and destroy it on the main thread.
class LogFile
{
public:
    /// Creates the log of a run that started at local time @p start (see LogFolder) and logs into it.
    explicit LogFile(const QDateTime& start);

    /// Restores the previous message handler and closes the file. Other threads may go on logging meanwhile.
    ~LogFile();

    /// The file's absolute path, or "" if there is none.
    QString path() const { return file.isOpen() ? file.fileName() : QString(); }

private:
    QFile file;
    QtMessageHandler previousHandler = nullptr;
};
