#include "flashingdialog.h"

#include <QApplication>
#include <QIcon>
#include <QtConcurrent>

#include "audioendpointskeeper.h"
#include "firmwareupdater.h"
#include "flashingerror.h"
#include "keepawake.h"
#include "phase.h"
#include "plaintext.h"
#include "scopedaudioservicestopper.h"
#include "ui_flashingdialog.h"

namespace {

/// Hides the empty @p label but keeps its space in the layout. For a visible empty label, a screen reader
/// would read the title of the group box.
void hideUntilFilled(QLabel* label)
{
    QSizePolicy policy = label->sizePolicy();
    policy.setRetainSizeWhenHidden(true);
    label->setSizePolicy(policy);
    label->hide();
}

} // namespace

FlashingDialog::FlashingDialog(QWidget* parent)
    : QDialog(parent, Qt::Dialog | Qt::MSWindowsFixedSizeDialogHint | Qt::WindowTitleHint |
                          Qt::WindowMinimizeButtonHint | Qt::CustomizeWindowHint)
    , ui(std::make_unique<Ui::FlashingDialogClass>())
{
    ui->setupUi(this);
    showAsPlainText(*this);
    for (QLabel* const label :
         {ui->transmitterResultIcon, ui->transmitterInfoLabel, ui->headsetResultIcon, ui->headsetInfoLabel})
        hideUntilFilled(label);
    connect(ui->closeButton, &QPushButton::clicked, this, &FlashingDialog::closeWithResult);
}

FlashingDialog::~FlashingDialog()
{
    // Ignores all further reports of the updaters.
    const QList<FirmwareUpdater*> allUpdaters =
        findChildren<FirmwareUpdater*>(QString(), Qt::FindDirectChildrenOnly);
    for (FirmwareUpdater* updater : allUpdaters)
        updater->disconnect(this);

    if (restartWatcher)
        restartWatcher->waitForFinished();
    // reset() normally destroys the stopper, whose destructor starts the service. But a stop task that still
    // runs also owns the stopper, so the service is started here.
    if (audioServiceStopper && !stopTask.isFinished())
        audioServiceStopper->start();
    audioServiceStopper.reset();
    audioEndpointsKeeper.reset();
    // qDeleteAll() waits until the updaters have ended. The member keepAwake is destroyed later, so the
    // computer stays awake during this wait.
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
    stage = Stage::StoppingService;
    qDebug("Phase %s, number of devices = %d", phaseName(Phase::Prepare), devices.size());
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

void FlashingDialog::reject()
{
    switch (stage) {
    case Stage::Starting:
    case Stage::Updating:
        return;
    case Stage::Reported:
    case Stage::Ended:
        closeWithResult();
        return;
    default:
        stage = Stage::Cancelled;
        QDialog::reject();
    }
}

void FlashingDialog::createAndStartUpdaters()
{
    if (stage == Stage::Cancelled)
        return;
    stage = Stage::Starting;
    for (auto device = devices.cbegin(); device != devices.cend(); ++device)
        createAndStartUpdater(device.key(), device.value());
    restartAudioService();
    stage = Stage::Updating;
    // Ends the run if every updater has already failed in createAndStartUpdater(), because no report follows.
    endRunAfterLastReport();
}

void FlashingDialog::createAndStartUpdater(DeviceType type, const DeviceToUpdate& device)
{
    QProgressBar* const progressBar = widgetsOf(type).progressBar;
    auto* const updater = new FirmwareUpdater(this, device.instance, type, device.firmware);
    updater->setObjectName(type == DeviceType::Transmitter ? QStringLiteral("transmitterUpdater")
                                                           : QStringLiteral("headsetUpdater"));
    connect(updater, &FirmwareUpdater::progressRangeChanged, progressBar, &QProgressBar::setRange);
    connect(updater, &FirmwareUpdater::progressValueChanged, progressBar, &QProgressBar::setValue);
    connect(updater, &FirmwareUpdater::flashingError, this,
            [this, updater](int code) { onFlashingError(updater, code); });
    connect(updater, &FirmwareUpdater::flashingFinished, this,
            [this, updater] { onFlashingFinished(updater); });
    updaters.insert(updater, type);
    updater->flashDevice();
}

void FlashingDialog::restartAudioService()
{
    restartWatcher = new QFutureWatcher<void>(this);
    connect(restartWatcher, &QFutureWatcher<void>::finished, this, [this] {
        if (stage == Stage::Reported)
            restore();
    });
    // Nothing else uses audioServiceStopper until this task has ended.
    restartWatcher->setFuture(QtConcurrent::run([this] { audioServiceStopper.reset(); }));
}

void FlashingDialog::onFlashingError(FirmwareUpdater* updater, int code)
{
    const DeviceType type = updaters.take(updater);
    qDebug("Update failed with code %d, device type = %d", code, type);
    errorCodes.insert(type, code);
    endDevice(type, errorText(type, code), QStringLiteral(":/icons/process-stop.png"));
}

void FlashingDialog::onFlashingFinished(FirmwareUpdater* updater)
{
    const DeviceType type = updaters.take(updater);
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
    widgets.text->show();
    widgets.icon->setPixmap(QIcon(iconPath).pixmap(widgets.icon->minimumSize()));
    widgets.icon->setAccessibleName(text);
    widgets.icon->show();
    widgets.progressBar->setAccessibleDescription(text);
    // When the run ends, the Close button gets the focus. A screen reader then reads the button's
    // description, which contains the results.
    ui->closeButton->setAccessibleDescription(ui->closeButton->accessibleDescription() +
                                              QStringLiteral("%1\n%2\n").arg(widgets.box->title(), text));
    fixProgressBar(type);
    endRunAfterLastReport();
}

void FlashingDialog::endRunAfterLastReport()
{
    if (stage != Stage::Updating || !updaters.isEmpty())
        return;
    stage = Stage::Reported;
    ui->doNotDisconnectDevicesLabel->setEnabled(false);
    ui->closeButton->setEnabled(true);
    ui->closeButton->setFocus();
    callUser();
    // The endpoints can be restored only after the audio service has restarted.
    if (restartWatcher->isFinished())
        restore();
}

void FlashingDialog::callUser()
{
    setWindowState(windowState() & ~Qt::WindowMinimized);
    QApplication::alert(this);
}

void FlashingDialog::restore()
{
    stage = Stage::Ended;
    qDebug("Phase %s", phaseName(Phase::Restore));
    audioEndpointsKeeper.reset();
    keepAwake.reset();
}

void FlashingDialog::closeWithResult()
{
    done(errorCodes.isEmpty() ? QDialog::Accepted : QDialog::Rejected);
}
