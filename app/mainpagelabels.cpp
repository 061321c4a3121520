#include "mainpagelabels.h"

#include "compatibility.h"
#include "devicecontroller.h"
#include "firmwarecontroller.h"
#include "mainwindow.h"
#include "ui_mainwindow.h"

namespace {

const QLatin1String unverifiedStyle("QLabel{color: #E9AB17;}");
const QLatin1String incompatibleStyle("QLabel{color: crimson;}");

void showVersion(QLabel* label, const QString& text, bool italic)
{
    QFont font = label->font();
    font.setItalic(italic);
    label->setFont(font);
    label->setText(text);
}

/// What the label's colour says, for those who do not see it.
void setExplanation(QLabel* label, const QString& text)
{
    label->setToolTip(text);
    label->setAccessibleDescription(text);
}

} // namespace

MainPageLabels::MainPageLabels(const Ui::MainWindowClass& form, const DeviceController& devices,
                               const FirmwareController& archive)
    : ui(form)
    , deviceController(devices)
    , firmwareController(archive)
{
}

void MainPageLabels::showCurrentVersion(DeviceType type)
{
    QLabel* const label = currentVersionLabel(type);
    const QString version = deviceController.version(type);
    label->setStyleSheet(version.isEmpty() ? unverifiedStyle : QString());
    showVersion(label, version.isEmpty() ? MainWindow::tr("Unknown version") : version, false);
}

void MainPageLabels::showDisconnected(DeviceType type)
{
    showVersion(currentVersionLabel(type), MainWindow::tr("Disconnected"), true);
}

void MainPageLabels::showArchive()
{
    const QString name = firmwareController.fileBaseName();
    ui.firmwareFileName->setText(name);
    ui.firmwareFileName->setToolTip(name);
    ui.openFileButton->setAccessibleDescription(name);
    ui.releaseNotes->setPlainText(firmwareController.releaseNotes());
}

void MainPageLabels::showOutlook(const Compatibility& rules)
{
    showTargetVersion(DeviceType::Transmitter, rules);
    showTargetVersion(DeviceType::Headset, rules);
    showObstacle(rules);
    showDeviceName();
}

QLabel* MainPageLabels::currentVersionLabel(DeviceType type) const
{
    return type == DeviceType::Transmitter ? ui.transmitterVersion : ui.headsetVersion;
}

void MainPageLabels::showTargetVersion(DeviceType type, const Compatibility& rules)
{
    if (rules.of(type).isIncompatible())
        return;
    QLabel* const label =
        type == DeviceType::Transmitter ? ui.transmitterFirmwareVersion : ui.headsetFirmwareVersion;
    const QString version = firmwareController.version(type);
    const bool willBeWritten = !version.isEmpty() && deviceController.isConnected(type);
    const bool unverified = willBeWritten && rules.of(type).isIdentityUnknown();

    label->setStyleSheet(unverified ? unverifiedStyle : QString());
    setExplanation(
        label, unverified
                   ? MainWindow::tr("Cannot determine if firmware is compatible with the connected device.")
                   : QString());
    showVersion(label, willBeWritten ? version : MainWindow::tr("No change"), !willBeWritten);
}

void MainPageLabels::showObstacle(const Compatibility& rules)
{
    QLabel* const label = ui.devicesErrorInfoLabel;
    if (rules.isAnyIncompatible()) {
        label->setText(MainWindow::tr("Incompatible with current file"));
        label->show();
        for (QLabel* const version : {ui.transmitterFirmwareVersion, ui.headsetFirmwareVersion}) {
            version->setStyleSheet(incompatibleStyle);
            setExplanation(version, QString());
            showVersion(version, MainWindow::tr("Incompatible"), true);
        }
        return;
    }
    if (!rules.isAnyConnected())
        label->setText(MainWindow::tr("Please connect devices"));
    label->setVisible(!rules.isAnyConnected());
}

void MainPageLabels::showDeviceName()
{
    QLabel* const label = ui.connectedDeviceNameLabel;
    const QString name = deviceController.deviceName();
    const bool unknownDevice = name.isEmpty() && deviceController.isConnected(DeviceType::Transmitter);
    label->setStyleSheet(unknownDevice ? unverifiedStyle : QString());
    if (!name.isEmpty())
        label->setText(name);
    else
        label->setText(unknownDevice ? MainWindow::tr("Unknown device") : MainWindow::tr("(NONE)"));
}
