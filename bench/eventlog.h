#pragma once

#include <QElapsedTimer>
#include <QMutex>
#include <QObject>
#include <QString>
#include <QStringList>

#include "deviceinstance.h"

/// A device's name in the log.
QString nameOf(DeviceType type);

/// The bench's log. Each event is a line that starts with the seconds since the log was created. While the
/// log exists, it also receives the updater's own log. Only one EventLog may exist at a time. Any thread may
/// use it.
class EventLog : public QObject
{
    Q_OBJECT

public:
    enum class Output { Printed, Kept };

    /// @param logOutput  whether the log also writes its lines to the standard output.
    explicit EventLog(Output logOutput = Output::Printed);
    ~EventLog() override;

    void add(const QString& text);

    QStringList lines() const; ///< all lines so far

Q_SIGNALS:
    void added(const QString& line);

private:
    const Output output;
    QtMessageHandler previousHandler;
    mutable QMutex mutex; ///< guards what follows
    QElapsedTimer timer;
    QStringList all;
};
