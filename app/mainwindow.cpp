#include "mainwindow.h"

#include <algorithm>

#include <QApplication>
#include <QFileDialog>
#include <QProgressBar>

#include "compatibility.h"
#include "devicecontroller.h"
#include "firmwarecontroller.h"
#include "flashingdialog.h"
#include "flashingerror.h"
#include "infoscreen.h"
#include "keyguard.h"
#include "mainpagelabels.h"
#include "messageboxes.h"
#include "plaintext.h"
#include "systemmenuitems.h"
#include "ui_mainwindow.h"

namespace {

constexpr Qt::WindowFlags mainWindowFlags = Qt::Window | Qt::MSWindowsFixedSizeDialogHint |
                                            Qt::WindowSystemMenuHint | Qt::WindowMinimizeButtonHint |
                                            Qt::CustomizeWindowHint | Qt::WindowCloseButtonHint;
QString lines(std::initializer_list<QString> texts)
{
    return QStringList(texts).join(QLatin1Char('\n'));
}

/// Deletes @p page if it has no parent. The window deletes its central page itself.
void deleteUnlessOwnedByWidget(QWidget* page)
{
    if (!page->parent())
        delete page;
}

} // namespace

MainWindow::MainWindow(QWidget* parent)
    : QMainWindow(parent, mainWindowFlags)
    , ui(std::make_unique<Ui::MainWindowClass>())
    , deviceController(new DeviceController(this))
    , firmwareController(new FirmwareController(this))
    , labels(std::make_unique<MainPageLabels>(*ui, *deviceController, *firmwareController))
    , keyGuard(new KeyGuard(this))
{
    ui->setupUi(this);
    showAsPlainText(*this);
    setFixedSize(size());
    SystemMenuItems::add(*this, tr("Override"), tr("About..."));

    infoScreen = std::shared_ptr<InfoScreen>(new InfoScreen, deleteUnlessOwnedByWidget);
    infoScreen->resize(size());
    connect(infoScreen->closeButton(), &QPushButton::clicked, this, &MainWindow::close);
    connect(infoScreen->backButton(), &QPushButton::clicked, this, &MainWindow::leaveFailureReport);
    mainPage = std::shared_ptr<QWidget>(centralWidget(), deleteUnlessOwnedByWidget);
    createBusyIndicator();

    connect(firmwareController, &FirmwareController::loadedSuccessfully, this,
            &MainWindow::onFirmwareLoadedSuccessfully);
    connect(firmwareController, &FirmwareController::loadingFailed, this,
            &MainWindow::onFirmwareLoadingFailed);
    connect(deviceController, &DeviceController::deviceArrived, this, &MainWindow::onDeviceArrived);
    connect(deviceController, &DeviceController::deviceRemoved, this, &MainWindow::onDeviceRemoved);

    refreshMainPage();
    showStartScreen();
    deviceController->startDetection();
}

MainWindow::~MainWindow() = default;

void MainWindow::createBusyIndicator()
{
    auto* const busyIndicator = new QProgressBar;
    busyIndicator->setRange(0, 0);
    busyIndicator->setAccessibleName(tr("Detecting device..."));
    busyIndicator->setSizePolicy(busyIndicator->sizePolicy().horizontalPolicy(), QSizePolicy::Maximum);
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

Compatibility MainWindow::compatibility() const
{
    const auto candidate = [this](DeviceType type) {
        return UpdateCandidate{deviceController->isConnected(type), deviceController->pid(type),
                               firmwareController->pid(type), !firmwareController->firmware(type).isEmpty()};
    };
    return {candidate(DeviceType::Transmitter), candidate(DeviceType::Headset)};
}

void MainWindow::refreshMainPage()
{
    const Compatibility rules = compatibility();
    labels->showOutlook(rules);
    ui->updateButton->setEnabled(rules.isUpdateOffered());
}

void MainWindow::refresh()
{
    refreshMainPage();
    if (!infoScreenLocked)
        showMainPageOrStartScreen();
}

void MainWindow::onDeviceArrived(DeviceType type)
{
    labels->showCurrentVersion(type);
    refresh();
}

void MainWindow::onDeviceRemoved(DeviceType type)
{
    labels->showDisconnected(type);
    refresh();
}

void MainWindow::onFirmwareLoadedSuccessfully()
{
    labels->showArchive();
    refresh();
}

void MainWindow::onFirmwareLoadingFailed()
{
    onFirmwareLoadedSuccessfully(); // shows that no archive is loaded
    MessageBoxes::reportLoadingFailure(this);
}

void MainWindow::on_openFileButton_clicked()
{
    setFirmwareFilePath(QFileDialog::getOpenFileName(
        this, tr("Open File"), QString(), tr("Firmware archives %1").arg(QStringLiteral("(*.zip)"))));
}

bool MainWindow::confirmUnknownIdentities(std::set<DeviceType>& confirmed)
{
    for (;;) {
        const std::set<DeviceType> unknown = compatibility().unknownIdentities();
        if (std::includes(confirmed.cbegin(), confirmed.cend(), unknown.cbegin(), unknown.cend()))
            return true;
        if (!MessageBoxes::confirmUnknownIdentity(this))
            return false;
        confirmed.insert(unknown.cbegin(), unknown.cend());
    }
}

bool MainWindow::isUpdateConfirmed()
{
    std::set<DeviceType> confirmed;
    if (!confirmUnknownIdentities(confirmed))
        return false;
    if (!compatibility().canBothBeUpdated() && !MessageBoxes::confirmSingleDevice(this))
        return false;
    // Asks again if a device of unknown identity was plugged in while a question was open.
    return confirmUnknownIdentities(confirmed);
}

bool MainWindow::addToUpdate(FlashingDialog& dialog, DeviceType type) const
{
    return compatibility().of(type).canBeUpdated() &&
           dialog.addDeviceToUpdate(deviceController->deviceInstance(type),
                                    firmwareController->firmware(type), type);
}

void MainWindow::on_updateButton_clicked()
{
    if (!isUpdateConfirmed())
        return;

    auto dialog = std::make_unique<FlashingDialog>(this);
    const bool transmitterAdded = addToUpdate(*dialog, DeviceType::Transmitter);
    const bool headsetAdded = addToUpdate(*dialog, DeviceType::Headset);
    // While a question was open, a change of the devices or the archive may have made the update impossible.
    if (!ui->updateButton->isEnabled() || !(transmitterAdded || headsetAdded))
        return;

    runUpdate(*dialog);
    // Paints the page now, because the dialog's destructor may wait for the audio service.
    repaint();
    QApplication::setOverrideCursor(Qt::WaitCursor);
    dialog.reset();
    QApplication::restoreOverrideCursor();
}

void MainWindow::runUpdate(FlashingDialog& dialog)
{
    deviceController->stopDetection();
    dialog.start();
    if (dialog.exec() == QDialog::Accepted) {
        showPairingInstructions();
        return;
    }
    deviceController->startDetection();
    if (dialog.errors().isEmpty())
        returnFromCancelledUpdate();
    else
        showFailureReport(dialog.errors());
}

/// Keeps the main page, but shows each device as disconnected until the restarted detection reports it.
void MainWindow::returnFromCancelledUpdate()
{
    labels->showDisconnected(DeviceType::Transmitter);
    labels->showDisconnected(DeviceType::Headset);
    refreshMainPage();
}

void MainWindow::setCentralPage(QWidget* page)
{
    if (centralWidget() == page)
        return;
    takeCentralWidget()->hide();
    setCentralWidget(page);
    keyGuard->noteNewScreen();
}

void MainWindow::showMainPageOrStartScreen()
{
    if (overrideMode || compatibility().areBothConnected())
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
    const bool pageChanges = centralWidget() != infoScreen.get();
    setCentralPage(infoScreen.get());
    infoScreen->backButton()->hide();
    infoScreen->closeButton()->hide();
    infoScreen->setDeviceName(deviceName);
    infoScreen->setText(text);
    infoScreen->setImage(imagePath);
    ui->statusBar->hide();
    centralWidget()->show();
    if (pageChanges)
        infoScreen->setFocus();
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
    if (std::any_of(errors.cbegin(), errors.cend(), isConnectionFailure)) {
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
    infoScreen->closeButton()->setFocus();
    infoScreenLocked = true;
}

void MainWindow::leaveFailureReport()
{
    infoScreenLocked = false;
    infoScreen->setFocus(); // because the next line hides the button that has the focus
    showMainPageOrStartScreen();
    for (const DeviceType type : {DeviceType::Transmitter, DeviceType::Headset}) {
        if (!deviceController->isConnected(type)) {
            labels->showDisconnected(type);
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
    MessageBoxes::showAbout(this);
}
