#pragma once

#include <memory>

#include <QByteArray>
#include <QGroupBox>

#include "deviceinstance.h"

class SimulatedDevice;

namespace Ui {
class DevicePanel;
}

/// Shows a simulated device, plugs and unplugs it, and breaks it. GUI thread.
class DevicePanel : public QGroupBox
{
    Q_OBJECT

public:
    explicit DevicePanel(QWidget* parent = nullptr);
    ~DevicePanel() override;

    void setDevice(DeviceType type, SimulatedDevice& simulatedDevice);

    /// Shows the device as it is now, against the @p image that it is to get.
    void refresh(const QByteArray& image);

private:
    void toggleCable();
    void toggleFault();
    QString mode() const;
    QString faultState() const;

    const std::unique_ptr<Ui::DevicePanel> ui;
    SimulatedDevice* device = nullptr;
    QString name;
    bool isFaultArmed = false;
};
