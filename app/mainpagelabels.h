#pragma once

#include "deviceinstance.h"

class DeviceController;
class FirmwareController;
class QLabel;
struct Compatibility;

namespace Ui {
class MainWindowClass;
}

/// Sets the texts of the main page. Use it only on the GUI thread. The form and the controllers must
/// outlive the object.
class MainPageLabels
{
public:
    MainPageLabels(const Ui::MainWindowClass& form, const DeviceController& devices,
                   const FirmwareController& archive);

    /// Shows the version that the device of @p type runs, or that the version is unknown.
    void showCurrentVersion(DeviceType type);
    /// Shows that the device of @p type is disconnected. The label keeps its colour until the device
    /// arrives again.
    void showDisconnected(DeviceType type);
    /// Shows the archive's name and release notes.
    void showArchive();
    /// Shows which versions an update would write, and the transmitter's generation. Shows a hint if no
    /// device is connected, if a device is incompatible, or if a device's last update was not completed.
    void showOutlook(const Compatibility& rules);

private:
    QLabel* currentVersionLabel(DeviceType type) const;
    void showTargetVersion(DeviceType type, const Compatibility& rules);
    void showObstacle(const Compatibility& rules);
    bool isAnyInProgrammingMode() const;
    void showDeviceName();
    /// Puts the hint about the devices, and all versions, into the accessible descriptions of two buttons,
    /// Update and "Change...". When the page appears, "Change..." has the focus, so a screen reader reads
    /// the description.
    void describeUpdate();

    const Ui::MainWindowClass& ui;
    const DeviceController& deviceController;
    const FirmwareController& firmwareController;
};
