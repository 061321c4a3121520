#pragma once

#include "deviceinstance.h"

class DeviceController;
class FirmwareController;
class QLabel;
struct Compatibility;

namespace Ui {
class MainWindowClass;
}

/// Writes the labels of the main page. GUI thread only; form and controllers must outlive the object.
class MainPageLabels
{
public:
    MainPageLabels(const Ui::MainWindowClass& form, const DeviceController& devices,
                   const FirmwareController& archive);

    /// Shows the version that the device of @p type runs, or that the version is unknown.
    void showCurrentVersion(DeviceType type);
    /// Shows that the device of @p type is gone. The label keeps its colour until the device arrives again.
    void showDisconnected(DeviceType type);
    /// Shows the archive's name and release notes.
    void showArchive();
    /// Shows which versions an update would write under @p rules, what prevents an update, and the device's
    /// name.
    void showOutlook(const Compatibility& rules);

private:
    QLabel* currentVersionLabel(DeviceType type) const;
    void showTargetVersion(DeviceType type, const Compatibility& rules);
    void showObstacle(const Compatibility& rules);
    bool isAnyInProgrammingMode() const;
    void showDeviceName();
    /// Puts the versions, and what prevents an update, into the accessible descriptions of two buttons:
    /// Update, and "Change...", which has the focus when the page appears.
    void describeUpdate();

    const Ui::MainWindowClass& ui;
    const DeviceController& deviceController;
    const FirmwareController& firmwareController;
};
