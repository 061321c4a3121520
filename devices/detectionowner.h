#pragma once

#include <functional>
#include <memory>
#include <utility>

#include <QCoreApplication>
#include <QObject>

#include "devicedetector.h"
#include "devicelistener.h"

/// Runs one detection after the other and passes its reports on. Lives on the GUI thread, as do the
/// callbacks.
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
                detector->forget(gone); // every report before it has been handled
        });
    }
    ~DetectionOwner() override { stop(); }

    /// Reports nothing if the detector cannot start.
    void start(const DeviceId* ids, unsigned int count)
    {
        detector = std::shared_ptr<DeviceDetector>(createDeviceDetector(), destroyDeviceDetector);
        static_cast<void>(detector->start(&listener, ids, count));
    }

    /// No report is passed on any more.
    void stop()
    {
        if (!detector)
            return;
        detector->stop(); // explicitly, because opened devices share it
        detector.reset();
        // Reports that are still queued name records that are deleted now.
        QCoreApplication::removePostedEvents(this, QEvent::MetaCall);
    }

    /// Null unless a detection runs.
    const std::shared_ptr<DeviceDetector>& running() const { return detector; }

    DeviceListener* reports() { return &listener; }

private:
    std::shared_ptr<DeviceDetector> detector;
    DeviceListener listener{this};
};
