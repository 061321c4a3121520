#pragma once

#include <QByteArray>
#include <QString>

#include "deviceinstance.h"

class SimulatedDevice;

/// How one device stands against the image that it was to get.
class Verdict
{
public:
    Verdict(DeviceType deviceType, SimulatedDevice& updatedDevice, QByteArray wantedImage);

    /// Notes the version in the device's memory as the one before the update.
    void begin();

    bool isEqual() const; ///< true too where the archive has no image for the device

    /// Such as "headset: 1.0.0 -> 1.2.3, 8192 bytes compared, equal, no error".
    /// @param errorCode  the updater's; 0 for success.
    QString text(int errorCode) const;

    /// What the protocol's fixed delays come to from the announced progress range to the end, in
    /// milliseconds.
    qint64 prescribedDelaysMs() const;

    int commits() const; ///< of a whole update

private:
    /// The place of the first byte that differs; the image's size where none does.
    int firstDifference() const;
    QString version() const;

    const DeviceType type;
    SimulatedDevice& device;
    const QByteArray image;
    QString versionBefore;
};
