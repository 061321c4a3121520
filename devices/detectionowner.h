#pragma once

#include <functional>
#include <memory>
#include <utility>

#include <QCoreApplication>
#include <QObject>

#include "devicedetector.h"
#include "devicelistener.h"

/// Runs one device detection at a time and passes the arrivals and removals to callbacks. Lives on the GUI
/// thread and calls the callbacks there.
class DetectionOwner : public QObject
{
public:
    using Report = std::function<void(DeviceInstance*)>;

    DetectionOwner(QObject* parent, const Report& arrived, const Report& removed)
        : QObject(parent)
    {
        connect(&listener, &DeviceListener::deviceArrived, this, arrived);
        connect(&listener, &DeviceListener::deviceRemoved, this, [this, removed](DeviceInstance* gone) {
            removed(gone);
            if (detector)
                detector->forget(gone); // reports come in order, so every earlier report has been handled
        });
    }
    ~DetectionOwner() override { stop(); }

    /// Starts a detection. If the detector cannot start, no devices are reported.
    void start(const DeviceId* ids, unsigned int count)
    {
        detector = std::shared_ptr<DeviceDetector>(createDeviceDetector(), destroyDeviceDetector);
        static_cast<void>(detector->start(&listener, ids, count));
    }

    /// Ends the detection. No callback is called after the return.
    void stop()
    {
        if (!detector)
            return;
        detector->stop(); // open devices also own the detector, so reset() might not stop it
        detector.reset();
        // Removes queued reports. They point to records that the detector has deleted.
        QCoreApplication::removePostedEvents(this, QEvent::MetaCall);
    }

    /// The detector of the running detection; null if no detection runs.
    const std::shared_ptr<DeviceDetector>& running() const { return detector; }

    DeviceListener* reports() { return &listener; }

private:
    std::shared_ptr<DeviceDetector> detector;
    DeviceListener listener{this};
};
