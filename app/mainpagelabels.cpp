#include "mainpagelabels.h"

#include <initializer_list>
#include <utility>

#include "compatibility.h"
#include "devicecontroller.h"
#include "firmwarecontroller.h"
#include "mainwindow.h"
#include "ui_mainwindow.h"
#include "utilities.h"

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

/// Says in words what the colour of @p label means, for users who cannot see the colour.
void setExplanation(QLabel* label, const QString& text)
{
    label->setToolTip(text);
    label->setAccessibleDescription(text);
}

/// Returns a list of lines: the title of @p box, then each heading with its value.
QStringList linesOf(const QGroupBox& box,
                    std::initializer_list<std::pair<const QLabel*, const QLabel*>> headingsAndValues)
{
    QStringList lines(box.title());
    for (const auto& [heading, value] : headingsAndValues)
        lines << heading->text() + QLatin1Char(' ') + value->text();
    return lines;
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
    ui.firmwareFileName->setText(firmwareController.fileBaseName());
    ui.releaseNotes->setPlainText(firmwareController.releaseNotes());
}

void MainPageLabels::showOutlook(const Compatibility& rules)
{
    showTargetVersion(DeviceType::Transmitter, rules);
    showTargetVersion(DeviceType::Headset, rules);
    showObstacle(rules);
    showDeviceName();
    describeUpdate();
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
    else if (isAnyInProgrammingMode())
        label->setText(MainWindow::tr("Last update was not completed. Please update again."));
    label->setVisible(!rules.isAnyConnected() || isAnyInProgrammingMode());
}

bool MainPageLabels::isAnyInProgrammingMode() const
{
    const auto isInProgrammingMode = [this](DeviceType type) {
        return deviceController.deviceInstance(type).vendorId == Utilities::programmingVendorId();
    };
    return isInProgrammingMode(DeviceType::Transmitter) || isInProgrammingMode(DeviceType::Headset);
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

void MainPageLabels::describeUpdate()
{
    QStringList lines;
    if (!ui.devicesErrorInfoLabel->isHidden())
        lines << ui.devicesErrorInfoLabel->text();
    lines << linesOf(*ui.devicesVersionBox,
                     {{ui.transmitterLabel, ui.transmitterVersion}, {ui.headsetLabel, ui.headsetVersion}});
    lines << linesOf(*ui.firmwareVersionsBox, {{ui.transmitterLabel_2, ui.transmitterFirmwareVersion},
                                               {ui.headsetLabel_2, ui.headsetFirmwareVersion}});
    const QString description = lines.join(QLatin1Char('\n'));
    ui.updateButton->setAccessibleDescription(description);
    ui.openFileButton->setAccessibleDescription(ui.firmwareFileName->text() + QLatin1Char('\n') +
                                                description);
}
