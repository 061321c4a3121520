#pragma once

#include <QByteArray>
#include <QGroupBox>

#include "deviceinstance.h"

class MemoryMap;
class QComboBox;
class QLabel;
class QPushButton;
class QSpinBox;
class SimulatedDevice;

/// Shows a simulated device, plugs and unplugs it, and breaks it. GUI thread.
class DevicePanel : public QGroupBox
{
    Q_OBJECT

public:
    explicit DevicePanel(QWidget* parent = nullptr);

    void setDevice(DeviceType type, SimulatedDevice& simulatedDevice);

    /// Shows the device as it is now, against the @p image that it is to get.
    void refresh(const QByteArray& image);

private:
    void layOut();
    void toggleCable();
    void toggleFault();
    QString mode() const;
    QString faultState() const;

    QLabel* modeLabel;
    QLabel* versionLabel;
    QLabel* transfersLabel;
    QLabel* memoryLabel;
    MemoryMap* memoryMap;
    QComboBox* faultBox;
    QSpinBox* transferBox;
    QPushButton* faultButton;
    QLabel* faultLabel;
    QPushButton* cableButton;
    SimulatedDevice* device = nullptr;
    QString name;
    bool isFaultArmed = false;
};
