#pragma once

#include <atomic>
#include <memory>

#include <QFutureWatcher>
#include <QMap>
#include <QPair>

#include "detectionowner.h"
#include "devicecontroller.h"

class AbstractHidDevice;

struct ConnectedDevice
{
    DeviceInstance* instance = nullptr; ///< owned by the detector
    unsigned short pid = 0;             ///< 0 until known
    QString version;                    ///< empty until known
};

class DeviceControllerPrivate : public QObject
{
    Q_OBJECT

public:
    using IdentityWatcher = QFutureWatcher<QPair<QString, unsigned short>>;

    explicit DeviceControllerPrivate(DeviceController* controller);
    ~DeviceControllerPrivate() override;

    void startDetection();
    void stopDetection();

    DeviceController* q;
    QMap<DeviceType, ConnectedDevice> devices;
    QMap<IdentityWatcher*, DeviceType> pendingReads; ///< reads in progress whose results are still wanted

private Q_SLOTS:
    void onDeviceArrived(DeviceInstance* instance);
    void onDeviceRemoved(DeviceInstance* instance);
    void onDeviceVersionAndPidDetected();

private:
    void onDeviceHandleChanged(DeviceInstance* instance);
    QMap<DeviceType, ConnectedDevice>::iterator find(const DeviceInstance* instance);
    void identify(const DeviceInstance& instance, DeviceType type,
                  std::shared_ptr<AbstractHidDevice>&& device);
    void endRead(IdentityWatcher* watcher);
    void forgetEarlierDetection();

    DetectionOwner detection;
    std::shared_ptr<std::atomic<bool>> detectionEnded; ///< set to true to stop the reads
};
