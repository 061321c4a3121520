#pragma once

#include <memory>

#include <QCoreApplication>
#include <QObject>

#include "devicedetector.h"
#include "devicelistener.h"

/// The life of one detection after the other, for a receiver of its reports on the GUI thread.
class DetectionOwner : public QObject
{
public:
    using QObject::QObject;

    std::shared_ptr<DeviceDetector> detector; ///< null while no detection runs; an opened device shares it
    DeviceListener* listener = nullptr;       ///< of the detector

protected:
    /// Gives the detections to come a new listener, whose reports reach two slots of this object, queued.
    template <typename Receiver>
    void listen(void (Receiver::*arrived)(DeviceInstance*), void (Receiver::*removed)(DeviceInstance*))
    {
        auto* const receiver = static_cast<Receiver*>(this);
        delete listener;
        listener = new DeviceListener(this);
        connect(listener, &DeviceListener::deviceArrived, receiver, arrived);
        connect(listener, &DeviceListener::deviceRemoved, receiver, removed);
        // Queued behind the slot above: by then nothing refers to the record any more.
        connect(listener, &DeviceListener::deviceRemoved, this,
                [this](DeviceInstance* gone) { detector->forget(gone); });
    }

    /// One that cannot start is one without devices.
    void startDetector(const DeviceId* ids, unsigned int count)
    {
        detector = std::shared_ptr<DeviceDetector>(createDeviceDetector(), destroyDeviceDetector);
        static_cast<void>(detector->start(listener, ids, count));
    }

    /// Nothing that the detection reported reaches a slot any more.
    void endDetector()
    {
        if (!detector)
            return;
        detector->stop(); // itself, not only this reference to it
        detector.reset();
        // Reports that are still queued name records that are deleted now.
        QCoreApplication::removePostedEvents(this, QEvent::MetaCall);
    }
};
