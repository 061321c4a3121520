#pragma once

#include <QFile>
#include <QString>

class QDateTime;

/// The log of one run: while an object lives, the text of every message of Qt's message logger, from any
/// thread, is written to its file, ended by CR LF and flushed at once. Type and source context are not.
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
