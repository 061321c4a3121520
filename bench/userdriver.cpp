#include "userdriver.h"

#include <algorithm>

#include <QApplication>
#include <QElapsedTimer>
#include <QLabel>
#include <QMessageBox>
#include <QProgressBar>
#include <QPushButton>

#include "eventlog.h"
#include "firmwareupdater.h"
#include "flashingdialog.h"
#include "infoscreen.h"
#include "mainwindow.h"

namespace {

constexpr int fullPercent = 95;

QString labelText(const QWidget& parent, const QByteArray& name)
{
    const auto* const label = parent.findChild<QLabel*>(QLatin1String(name));
    return label ? label->text() : QString();
}

/// Whether every device that is being updated has come a good part of the way, and none to the end.
bool isWellUnderWay(const FlashingDialog& dialog)
{
    constexpr int goodPart = 4;
    if (!labelText(dialog, "transmitterInfoLabel").isEmpty() ||
        !labelText(dialog, "headsetInfoLabel").isEmpty())
        return false;
    const QList<QProgressBar*> bars = dialog.findChildren<QProgressBar*>();
    return std::all_of(bars.begin(), bars.end(), [](const QProgressBar* bar) {
        return !bar->isVisible() || (bar->maximum() > 0 && bar->value() * goodPart > bar->maximum());
    });
}

/// A click that is made when the event loop is back in charge: it may open a modal dialog.
void clickLater(QPushButton* button)
{
    QMetaObject::invokeMethod(button, &QPushButton::click, Qt::QueuedConnection);
}

} // namespace

UserDriver::UserDriver(MainWindow& mainWindow, EventLog& eventLog, ScreenHandler screenHandler)
    : window(mainWindow)
    , log(eventLog)
    , onScreen(std::move(screenHandler))
{
    connect(&timer, &QTimer::timeout, this, &UserDriver::look);
}

void UserDriver::start(int intervalMs)
{
    timer.start(intervalMs);
}

void UserDriver::tryAgain()
{
    auto* const screen = dynamic_cast<InfoScreen*>(window.centralWidget());
    if (!screen || screen->backButton()->isHidden())
        return;
    isUpdateRequested = false;
    isRunReported = false;
    errors.clear();
    programmingTimes.clear();
    log.add(QStringLiteral("user: Back"));
    screen->backButton()->click();
}

void UserDriver::look()
{
    QWidget* const modal = QApplication::activeModalWidget();
    if (auto* const box = qobject_cast<QMessageBox*>(modal))
        answer(*box);
    else if (auto* const dialog = qobject_cast<FlashingDialog*>(modal))
        follow(*dialog);
    else if (modal)
        return;
    else if (const auto* const screen = dynamic_cast<InfoScreen*>(window.centralWidget()))
        lookAtInfoScreen(*screen);
    else
        lookAtMainPage();
}

void UserDriver::answer(QMessageBox& box)
{
    QPushButton* const button = box.defaultButton();
    if (!button) {
        log.add(QStringLiteral("message: %1").arg(box.text()));
        box.close();
        return;
    }
    log.add(QStringLiteral("question: %1 | answer: %2").arg(box.text(), button->text()));
    button->click();
}

void UserDriver::follow(FlashingDialog& dialog)
{
    watchUpdaters(dialog);
    auto* const closeButton = dialog.findChild<QPushButton*>(QStringLiteral("closeButton"));
    if (!closeButton->isEnabled()) {
        if (isWellUnderWay(dialog))
            onScreen(QStringLiteral("updating"), dialog);
        return;
    }
    errors = dialog.errors();
    onScreen(errors.isEmpty() ? QStringLiteral("updated") : QStringLiteral("update-failed"), dialog);
    noteResult(dialog, DeviceType::Transmitter);
    noteResult(dialog, DeviceType::Headset);
    log.add(QStringLiteral("user: Close"));
    watchedUpdaters.clear();
    clickLater(closeButton);
}

void UserDriver::noteResult(const FlashingDialog& dialog, DeviceType type)
{
    const QByteArray name = nameOf(type).toLatin1();
    results[type] = labelText(dialog, name + "InfoLabel");
    log.add(QStringLiteral("%1: %2").arg(nameOf(type), results[type]));
    const auto* const bar = dialog.findChild<QProgressBar*>(QLatin1String(name + "ProgressBar"));
    // Of the five steps that are announced for a sector of the transmitter four are taken.
    if (bar->value() * 100 >= bar->maximum() * fullPercent)
        fullBars.insert(type);
    else
        fullBars.remove(type);
}

void UserDriver::watchUpdaters(const FlashingDialog& dialog)
{
    for (const DeviceType type : {DeviceType::Transmitter, DeviceType::Headset}) {
        const QString name = nameOf(type) + QStringLiteral("Updater");
        auto* const updater = dialog.findChild<FirmwareUpdater*>(name);
        if (updater && !watchedUpdaters.contains(updater))
            watchUpdater(updater, type);
    }
    if (isWaitInVain)
        endVainWaits();
}

void UserDriver::watchUpdater(FirmwareUpdater* updater, DeviceType type)
{
    watchedUpdaters.insert(updater, type);
    const QString name = nameOf(type);
    const auto timeOfDevice = std::make_shared<QElapsedTimer>();
    connect(updater, &FirmwareUpdater::progressRangeChanged, this, [this, name, timeOfDevice](int, int max) {
        timeOfDevice->start();
        if (!runTimer.isValid())
            runTimer.start();
        log.add(QStringLiteral("%1: programming, %2 steps").arg(name).arg(max));
    });
    connect(updater, &FirmwareUpdater::flashingFinished, this, [this, name, type, timeOfDevice] {
        programmingTimes[type] = timeOfDevice->elapsed();
        runTime = runTimer.elapsed();
        log.add(QStringLiteral("%1: finished").arg(name));
    });
    connect(updater, &FirmwareUpdater::flashingError, this, [this, name](int code) {
        log.add(QStringLiteral("%1: failed with code %2").arg(name).arg(code));
    });
}

void UserDriver::endVainWaits()
{
    for (auto updater = watchedUpdaters.cbegin(); updater != watchedUpdaters.cend(); ++updater) {
        auto* const timeout = updater.key()->findChild<QTimer*>(QStringLiteral("reenumerationTimer"));
        if (timeout->isActive() && isWaitInVain(updater.value()))
            timeout->start(0);
    }
}

void UserDriver::lookAtInfoScreen(const InfoScreen& screen)
{
    const bool isEnd = !screen.closeButton()->isHidden();
    if (!isEnd) {
        onScreen(QStringLiteral("start-screen"), window);
        return;
    }
    if (isRunReported)
        return;
    isRunReported = true;
    const QString text = labelText(screen, "text");
    if (screen.backButton()->isHidden()) {
        onScreen(QStringLiteral("pairing-instructions"), window);
        log.add(QStringLiteral("screen: pairing instructions"));
        Q_EMIT succeeded();
        return;
    }
    onScreen(QStringLiteral("failure-report"), window);
    log.add(QStringLiteral("screen: failure report: %1").arg(text.simplified()));
    Q_EMIT failed(errors, text);
}

void UserDriver::lookAtMainPage()
{
    auto* const updateButton = window.findChild<QPushButton*>(QStringLiteral("updateButton"));
    auto* const busyIndicator = window.findChild<QProgressBar*>();
    if (isUpdateRequested || !updateButton->isEnabled() || busyIndicator->isVisible())
        return;
    onScreen(QStringLiteral("main-page"), window);
    log.add(QStringLiteral("user: Update (transmitter %1 -> %2, headset %3 -> %4)")
                .arg(labelText(window, "transmitterVersion"), labelText(window, "transmitterFirmwareVersion"),
                     labelText(window, "headsetVersion"), labelText(window, "headsetFirmwareVersion")));
    isUpdateRequested = true;
    runTimer.invalidate();
    Q_EMIT updateRequested();
    clickLater(updateButton);
}
