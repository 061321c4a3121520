#include "mainwindow.h"

#include <algorithm>

#include <QFileDialog>
#include <QMessageBox>
#include <QProgressBar>

#include "devicecontroller.h"
#include "firmwarecontroller.h"
#include "flashingdialog.h"
#include "infoscreen.h"
#include "systemmenuitems.h"
#include "ui_mainwindow.h"

namespace {

constexpr int questionAccepted = 0;
constexpr int questionRejected = 1;

constexpr Qt::WindowFlags mainWindowFlags = Qt::Window | Qt::MSWindowsFixedSizeDialogHint |
                                            Qt::WindowSystemMenuHint | Qt::WindowMinimizeButtonHint |
                                            Qt::CustomizeWindowHint | Qt::WindowCloseButtonHint;
constexpr Qt::WindowFlags questionFlags =
    Qt::Dialog | Qt::MSWindowsFixedSizeDialogHint | Qt::WindowTitleHint | Qt::CustomizeWindowHint;
constexpr Qt::WindowFlags aboutFlags = Qt::Dialog | Qt::MSWindowsFixedSizeDialogHint;

constexpr QSize aboutIconSize(64, 64);

QString unverifiedStyle()
{
    return QStringLiteral("QLabel{color: #E9AB17;}");
}

QString incompatibleStyle()
{
    return QStringLiteral("QLabel{color: crimson;}");
}

/// Amber does not stand out from a light desktop nor crimson from a dark one, so labels in these colours get
/// a ground of their own.
QString statusGroundStyle()
{
    return QStringLiteral(
               "QLabel[styleSheet=\"%1\"]{background: #3a3f44; border-radius: 3px; padding: 0 3px;}"
               "QLabel[styleSheet=\"%2\"]{background: #fdf3f4; border-radius: 3px; padding: 0 3px;}")
        .arg(unverifiedStyle(), incompatibleStyle());
}

QString logoPath()
{
    return QStringLiteral(":/Resources/MarovexLogo.png");
}

QString lines(std::initializer_list<QString> texts)
{
    return QStringList(texts).join(QLatin1Char('\n'));
}

/// A page without a parent is nobody else's; the central one is deleted by the window.
void deleteUnlessOwnedByWidget(QWidget* page)
{
    if (!page->parent())
        delete page;
}

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

MainWindow::MainWindow(QWidget* parent)
    : QMainWindow(parent, mainWindowFlags)
    , ui(std::make_unique<Ui::MainWindowClass>())
    , deviceController(new DeviceController(this))
    , firmwareController(new FirmwareController(this))
{
    ui->setupUi(this);
    ui->centralWidget->setStyleSheet(statusGroundStyle());
    setFixedSize(size());
    SystemMenuItems::add(*this, tr("Override"), tr("About..."));

    createInfoScreen();
    mainPage = std::shared_ptr<QWidget>(centralWidget(), deleteUnlessOwnedByWidget);
    createBusyIndicator();

    connect(firmwareController, &FirmwareController::loadedSuccessfully, this,
            &MainWindow::onFirmwareLoadedSuccessfully);
    connect(firmwareController, &FirmwareController::loadingFailed, this,
            &MainWindow::onFirmwareLoadingFailed);
    connect(deviceController, &DeviceController::deviceArrived, this, &MainWindow::onDeviceArrived);
    connect(deviceController, &DeviceController::deviceRemoved, this, &MainWindow::onDeviceRemoved);

    showStartScreen();
    deviceController->startDetection();
}

MainWindow::~MainWindow() = default;

void MainWindow::createInfoScreen()
{
    infoScreen = std::shared_ptr<InfoScreen>(new InfoScreen, deleteUnlessOwnedByWidget);
    infoScreen->resize(size());
    connect(infoScreen->closeButton(), &QPushButton::clicked, this, &MainWindow::close);
    connect(infoScreen->backButton(), &QPushButton::clicked, this, &MainWindow::leaveFailureReport);
}

void MainWindow::createBusyIndicator()
{
    auto* const busyIndicator = new QProgressBar;
    busyIndicator->setRange(0, 0);
    busyIndicator->setAccessibleName(tr("Detecting device..."));
    QSizePolicy policy = busyIndicator->sizePolicy();
    policy.setVerticalPolicy(QSizePolicy::Maximum);
    busyIndicator->setSizePolicy(policy);
    ui->statusBar->addPermanentWidget(busyIndicator);
    busyIndicator->hide();

    connect(deviceController, &DeviceController::deviceDetectionStarted, busyIndicator,
            [this, busyIndicator] {
                busyIndicator->show();
                ui->statusBar->showMessage(tr("Detecting device..."));
            });
    connect(deviceController, &DeviceController::deviceDetectionFinished, busyIndicator,
            [this, busyIndicator] {
                busyIndicator->hide();
                ui->statusBar->clearMessage();
            });
}

void MainWindow::setFirmwareFilePath(const QString& path)
{
    if (!path.isEmpty())
        firmwareController->setFilePath(path);
}

bool MainWindow::nativeEvent(const QByteArray& eventType, void* message, long* result)
{
    switch (SystemMenuItems::commandOf(eventType, message)) {
    case SystemMenuItems::About:
        *result = 0;
        showAbout();
        return true;
    case SystemMenuItems::Override:
        *result = 0;
        enableOverrideMode();
        return true;
    default:
        return QMainWindow::nativeEvent(eventType, message, result);
    }
}

// ---- Compatibility
// ----------------------------------------------------------------------------------------------

bool MainWindow::isIncompatible(DeviceType type) const
{
    const unsigned short devicePid = deviceController->pid(type);
    const unsigned short imagePid = firmwareController->pid(type);
    return deviceController->isConnected(type) && imagePid != 0 && devicePid != 0 && devicePid != imagePid;
}

bool MainWindow::canBeUpdated(DeviceType type) const
{
    const unsigned short devicePid = deviceController->pid(type);
    return deviceController->isConnected(type) &&
           (devicePid == 0 || devicePid == firmwareController->pid(type)) &&
           !firmwareController->firmware(type).isEmpty();
}

bool MainWindow::isIdentityUnknown(DeviceType type) const
{
    return deviceController->isConnected(type) && deviceController->pid(type) == 0;
}

bool MainWindow::isAnyIdentityUnknown() const
{
    return isIdentityUnknown(DeviceType::Transmitter) || isIdentityUnknown(DeviceType::Headset);
}

bool MainWindow::areBothConnected() const
{
    return deviceController->isConnected(DeviceType::Transmitter) &&
           deviceController->isConnected(DeviceType::Headset);
}

// ---- Main page
// --------------------------------------------------------------------------------------------------

QLabel* MainWindow::currentVersionLabel(DeviceType type) const
{
    return type == DeviceType::Transmitter ? ui->transmitterVersion : ui->headsetVersion;
}

QLabel* MainWindow::targetVersionLabel(DeviceType type) const
{
    return type == DeviceType::Transmitter ? ui->transmitterFirmwareVersion : ui->headsetFirmwareVersion;
}

void MainWindow::refresh()
{
    refreshTargetVersion(DeviceType::Transmitter);
    refreshTargetVersion(DeviceType::Headset);

    const bool anyIncompatible =
        isIncompatible(DeviceType::Transmitter) || isIncompatible(DeviceType::Headset);
    const bool anyUpdatable = canBeUpdated(DeviceType::Transmitter) || canBeUpdated(DeviceType::Headset);
    ui->updateButton->setEnabled(!anyIncompatible && anyUpdatable);
    refreshConnectionError(anyIncompatible);
    refreshDeviceName();

    if (!infoScreenLocked)
        showMainPageOrStartScreen();
}

void MainWindow::refreshTargetVersion(DeviceType type)
{
    if (isIncompatible(type))
        return;
    QLabel* const label = targetVersionLabel(type);
    const QString version = firmwareController->version(type);
    const bool willBeWritten = !version.isEmpty() && deviceController->isConnected(type);
    const bool unverified = willBeWritten && isIdentityUnknown(type);

    label->setStyleSheet(unverified ? unverifiedStyle() : QString());
    setExplanation(label, unverified
                              ? tr("Cannot determine if firmware is compatible with the connected device.")
                              : QString());
    showVersion(label, willBeWritten ? version : tr("No change"), !willBeWritten);
}

void MainWindow::refreshConnectionError(bool anyIncompatible)
{
    QLabel* const label = ui->devicesErrorInfoLabel;
    if (anyIncompatible) {
        label->setText(tr("Incompatible with current file"));
        label->show();
        for (QLabel* const version : {ui->transmitterFirmwareVersion, ui->headsetFirmwareVersion}) {
            version->setStyleSheet(incompatibleStyle());
            setExplanation(version, QString());
            showVersion(version, tr("Incompatible"), true);
        }
        return;
    }
    const bool noneConnected = !deviceController->isConnected(DeviceType::Transmitter) &&
                               !deviceController->isConnected(DeviceType::Headset);
    if (noneConnected)
        label->setText(tr("Please connect devices"));
    label->setVisible(noneConnected);
}

void MainWindow::refreshDeviceName()
{
    QLabel* const label = ui->connectedDeviceNameLabel;
    const QString name = deviceController->deviceName();
    const bool unknownDevice = name.isEmpty() && deviceController->isConnected(DeviceType::Transmitter);
    label->setStyleSheet(unknownDevice ? unverifiedStyle() : QString());
    if (!name.isEmpty())
        label->setText(name);
    else
        label->setText(unknownDevice ? tr("Unknown device") : tr("(NONE)"));
}

void MainWindow::onDeviceArrived(DeviceType type)
{
    QLabel* const label = currentVersionLabel(type);
    const QString version = deviceController->version(type);
    label->setStyleSheet(version.isEmpty() ? unverifiedStyle() : QString());
    showVersion(label, version.isEmpty() ? tr("Unknown version") : version, false);
    refresh();
}

void MainWindow::onDeviceRemoved(DeviceType type)
{
    showDisconnected(type);
    refresh();
}

void MainWindow::showDisconnected(DeviceType type)
{
    showVersion(currentVersionLabel(type), tr("Disconnected"), true);
}

void MainWindow::onFirmwareLoadedSuccessfully()
{
    refreshFirmwareRows();
}

void MainWindow::onFirmwareLoadingFailed()
{
    refreshFirmwareRows();
    QMessageBox box(QMessageBox::Warning, tr("Error while loading firmware"),
                    tr("Firmware cannot be loaded. File may be corrupted or not supported.\n"
                       "Try to download it once again."),
                    QMessageBox::NoButton, this);
    box.exec();
}

void MainWindow::refreshFirmwareRows()
{
    const QString name = firmwareController->fileBaseName();
    ui->firmwareFileName->setText(name);
    ui->firmwareFileName->setToolTip(name);
    ui->openFileButton->setAccessibleDescription(name);
    ui->releaseNotes->setPlainText(firmwareController->releaseNotes());
    refresh();
}

void MainWindow::on_openFileButton_clicked()
{
    setFirmwareFilePath(QFileDialog::getOpenFileName(
        this, tr("Open File"), QString(), tr("Firmware archives %1").arg(QStringLiteral("(*.zip)"))));
}

// ---- Update
// -----------------------------------------------------------------------------------------------------

int MainWindow::askQuestion(const QString& title, const QString& text, const QString& informativeText,
                            const QString& acceptText, const QString& rejectText)
{
    QMessageBox box(QMessageBox::Warning, title, text, QMessageBox::NoButton, this);
    box.setWindowFlags(questionFlags); // the constructor would add a close button
    box.setInformativeText(informativeText);
    if (acceptText.isEmpty() || rejectText.isEmpty())
        return box.exec();

    QPushButton* const acceptButton = box.addButton(acceptText, QMessageBox::AcceptRole);
    box.addButton(rejectText, QMessageBox::RejectRole);
    box.setDefaultButton(acceptButton);
    box.exec();
    return box.clickedButton() == acceptButton ? questionAccepted : questionRejected;
}

bool MainWindow::confirmUnknownIdentity()
{
    return askQuestion(
               tr("Warning"), tr("Cannot determine if firmware is compatible with the connected device."),
               tr("If you choose to proceed, please make sure you are using the correct firmware file."),
               tr("Update"), tr("Do not update")) == questionAccepted;
}

bool MainWindow::confirmSingleDevice()
{
    return askQuestion(tr("Warning"), tr("Only one device can be updated right now."),
                       tr("Do you want proceed?"), tr("Proceed and update one device"),
                       tr("Do not update")) == questionAccepted;
}

bool MainWindow::addToUpdate(FlashingDialog& dialog, DeviceType type) const
{
    return canBeUpdated(type) && dialog.addDeviceToUpdate(deviceController->deviceInstance(type),
                                                          firmwareController->firmware(type), type);
}

void MainWindow::on_updateButton_clicked()
{
    const bool unknownIdentity = isAnyIdentityUnknown();
    if (unknownIdentity && !confirmUnknownIdentity())
        return;
    const bool bothCanBeUpdated = canBeUpdated(DeviceType::Transmitter) && canBeUpdated(DeviceType::Headset);
    if (!bothCanBeUpdated && !confirmSingleDevice())
        return;

    FlashingDialog dialog(this);
    const bool transmitterAdded = addToUpdate(dialog, DeviceType::Transmitter);
    const bool headsetAdded = addToUpdate(dialog, DeviceType::Headset);
    // Devices come and go while a question is open. One of unknown identity must not slip in unasked.
    const bool unaskedIdentity = isAnyIdentityUnknown() && !unknownIdentity;
    if (!ui->updateButton->isEnabled() || unaskedIdentity || !(transmitterAdded || headsetAdded))
        return;

    deviceController->stopDetection();
    dialog.start();
    if (dialog.exec() == QDialog::Accepted) {
        showPairingInstructions();
        return;
    }
    deviceController->startDetection();
    showFailureReport(dialog.errors());
}

// ---- Screens
// ----------------------------------------------------------------------------------------------------

void MainWindow::setCentralPage(QWidget* page)
{
    if (centralWidget() == page)
        return;
    takeCentralWidget()->hide();
    setCentralWidget(page);
}

void MainWindow::showMainPageOrStartScreen()
{
    if (overrideMode || areBothConnected())
        showMainPage();
    else
        showStartScreen();
}

void MainWindow::showMainPage()
{
    const bool pageChanges = centralWidget() != mainPage.get();
    setCentralPage(mainPage.get());
    ui->statusBar->show();
    centralWidget()->show();
    if (pageChanges)
        ui->openFileButton->setFocus();
}

void MainWindow::showInfoScreen(const QString& deviceName, const QString& text, const QString& imagePath)
{
    setCentralPage(infoScreen.get());
    infoScreen->backButton()->hide();
    infoScreen->closeButton()->hide();
    infoScreen->setDeviceName(deviceName);
    infoScreen->setText(text);
    infoScreen->setImage(imagePath);
    ui->statusBar->hide();
    centralWidget()->show();
}

void MainWindow::showGenerationScreen(const QString& text, const QString& imagePattern)
{
    const QString generation = firmwareController->deviceTypeName();
    if (generation.isEmpty())
        showInfoScreen(tr("Unknown"), text, QString());
    else
        showInfoScreen(generation, text, imagePattern.arg(generation));
}

void MainWindow::showStartScreen()
{
    showGenerationScreen(
        tr("No device detected. Connect your headset and transmitter to two separate USB ports "
           "on your computer."),
        QStringLiteral(":/images/%1-startscreen.png"));
}

void MainWindow::showPairingInstructions()
{
    const QString instructions = lines(
        {tr("Success! Please pair devices."), QString(), QString(), tr("Pairing Instructions"),
         tr("1. Make sure your transmitter and headset are powered on."),
         tr("2. Press and hold the Power/Pairing buttons on both Transmitter and Headset for 3 seconds until "
            "LEDs begin to flash."),
         tr("3. Once pairing is successful, Power/Pairing LEDs will stop flashing and turn solid.")});
    showGenerationScreen(instructions, QStringLiteral(":/images/%1-pairinginstructions.png"));
    infoScreen->closeButton()->show();
    infoScreen->closeButton()->setFocus();
    infoScreenLocked = true;
}

void MainWindow::showFailureReport(const QMap<DeviceType, int>& errors)
{
    QString reason;
    if (std::any_of(errors.cbegin(), errors.cend(), FlashingDialog::isConnectionFailure)) {
        reason =
            tr("One or both of your devices have been disconnected. Please reconnect your devices to restart "
               "the firmware update process.");
    } else {
        QStringList entries;
        for (auto error = errors.cbegin(); error != errors.cend(); ++error)
            entries << QStringLiteral(" %1/%2").arg(error.key()).arg(error.value());
        reason = tr("Error code:") + entries.join(QLatin1Char(',')) + QLatin1Char('.');
    }

    showInfoScreen(firmwareController->deviceTypeName(),
                   lines({tr("Update was unsuccessful."), reason, QString()}), QString());
    infoScreen->closeButton()->show();
    infoScreen->backButton()->show();
    infoScreen->backButton()->setFocus();
    infoScreenLocked = true;
}

void MainWindow::leaveFailureReport()
{
    infoScreenLocked = false;
    showMainPageOrStartScreen();
    for (const DeviceType type : {DeviceType::Transmitter, DeviceType::Headset}) {
        if (!deviceController->isConnected(type)) {
            showDisconnected(type);
            refresh();
        }
    }
    refresh();
}

void MainWindow::enableOverrideMode()
{
    overrideMode = true;
    if (!infoScreenLocked)
        showMainPage();
}

void MainWindow::showAbout()
{
    const QIcon logo(logoPath());
    auto* const box = new QMessageBox(QMessageBox::Information, tr("About"),
                                      tr("\n%1\nVersion %2\n").arg(windowTitle(), QStringLiteral("1.0.36")),
                                      QMessageBox::NoButton, this, aboutFlags);
    box->setAttribute(Qt::WA_DeleteOnClose);
    box->setIconPixmap(logo.pixmap(logo.actualSize(aboutIconSize)));
    box->exec();
}
