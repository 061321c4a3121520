#pragma once

#include <QObject>
#include <QString>

#include "deviceinstance.h"

class DeviceControllerPrivate;

/// The GUI thread's picture of the connected devices: at most one transmitter and one headset, each with
/// the product identifier and the firmware version that were read out of its memory. All operations are
/// called on the GUI thread.
class DeviceController : public QObject
{
    Q_OBJECT

public:
    explicit DeviceController(QObject* parent);

    /// Starts detection unless it runs. Every device that is present is reported.
    void startDetection();

    /// Forgets all devices, without reporting their removal, and ends detection. It waits for a transfer in
    /// progress; when it returns, no device is open any more. An identification that it cuts short is still
    /// reported as an arrival; such a device has no record.
    void stopDetection();

    /// Whether a device of the kind is connected; true already while it is being identified.
    bool isConnected(DeviceType type) const;

    /// One of the normal-mode product identifiers; 0 if it is not known (yet).
    unsigned short pid(DeviceType type) const;

    /// Empty if it is not known (yet).
    QString version(DeviceType type) const;

    /// A copy of the detector's record; a default one (product identifier 0) if no such device is connected.
    DeviceInstance deviceInstance(DeviceType type) const;

    /// The generation of the connected transmitter, such as "VYNT1"; empty if it is not known.
    QString deviceName() const;

Q_SIGNALS:
    /// A device is being identified.
    void deviceDetectionStarted();
    /// No device is being identified any more.
    void deviceDetectionFinished();
    /// A device was identified, or could not be; then pid() is 0 or version() is empty.
    void deviceArrived(DeviceType type);
    void deviceRemoved(DeviceType type);

private:
    DeviceControllerPrivate* d;
};
