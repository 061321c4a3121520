#pragma once

#include <QByteArray>
#include <QObject>

#include "deviceinstance.h"

class FirmwareUpdaterPrivate;

/// Updates one device: switches it into programming mode, waits up to 30 s for it, and programs it on a
/// worker thread. Use each object for one attempt, on the GUI thread. The destructor waits until the
/// programming sequence has ended.
class FirmwareUpdater : public QObject
{
    Q_OBJECT

public:
    /// @param device    the device's last record, in normal mode or already in programming mode.
    /// @param firmware  the image to write.
    FirmwareUpdater(QObject* parent, const DeviceInstance& device, DeviceType type,
                    const QByteArray& firmware);

public Q_SLOTS:
    /// Starts the update and returns. A failure may be reported before the return.
    void flashDevice();

Q_SIGNALS:
    void flashingStarted();       ///< never emitted
    void flashingError(int code); ///< last signal of a failed attempt; @p code is a FlashingError::Code
    void flashingFinished();      ///< last signal of any other attempt
    void progressRangeChanged(int min, int max);
    void progressValueChanged(int value);

private:
    FirmwareUpdaterPrivate* d;
};
