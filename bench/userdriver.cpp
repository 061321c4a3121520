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

/// Whether every device has completed more than a quarter of its update and none has finished.
bool isWellUnderWay(const FlashingDialog& dialog)
{
    constexpr int goodPart = 4;
    const QList<QProgressBar*> bars = dialog.findChildren<QProgressBar*>();
    return dialog.errors().isEmpty() && std::all_of(bars.begin(), bars.end(), [](const QProgressBar* bar) {
               return !bar->isVisible() ||
                      (bar->value() * goodPart > bar->maximum() && bar->value() < bar->maximum());
           });
}

/// Clicks from the event loop, because the click may open a modal dialog.
void clickLater(QPushButton* button)
{
    QMetaObject::invokeMethod(button, &QPushButton::click, Qt::QueuedConnection);
}

FlashingDialog* flashingDialog()
{
    return qobject_cast<FlashingDialog*>(QApplication::activeModalWidget());
}

/// @return the dialog if all updates have ended and have failed or not as @p isFailed says; otherwise null.
FlashingDialog* endedDialog(bool isFailed)
{
    FlashingDialog* const dialog = flashingDialog();
    const bool isEnded =
        dialog && dialog->findChild<QPushButton*>(QStringLiteral("closeButton"))->isEnabled();
    return isEnded && dialog->errors().isEmpty() != isFailed ? dialog : nullptr;
}

} // namespace

UserDriver::UserDriver(MainWindow& mainWindow)
    : window(mainWindow)
    , stops{
          {nullptr, messageBox, [this] { answer(); }},
          {"updating",
           [] { return flashingDialog() && isWellUnderWay(*flashingDialog()) ? flashingDialog() : nullptr; },
           [] {}},
          {"updated", [] { return endedDialog(false); }, [this] { closeDialog(*flashingDialog()); }},
          {"update-failed", [] { return endedDialog(true); }, [this] { closeDialog(*flashingDialog()); }},
          {"start-screen", [this] { return isStartScreen() ? &window : nullptr; }, [] {}},
          {"pairing-instructions", [this] { return resultScreen(false) ? &window : nullptr; },
           [this] { end(false); }},
          {"failure-report", [this] { return resultScreen(true) ? &window : nullptr; },
           [this] { end(true); }},
          {"main-page", [this] { return readyMainPage(); }, [this] { requestUpdate(); }},
      }
{
    connect(&timer, &QTimer::timeout, this, &UserDriver::look);
}

void UserDriver::tryAgain()
{
    Q_EMIT happened(QStringLiteral("user: Back"));
    window.findChild<QPushButton*>(QStringLiteral("backButton"))->click();
}

QMessageBox* UserDriver::messageBox()
{
    return qobject_cast<QMessageBox*>(QApplication::activeModalWidget());
}

bool UserDriver::isStartScreen() const
{
    const auto* const screen = dynamic_cast<InfoScreen*>(window.centralWidget());
    return screen && screen->closeButton()->isHidden() && !QApplication::activeModalWidget();
}

/// @return the failure report if @p isFailed, otherwise the pairing instructions; null if an update has not
///         ended with that screen or the screen is not shown.
InfoScreen* UserDriver::resultScreen(bool isFailed) const
{
    auto* const screen = dynamic_cast<InfoScreen*>(window.centralWidget());
    const bool isResult = screen && isUpdating && !screen->closeButton()->isHidden();
    return isResult && screen->backButton()->isHidden() != isFailed && !QApplication::activeModalWidget()
               ? screen
               : nullptr;
}

QWidget* UserDriver::mainPage() const
{
    const bool isInfoScreen = dynamic_cast<InfoScreen*>(window.centralWidget()) != nullptr;
    const bool isBusy = window.findChild<QProgressBar*>()->isVisible();
    return isInfoScreen || isBusy || QApplication::activeModalWidget() ? nullptr : &window;
}

QWidget* UserDriver::readyMainPage() const
{
    const auto* const updateButton = window.findChild<QPushButton*>(QStringLiteral("updateButton"));
    return updateButton && updateButton->isEnabled() && !isUpdating ? mainPage() : nullptr;
}

void UserDriver::pressUpdate()
{
    clickLater(window.findChild<QPushButton*>(QStringLiteral("updateButton")));
}

void UserDriver::look()
{
    if (const FlashingDialog* const dialog = flashingDialog())
        watchUpdaters(*dialog);
    if (tour.empty()) {
        const auto stop =
            std::find_if(stops.begin(), stops.end(), [this](const Stop& one) { return isAt(one); });
        if (stop != stops.end())
            stop->act();
        return;
    }
    if (!isAt(tour[reached]))
        return;
    tour[reached].act();
    if (++reached < tour.size())
        return;
    timer.stop();
    Q_EMIT tourEnded();
}

bool UserDriver::isAt(const Stop& stop)
{
    QWidget* const screen = stop.screen();
    if (screen && stop.name)
        Q_EMIT screenSeen(QLatin1String(stop.name), screen);
    return screen != nullptr;
}

void UserDriver::answer()
{
    QMessageBox& box = *messageBox();
    auto* const button = box.defaultButton() ? box.defaultButton() : box.buttons().first();
    Q_EMIT happened(QStringLiteral("message: %1 | answer: %2").arg(box.text(), button->text()));
    button->click();
}

void UserDriver::closeDialog(FlashingDialog& dialog)
{
    noteResult(dialog, DeviceType::Transmitter);
    noteResult(dialog, DeviceType::Headset);
    Q_EMIT happened(QStringLiteral("user: Close"));
    watchedUpdaters.clear();
    clickLater(dialog.findChild<QPushButton*>(QStringLiteral("closeButton")));
}

void UserDriver::noteResult(const FlashingDialog& dialog, DeviceType type)
{
    constexpr int fullPercent = 95; // a transmitter makes four of the five announced steps per sector
    const QByteArray name = nameOf(type).toLatin1();
    const QString text = labelText(dialog, name + "InfoLabel");
    if (text.isEmpty())
        return; // the device is not part of the update
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

void UserDriver::end(bool isFailed)
{
    isUpdating = false;
    if (isFailed)
        outcome.report = labelText(*window.centralWidget(), "text");
    Q_EMIT happened(isFailed ? QStringLiteral("screen: failure report: ") + outcome.report.simplified()
                             : QStringLiteral("screen: pairing instructions"));
    Q_EMIT ended(outcome);
}

void UserDriver::requestUpdate()
{
    Q_EMIT happened(
        QStringLiteral("user: Update (transmitter %1 -> %2, headset %3 -> %4)")
            .arg(labelText(window, "transmitterVersion"), labelText(window, "transmitterFirmwareVersion"),
                 labelText(window, "headsetVersion"), labelText(window, "headsetFirmwareVersion")));
    isUpdating = true;
    runTimer.invalidate();
    outcome = {};
    Q_EMIT updateRequested();
    pressUpdate();
}
