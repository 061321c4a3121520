#pragma once

#include <QObject>
#include <QString>

#include "deviceinstance.h"

class DeviceControllerPrivate;

/// Keeps track of the connected devices: at most one transmitter and one headset. Knows each device's product
/// identifier, and the firmware version in its memory. GUI thread only.
class DeviceController : public QObject
{
    Q_OBJECT

public:
    explicit DeviceController(QObject* parent);

    /// Starts detection. Devices that are already present are reported too. Does nothing if detection
    /// already runs.
    void startDetection();

    /// Forgets all devices without reporting their removal, and ends detection. Waits for a transfer in
    /// progress. After the return no device is open. An interrupted identification still emits
    /// deviceArrived() later, but deviceInstance() then returns a default record.
    void stopDetection();

    /// Whether a device of kind @p type is connected; also true while the device is being identified.
    bool isConnected(DeviceType type) const;

    /// The device's product identifier in normal mode; 0 if it is not known (yet).
    unsigned short pid(DeviceType type) const;

    /// The device's firmware version; empty if it is not known (yet).
    QString version(DeviceType type) const;

    /// A copy of the detector's record of the device; a default record (product identifier 0) if no device of
    /// kind @p type is connected.
    DeviceInstance deviceInstance(DeviceType type) const;

    /// The generation of the connected transmitter, such as "VYNT1"; empty if the generation is not known.
    QString deviceName() const;

Q_SIGNALS:
    /// The identification of a device has started.
    void deviceDetectionStarted();
    /// All identifications have ended.
    void deviceDetectionFinished();
    /// The identification of a device has ended. If it failed, pid() is 0 or version() is empty.
    void deviceArrived(DeviceType type);
    void deviceRemoved(DeviceType type);

private:
    DeviceControllerPrivate* d;
};
