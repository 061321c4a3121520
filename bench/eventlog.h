#pragma once

#include <QElapsedTimer>
#include <QMutex>
#include <QObject>
#include <QString>

/// The bench's protocol: a line per event with the seconds since the start, on the standard output. Any
/// thread.
class EventLog : public QObject
{
    Q_OBJECT

public:
    EventLog();

    void add(const QString& text);

Q_SIGNALS:
    void added(const QString& line);

private:
    QMutex mutex;
    QElapsedTimer timer;
};
