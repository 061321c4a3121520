#include "flashingdialog.h"

#include <QIcon>
#include <QtConcurrent>

#include "audioendpointskeeper.h"
#include "firmwareupdater.h"
#include "flashingerror.h"
#include "keepawake.h"
#include "scopedaudioservicestopper.h"
#include "ui_flashingdialog.h"

FlashingDialog::FlashingDialog(QWidget* parent)
    : QDialog(parent, Qt::Dialog | Qt::MSWindowsFixedSizeDialogHint | Qt::WindowTitleHint |
                          Qt::WindowMinimizeButtonHint | Qt::CustomizeWindowHint)
    , ui(std::make_unique<Ui::FlashingDialogClass>())
{
    ui->setupUi(this);
}

FlashingDialog::~FlashingDialog()
{
    // From here on nobody takes the updaters' reports.
    const QList<FirmwareUpdater*> allUpdaters =
        findChildren<FirmwareUpdater*>(QString(), Qt::FindDirectChildrenOnly);
    for (FirmwareUpdater* updater : allUpdaters)
        updater->disconnect(this);

    if (restartWatcher)
        restartWatcher->waitForFinished();
    // The task that is still stopping the service keeps the stopper alive and starts the service again when
    // it is through; until then this start is all that the user gets.
    if (audioServiceStopper && !stopTask.isFinished())
        audioServiceStopper->start();
    audioServiceStopper.reset();
    audioEndpointsKeeper.reset();
    // As child objects they would outlive keepAwake.
    qDeleteAll(allUpdaters);
}

bool FlashingDialog::addDeviceToUpdate(const DeviceInstance& instance, const QByteArray& firmware,
                                       DeviceType type)
{
    if (devices.contains(type) || instance.productId == 0)
        return false;
    devices.insert(type, {instance, firmware});
    return true;
}

void FlashingDialog::start()
{
    qDebug("Phase prepare, number of devices = %d", devices.size());
    const QWidget* const mainWindow = parentWidget() ? parentWidget()->window() : this;
    keepAwake = std::make_unique<KeepAwake>(reinterpret_cast<HWND>(mainWindow->winId()),
                                            ui->doNotDisconnectDevicesLabel->text());

    ui->transmitterBox->setVisible(devices.contains(DeviceType::Transmitter));
    ui->headsetBox->setVisible(devices.contains(DeviceType::Headset));

    audioEndpointsKeeper = std::make_unique<AudioEndpointsKeeper>();
    audioServiceStopper = std::make_shared<ScopedAudioServiceStopper>();

    auto* const stopWatcher = new QFutureWatcher<void>(this);
    connect(stopWatcher, &QFutureWatcher<void>::finished, this, &FlashingDialog::createAndStartUpdaters);
    connect(stopWatcher, &QFutureWatcher<void>::finished, stopWatcher, &QObject::deleteLater);
    // A run that was cancelled before it reached a device leaves the devices alone.
    connect(this, &QDialog::finished, stopWatcher, [this, stopWatcher] { stopWatcher->disconnect(this); });
    stopTask = QtConcurrent::run([stopper = audioServiceStopper]() mutable {
        stopper->stop();
        stopper.reset();
    });
    stopWatcher->setFuture(stopTask);

    ui->transmitterProgressBar->setRange(0, 0);
    ui->headsetProgressBar->setRange(0, 0);
    show();
}

QMap<DeviceType, int> FlashingDialog::errors() const
{
    return errorCodes;
}

void FlashingDialog::createAndStartUpdaters()
{
    startedDevices = 0;
    for (auto device = devices.cbegin(); device != devices.cend(); ++device) {
        createAndStartUpdater(device.key(), device.value());
        ++startedDevices;
    }
    restartAudioService();
    // A device can fail while it is being started, when the others still have to be.
    checkEndOfRun();
}

void FlashingDialog::createAndStartUpdater(DeviceType type, const DeviceToUpdate& device)
{
    QProgressBar* const progressBar = widgetsOf(type).progressBar;
    auto* const updater = new FirmwareUpdater(this, device.instance, type, device.firmware);
    updater->setObjectName(type == DeviceType::Transmitter ? QStringLiteral("transmitterUpdater")
                                                           : QStringLiteral("headsetUpdater"));
    connect(updater, &FirmwareUpdater::progressRangeChanged, progressBar, &QProgressBar::setRange);
    connect(updater, &FirmwareUpdater::progressValueChanged, progressBar, &QProgressBar::setValue);
    connect(updater, &FirmwareUpdater::flashingError, this, &FlashingDialog::onFlashingError);
    connect(updater, &FirmwareUpdater::flashingFinished, this, &FlashingDialog::onFlashingFinished);
    updaters.insert(updater, type);
    updater->flashDevice();
}

void FlashingDialog::restartAudioService()
{
    // Held through a second pointer: the copies of the task's functor that die on this thread must not be the
    // ones that end the stopper, for that blocks until the service runs.
    const auto owner =
        std::make_shared<std::shared_ptr<ScopedAudioServiceStopper>>(std::move(audioServiceStopper));
    restartWatcher = new QFutureWatcher<void>(this);
    connect(restartWatcher, &QFutureWatcher<void>::finished, this, &FlashingDialog::checkEndOfRun);
    restartWatcher->setFuture(QtConcurrent::run([owner] { owner->reset(); }));
}

void FlashingDialog::onFlashingError(int code)
{
    const DeviceType type = takeReportingUpdater();
    qDebug("Update failed with code %d, device type = %d", code, type);
    errorCodes.insert(type, code);
    endDevice(type, errorText(type, code), QStringLiteral(":/icons/process-stop.png"));
}

void FlashingDialog::onFlashingFinished()
{
    const DeviceType type = takeReportingUpdater();
    qDebug("Update finished, device type = %d", type);
    endDevice(type, tr("Device has been successfully updated."), QStringLiteral(":/icons/doneandnext.png"));
}

void FlashingDialog::fixProgressBar(DeviceType type)
{
    QProgressBar* const progressBar = widgetsOf(type).progressBar;
    if (progressBar->maximum() == 0)
        progressBar->setRange(0, 100);
}

FlashingDialog::ResultWidgets FlashingDialog::widgetsOf(DeviceType type) const
{
    if (type == DeviceType::Transmitter)
        return {ui->transmitterBox, ui->transmitterProgressBar, ui->transmitterResultIcon,
                ui->transmitterInfoLabel};
    return {ui->headsetBox, ui->headsetProgressBar, ui->headsetResultIcon, ui->headsetInfoLabel};
}

DeviceType FlashingDialog::takeReportingUpdater()
{
    // Gives DeviceType::Unknown for a sender that has reported before.
    return updaters.take(qobject_cast<FirmwareUpdater*>(sender()));
}

QString FlashingDialog::errorText(DeviceType type, int code) const
{
    if (isConnectionFailure(code))
        return tr("Update cannot proceed. Make sure your device is connected properly and try again.");
    return QStringLiteral("%1 %2 %3/%4")
        .arg(tr("Update was unsuccessful."), tr("Error code:"))
        .arg(type)
        .arg(code);
}

void FlashingDialog::endDevice(DeviceType type, const QString& text, const QString& iconPath)
{
    const ResultWidgets widgets = widgetsOf(type);
    widgets.text->setText(text);
    widgets.icon->setPixmap(QIcon(iconPath).pixmap(widgets.icon->minimumSize()));
    widgets.icon->setAccessibleName(text);
    widgets.progressBar->setAccessibleDescription(text);
    // Close gets the focus at the end, so this is where a screen reader tells how the run went.
    ui->closeButton->setAccessibleDescription(ui->closeButton->accessibleDescription() +
                                              QStringLiteral("%1\n%2\n").arg(widgets.box->title(), text));
    fixProgressBar(type);
    checkEndOfRun();
}

void FlashingDialog::checkEndOfRun()
{
    if (!updaters.isEmpty() || startedDevices < devices.size())
        return;

    ui->closeButton->disconnect(this);
    if (errorCodes.isEmpty())
        connect(ui->closeButton, &QPushButton::clicked, this, &QDialog::accept);
    else
        connect(ui->closeButton, &QPushButton::clicked, this, &QDialog::reject);
    ui->closeButton->setEnabled(true);
    ui->closeButton->setFocus();

    // Without the audio service there are no endpoints to restore. Its return leads here once more.
    if (restartWatcher && !restartWatcher->isFinished())
        return;
    if (audioEndpointsKeeper)
        qDebug("Phase restore");
    audioEndpointsKeeper.reset();
    keepAwake.reset();
}
