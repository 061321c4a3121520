#include "userdriver.h"

#include <algorithm>

#include <QApplication>
#include <QLabel>
#include <QMessageBox>
#include <QProgressBar>
#include <QPushButton>

#include "eventlog.h"
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

/// Clicks from the event loop, because the click may open a modal dialog, which would block the caller.
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

QMessageBox* UserDriver::messageBox()
{
    return qobject_cast<QMessageBox*>(QApplication::activeModalWidget());
}

bool UserDriver::isStartScreen() const
{
    const auto* const screen = dynamic_cast<InfoScreen*>(window.centralWidget());
    return screen && screen->closeButton()->isHidden() && !QApplication::activeModalWidget();
}

QWidget* UserDriver::mainPage() const
{
    const bool isInfoScreen = dynamic_cast<InfoScreen*>(window.centralWidget()) != nullptr;
    const bool isBusy = window.findChild<QProgressBar*>()->isVisible();
    return isInfoScreen || isBusy || QApplication::activeModalWidget() ? nullptr : &window;
}

void UserDriver::pressUpdate()
{
    clickLater(window.findChild<QPushButton*>(QStringLiteral("updateButton")));
}

void UserDriver::look()
{
    if (tour.empty())
        update();
    else
        followTour();
}

void UserDriver::followTour()
{
    const Stop& stop = tour[reached];
    QWidget* const screen = stop.screen();
    if (!screen)
        return;
    if (stop.name)
        Q_EMIT screenSeen(QLatin1String(stop.name), screen);
    stop.act();
    if (++reached < tour.size())
        return;
    timer.stop();
    Q_EMIT tourEnded();
}

void UserDriver::update()
{
    if (QMessageBox* const box = messageBox()) {
        answer(*box);
        return;
    }
    if (auto* const dialog = qobject_cast<FlashingDialog*>(QApplication::activeModalWidget())) {
        follow(*dialog);
        return;
    }
    const auto* const screen = dynamic_cast<InfoScreen*>(window.centralWidget());
    const auto* const updateButton = window.findChild<QPushButton*>(QStringLiteral("updateButton"));
    if (isUpdating && screen && !screen->closeButton()->isHidden())
        end(!screen->backButton()->isHidden());
    else if (!isUpdating && updateButton && updateButton->isEnabled() && mainPage())
        requestUpdate();
}

void UserDriver::answer(QMessageBox& box)
{
    auto* const button = box.defaultButton() ? box.defaultButton() : box.buttons().first();
    Q_EMIT happened(QStringLiteral("message: %1 | answer: %2").arg(box.text(), button->text()));
    button->click();
}

/// Follows the progress bars, and closes the dialog when all updates have ended.
void UserDriver::follow(FlashingDialog& dialog)
{
    auto* const closeButton = dialog.findChild<QPushButton*>(QStringLiteral("closeButton"));
    if (!closeButton->isEnabled()) {
        if (isWellUnderWay(dialog))
            Q_EMIT screenSeen(QStringLiteral("updating"), &dialog);
        return;
    }
    Q_EMIT screenSeen(dialog.errors().isEmpty() ? QStringLiteral("updated") : QStringLiteral("update-failed"),
                      &dialog);
    noteResult(dialog, DeviceType::Transmitter);
    noteResult(dialog, DeviceType::Headset);
    Q_EMIT happened(QStringLiteral("user: Close"));
    clickLater(closeButton);
}

void UserDriver::noteResult(const FlashingDialog& dialog, DeviceType type)
{
    // At the end the bar may show less than 100 %, because the updater announces 5 steps of progress for each
    // sector of a transmitter but makes only 4.
    constexpr int fullPercent = 95;
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

void UserDriver::end(bool isFailed)
{
    isUpdating = false;
    Q_EMIT screenSeen(isFailed ? QStringLiteral("failure-report") : QStringLiteral("pairing-instructions"),
                      &window);
    if (isFailed)
        outcome.report = labelText(*window.centralWidget(), "text");
    Q_EMIT happened(isFailed ? QStringLiteral("screen: failure report: ") + outcome.report.simplified()
                             : QStringLiteral("screen: pairing instructions"));
    Q_EMIT ended(outcome);
}

void UserDriver::requestUpdate()
{
    Q_EMIT screenSeen(QStringLiteral("main-page"), &window);
    Q_EMIT happened(
        QStringLiteral("user: Update (transmitter %1 -> %2, headset %3 -> %4)")
            .arg(labelText(window, "transmitterVersion"), labelText(window, "transmitterFirmwareVersion"),
                 labelText(window, "headsetVersion"), labelText(window, "headsetFirmwareVersion")));
    isUpdating = true;
    outcome = {};
    Q_EMIT updateRequested();
    pressUpdate();
}
