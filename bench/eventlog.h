#pragma once

#include <QElapsedTimer>
#include <QMutex>
#include <QObject>
#include <QString>
#include <QStringList>

#include "deviceinstance.h"

/// A device's name in the protocol.
QString nameOf(DeviceType type);

class EventLog;

/// While it lives, what the updater logs goes into the bench's protocol. One at a time.
class UpdaterLog
{
public:
    explicit UpdaterLog(EventLog& log);
    ~UpdaterLog();
    UpdaterLog(const UpdaterLog&) = delete;
    UpdaterLog& operator=(const UpdaterLog&) = delete;

private:
    const QtMessageHandler previous;
};

/// The bench's protocol: a line per event with the seconds since the start, on the standard output. Any
/// thread.
class EventLog : public QObject
{
    Q_OBJECT

public:
    EventLog();

    void add(const QString& text);

    /// While quiet, nothing is printed.
    void setQuiet(bool quiet);
    /// The lines since the last call.
    QStringList takeLines();
    int lineCount() const; ///< of these
    /// Of these, from the @p first on, those that contain @p text.
    QStringList linesWith(const QString& text, int first) const;

Q_SIGNALS:
    void added(const QString& line);

private:
    mutable QMutex mutex;
    QElapsedTimer timer;
    bool isQuiet = false;
    QStringList lines;
};
