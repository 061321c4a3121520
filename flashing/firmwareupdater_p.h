#pragma once

#include <memory>

#include <QThread>
#include <QTimer>

#include "detectionowner.h"
#include "firmwareupdater.h"

class AbstractHidDevice;
class Flasher;

class FirmwareUpdaterPrivate : public QObject
{
    Q_OBJECT

public:
    FirmwareUpdaterPrivate(FirmwareUpdater* updater, const DeviceInstance& instance, DeviceType deviceType,
                           const QByteArray& image);
    ~FirmwareUpdaterPrivate() override;

    void flashDevice();

    FirmwareUpdater* q;
    bool failed = false; ///< the update was given up; later arrivals are ignored
    std::unique_ptr<Flasher> flasher;
    QThread thread;
    DeviceInstance* flashingDevice = nullptr; ///< last reported device in programming mode; not owned
    DeviceType type;
    QByteArray firmware;
    DeviceInstance device;
    QTimer timer;

Q_SIGNALS:
    void start(QByteArray firmware, int nvmemType);

private Q_SLOTS:
    void flashingDeviceArrived(DeviceInstance* deviceInstance);
    void flashingDeviceRemoved(DeviceInstance* deviceInstance);

private:
    void startDetection();
    void leaveApplication(const std::shared_ptr<AbstractHidDevice>& hid);
    void startFlasher(const std::shared_ptr<AbstractHidDevice>& hid);
    void giveUp();

    DetectionOwner detection; ///< detects the device in programming mode
};
