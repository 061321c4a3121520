#pragma once

#include <cstddef>

#include <QObject>

#include "devicedetectorlistener.h"

/// Emits a detector's reports as Qt signals, on the detector's threads. Receivers on the GUI thread get the
/// signals through the event queue, in the order of the reports. `size_t` is not a registered meta-type, so
/// deviceEnumerationComplete can only be connected directly.
class DeviceListener : public QObject, public DeviceDetectorListener
{
    Q_OBJECT

public:
    using QObject::QObject;

Q_SIGNALS:
    void deviceArrived(DeviceInstance* instance) override;
    void deviceRemoved(DeviceInstance* instance) override;
    void deviceHandleChanged(DeviceInstance* instance, void* oldHandle, void* newHandle) override;
    void deviceEnumerationComplete(size_t count) override; ///< no slot is connected to it
};
