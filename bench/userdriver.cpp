#include "userdriver.h"

#include <algorithm>

#include <QApplication>
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

QString labelText(const QWidget& parent, const QByteArray& name)
{
    const auto* const label = parent.findChild<QLabel*>(QLatin1String(name));
    return label ? label->text() : QString();
}

/// Whether every device has a good part of its update behind it, and none has finished.
bool isWellUnderWay(const FlashingDialog& dialog)
{
    constexpr int goodPart = 4;
    const QList<QProgressBar*> bars = dialog.findChildren<QProgressBar*>();
    return dialog.errors().isEmpty() && std::all_of(bars.begin(), bars.end(), [](const QProgressBar* bar) {
               return !bar->isVisible() ||
                      (bar->value() * goodPart > bar->maximum() && bar->value() < bar->maximum());
           });
}

/// Clicks from the event loop, as the click may open a modal dialog.
void clickLater(QPushButton* button)
{
    QMetaObject::invokeMethod(button, &QPushButton::click, Qt::QueuedConnection);
}

} // namespace

UserDriver::UserDriver(MainWindow& mainWindow)
    : window(mainWindow)
{
    connect(&timer, &QTimer::timeout, this, &UserDriver::look);
}

void UserDriver::tryAgain()
{
    Q_EMIT happened(QStringLiteral("user: Back"));
    window.findChild<QPushButton*>(QStringLiteral("backButton"))->click();
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
    auto* const button = box.defaultButton() ? box.defaultButton() : box.buttons().first();
    Q_EMIT happened(QStringLiteral("message: %1 | answer: %2").arg(box.text(), button->text()));
    button->click();
}

void UserDriver::follow(FlashingDialog& dialog)
{
    watchUpdaters(dialog);
    auto* const closeButton = dialog.findChild<QPushButton*>(QStringLiteral("closeButton"));
    if (!closeButton->isEnabled()) {
        if (isWellUnderWay(dialog))
            Q_EMIT screenSeen(QStringLiteral("updating"), &dialog);
        return;
    }
    const bool isFailed = !dialog.errors().isEmpty();
    Q_EMIT screenSeen(isFailed ? QStringLiteral("update-failed") : QStringLiteral("updated"), &dialog);
    noteResult(dialog, DeviceType::Transmitter);
    noteResult(dialog, DeviceType::Headset);
    Q_EMIT happened(QStringLiteral("user: Close"));
    watchedUpdaters.clear();
    clickLater(closeButton);
}

void UserDriver::noteResult(const FlashingDialog& dialog, DeviceType type)
{
    constexpr int fullPercent = 95; // a transmitter takes four of the five announced steps per sector
    const QByteArray name = nameOf(type).toLatin1();
    const QString text = labelText(dialog, name + "InfoLabel");
    if (text.isEmpty())
        return; // it is not part of the update
    Outcome::Device& device = outcome.devices[type];
    device.errorCode = dialog.errors().value(type);
    device.text = text;
    const auto* const bar = dialog.findChild<QProgressBar*>(QLatin1String(name + "ProgressBar"));
    device.isBarFull = bar->value() * 100 >= bar->maximum() * fullPercent;
    Q_EMIT happened(QStringLiteral("%1: %2").arg(nameOf(type), text));
}

void UserDriver::watchUpdaters(const FlashingDialog& dialog)
{
    for (const DeviceType type : {DeviceType::Transmitter, DeviceType::Headset}) {
        auto* const updater = dialog.findChild<FirmwareUpdater*>(nameOf(type) + QStringLiteral("Updater"));
        if (!updater || watchedUpdaters.contains(updater))
            continue;
        watchedUpdaters.insert(updater);
        connect(updater, &FirmwareUpdater::progressRangeChanged, this, [this, type] {
            if (!runTimer.isValid())
                runTimer.start();
            startedMs[type] = runTimer.elapsed();
        });
        connect(updater, &FirmwareUpdater::flashingFinished, this, [this, type] {
            outcome.runMs = runTimer.elapsed();
            outcome.devices[type].programmingMs = outcome.runMs - startedMs[type];
        });
    }
}

void UserDriver::lookAtInfoScreen(const InfoScreen& screen)
{
    if (screen.closeButton()->isHidden()) {
        Q_EMIT screenSeen(QStringLiteral("start-screen"), &window);
        return;
    }
    if (!isUpdating)
        return;
    isUpdating = false;
    const bool isFailed = !screen.backButton()->isHidden();
    outcome.report = isFailed ? labelText(screen, "text") : QString();
    Q_EMIT screenSeen(isFailed ? QStringLiteral("failure-report") : QStringLiteral("pairing-instructions"),
                      &window);
    Q_EMIT happened(isFailed ? QStringLiteral("screen: failure report: ") + outcome.report.simplified()
                             : QStringLiteral("screen: pairing instructions"));
    Q_EMIT ended(outcome);
}

void UserDriver::lookAtMainPage()
{
    auto* const updateButton = window.findChild<QPushButton*>(QStringLiteral("updateButton"));
    auto* const busyIndicator = window.findChild<QProgressBar*>();
    if (isUpdating || !updateButton->isEnabled() || busyIndicator->isVisible())
        return;
    Q_EMIT screenSeen(QStringLiteral("main-page"), &window);
    Q_EMIT happened(
        QStringLiteral("user: Update (transmitter %1 -> %2, headset %3 -> %4)")
            .arg(labelText(window, "transmitterVersion"), labelText(window, "transmitterFirmwareVersion"),
                 labelText(window, "headsetVersion"), labelText(window, "headsetFirmwareVersion")));
    isUpdating = true;
    runTimer.invalidate();
    outcome = {};
    Q_EMIT updateRequested();
    clickLater(updateButton);
}
