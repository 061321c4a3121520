#pragma once

#include <functional>
#include <memory>
#include <utility>

#include <QCoreApplication>
#include <QObject>

#include "devicedetector.h"
#include "devicelistener.h"

/// Runs detections one after the other and passes their reports to callbacks. Lives on the GUI thread and
/// calls the callbacks there.
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
                detector->forget(gone); // reports arrive in order, so all earlier ones have been handled
        });
    }
    ~DetectionOwner() override { stop(); }

    /// Starts a detection. If the detector cannot start, no devices are reported.
    void start(const DeviceId* ids, unsigned int count)
    {
        detector = std::shared_ptr<DeviceDetector>(createDeviceDetector(), destroyDeviceDetector);
        static_cast<void>(detector->start(&listener, ids, count));
    }

    /// Ends the detection. No report is passed on after that.
    void stop()
    {
        if (!detector)
            return;
        detector->stop(); // reset() may not stop it, because open devices also own the detector
        detector.reset();
        // Removes queued reports, because the records to which they point have been deleted.
        QCoreApplication::removePostedEvents(this, QEvent::MetaCall);
    }

    /// The detector of the running detection; null if none runs.
    const std::shared_ptr<DeviceDetector>& running() const { return detector; }

    DeviceListener* reports() { return &listener; }

private:
    std::shared_ptr<DeviceDetector> detector;
    DeviceListener listener{this};
};
