#pragma once

#include <memory>

#include <QFutureWatcher>
#include <QMap>
#include <QPair>

#include "devicecontroller.h"
#include "devicelistener.h"

class AbstractHidDevice;
class DeviceDetector;

struct ConnectedDevice
{
    DeviceInstance* instance = nullptr; ///< borrowed from the detector
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
    std::shared_ptr<DeviceDetector> detector;
    DeviceListener* listener;
    QMap<DeviceType, ConnectedDevice> devices;
    QMap<IdentityWatcher*, DeviceType> pendingReads;

private Q_SLOTS:
    void onDeviceArrived(DeviceInstance* instance);
    void onDeviceRemoved(DeviceInstance* instance);
    void onDeviceVersionAndPidDetected();

private:
    void identify(const DeviceInstance& instance, DeviceType type,
                  const std::shared_ptr<AbstractHidDevice>& device);
    void endRead(IdentityWatcher* watcher);
    void endDetection();
};
