#pragma once

#include <QByteArray>
#include <QObject>

#include "deviceinstance.h"

class FirmwareUpdaterPrivate;

/// Updates one device: switches it into programming mode, waits up to 30 s until it comes back, and programs
/// it on a worker thread. Use each object for one attempt, on the GUI thread. The destructor waits until the
/// programming sequence has ended.
class FirmwareUpdater : public QObject
{
    Q_OBJECT

public:
    /// @param device    the device as it was last detected, in normal or in programming mode.
    /// @param firmware  the image to write.
    FirmwareUpdater(QObject* parent, const DeviceInstance& device, DeviceType type,
                    const QByteArray& firmware);

public Q_SLOTS:
    /// Starts the update and returns. May report a failure before it returns.
    void flashDevice();

Q_SIGNALS:
    void flashingStarted();       ///< never emitted
    void flashingError(int code); ///< last signal of a failed attempt; @p code is a FlashingError::Code
    void flashingFinished();      ///< last signal if flashingError() is not emitted
    void progressRangeChanged(int min, int max);
    void progressValueChanged(int value);

private:
    FirmwareUpdaterPrivate* d;
};
