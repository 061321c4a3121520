#pragma once

#include "deviceinstance.h"

class DeviceController;
class FirmwareController;
class QLabel;
struct Compatibility;

namespace Ui {
class MainWindowClass;
}

/// What the labels of the main page say about the connected devices and the archive. GUI thread only; form
/// and controllers outlive the object.
class MainPageLabels
{
public:
    MainPageLabels(const Ui::MainWindowClass& form, const DeviceController& devices,
                   const FirmwareController& archive);

    /// Shows the version that the device of @p type runs, or that it cannot be read.
    void showCurrentVersion(DeviceType type);
    /// Shows that the device of @p type is gone; a colour of its label stays until the next arrival.
    void showDisconnected(DeviceType type);
    /// Shows the archive's name and release notes.
    void showArchive();
    /// Shows what an update would do by the rules @p rules, and what prevents it.
    void showOutlook(const Compatibility& rules);

private:
    QLabel* currentVersionLabel(DeviceType type) const;
    void showTargetVersion(DeviceType type, const Compatibility& rules);
    void showObstacle(const Compatibility& rules);
    bool isAnyInProgrammingMode() const;
    void showDeviceName();
    /// Lets a screen reader read the outlook with Update, and with the button that has the focus when the
    /// page appears.
    void describeUpdate();

    const Ui::MainWindowClass& ui;
    const DeviceController& deviceController;
    const FirmwareController& firmwareController;
};
