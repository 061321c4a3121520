#include "detectionowner.h"

#include <QCoreApplication>

void DetectionOwner::startDetector(const DeviceId* ids, unsigned int count)
{
    detector = std::shared_ptr<DeviceDetector>(createDeviceDetector(), destroyDeviceDetector);
    static_cast<void>(detector->start(listener, ids, count));
}

void DetectionOwner::endDetector()
{
    if (!detector)
        return;
    detector->stop(); // itself, not only this reference to it
    detector.reset();
    // Reports that are still queued name records that are deleted now.
    QCoreApplication::removePostedEvents(this, QEvent::MetaCall);
}
