#pragma once

#include <QElapsedTimer>
#include <QMutex>
#include <QObject>
#include <QString>
#include <QStringList>

#include "deviceinstance.h"

/// A device's name in the protocol.
QString nameOf(DeviceType type);

/// The bench's protocol: a line per event with the seconds since the start, on the standard output. Any
/// thread.
class EventLog : public QObject
{
    Q_OBJECT

public:
    EventLog();

    void add(const QString& text);

    /// While quiet, nothing is printed and the lines are kept.
    void setQuiet(bool quiet);
    /// The lines kept so far; they are forgotten then.
    QStringList takeLines();

Q_SIGNALS:
    void added(const QString& line);

private:
    QMutex mutex;
    QElapsedTimer timer;
    bool isQuiet = false;
    QStringList lines;
};
