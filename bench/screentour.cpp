#include "screentour.h"

#include <QApplication>
#include <QKeyEvent>
#include <QMenu>
#include <QMessageBox>
#include <QProgressBar>
#include <QPushButton>

#include "devicecontroller.h"
#include "hidutilities.h"
#include "infoscreen.h"
#include "mainwindow.h"
#include "simulatedpair.h"
#include "utilities.h"

namespace {

QMessageBox* messageBox()
{
    return qobject_cast<QMessageBox*>(QApplication::activeModalWidget());
}

/// Answers no to a question, and closes a message.
void dismissBox()
{
    if (QMessageBox* const box = messageBox())
        box->reject();
}

} // namespace

ScreenTour::ScreenTour(MainWindow& mainWindow, SimulatedPair& simulatedPair, const QString& archivePath,
                       const QString& otherArchive)
    : window(mainWindow)
    , pair(simulatedPair)
    , controller(window.findChild<DeviceController*>())
{
    const auto start = [this] { return isShown(true) ? &window : nullptr; };
    const auto menu = [] { return QApplication::activePopupWidget(); };
    const auto isConnected = [this](DeviceType type) { return controller->isConnected(type); };
    stops = {
        {"start-screen", start, [this] { openSystemMenu(); }},
        {"system-menu", menu, [] { chooseInSystemMenu("About..."); }},
        {"about", messageBox, [=] { loadArchive(archivePath + QStringLiteral(".missing")); }},
        {"loading-error", messageBox, dismissBox},
        {"start-screen-no-archive", start, [=] { loadArchive(archivePath); }},
        {nullptr, start, [this] { openSystemMenu(); }},
        {nullptr, menu, [] { chooseInSystemMenu("Override"); }},
        {"main-page-no-device", [this] { return mainPageIf(true); },
         [this] { pair.device(DeviceType::Headset).plugIn(); }},
        {"main-page-one-device", [=] { return mainPageIf(isConnected(DeviceType::Headset)); },
         [this] { pressUpdate(); }},
        {"question-one-device", messageBox,
         [this] {
             dismissBox();
             pair.device(DeviceType::Transmitter).plugIn();
         }},
        {nullptr, [=] { return mainPageIf(isConnected(DeviceType::Transmitter)); },
         [this] { breakOffTransmitterUpdate(); }},
        {"main-page-unknown-device",
         [=] {
             return mainPageIf(isConnected(DeviceType::Transmitter) && controller->deviceName().isEmpty());
         },
         [this] { pressUpdate(); }},
        {"question-unknown-device", messageBox,
         [=] {
             loadArchive(otherArchive);
             sendToTransmitter(HidUtilities::EndProgramming);
         }},
        {"main-page-incompatible", [=] { return mainPageIf(!controller->deviceName().isEmpty()); },
         [this] {
             timer.stop();
             Q_EMIT finished();
         }},
    };
    // It is too short for a stop.
    connect(controller, &DeviceController::deviceDetectionStarted, this, [this] {
        if (isShown(false))
            Q_EMIT screenSeen(QStringLiteral("main-page-detecting"), &window);
    });
    connect(&timer, &QTimer::timeout, this, &ScreenTour::look);
}

void ScreenTour::look()
{
    const Stop& stop = stops[reached];
    QWidget* const screen = stop.screen();
    if (!screen)
        return;
    if (stop.name)
        Q_EMIT screenSeen(QLatin1String(stop.name), screen);
    ++reached;
    stop.leave();
}

/// From the event loop, as the window may open a box and wait for its answer.
void ScreenTour::loadArchive(const QString& path)
{
    dismissBox();
    QMetaObject::invokeMethod(
        &window, [this, path] { window.setFirmwareFilePath(path); }, Qt::QueuedConnection);
}

void ScreenTour::openSystemMenu()
{
    QApplication::postEvent(&window, new QKeyEvent(QEvent::KeyPress, Qt::Key_Space, Qt::AltModifier));
}

void ScreenTour::chooseInSystemMenu(const char* text)
{
    auto* const menu = qobject_cast<QMenu*>(QApplication::activePopupWidget());
    for (QAction* const action : menu->actions()) {
        if (action->text() == QCoreApplication::translate("MainWindow", text))
            menu->setActiveAction(action);
    }
    QApplication::postEvent(menu, new QKeyEvent(QEvent::KeyPress, Qt::Key_Return, Qt::NoModifier));
}

/// Leaves the transmitter in programming mode with unreadable memory.
void ScreenTour::breakOffTransmitterUpdate()
{
    pair.device(DeviceType::Transmitter).setFault(Fault::NoData, 1);
    sendToTransmitter(HidUtilities::LeaveApplication);
}

void ScreenTour::sendToTransmitter(int controlRequest)
{
    constexpr int readWrite = 3;
    constexpr int shared = 3;
    const std::wstring path = pair.channelPath(DeviceType::Transmitter);
    if (const auto hid = Utilities::openHidDeviceByPath(path, readWrite, shared))
        HidUtilities::sendControlRequest(hid, controlRequest);
}

void ScreenTour::pressUpdate()
{
    auto* const updateButton = window.findChild<QPushButton*>(QStringLiteral("updateButton"));
    QMetaObject::invokeMethod(updateButton, &QPushButton::click, Qt::QueuedConnection);
}

/// @return whether no box hides the start screen, or else the main page.
bool ScreenTour::isShown(bool isStartScreen) const
{
    const bool isInfoScreen = dynamic_cast<InfoScreen*>(window.centralWidget()) != nullptr;
    return isInfoScreen == isStartScreen && !messageBox();
}

/// The main page, once all devices are identified and @p condition holds.
QWidget* ScreenTour::mainPageIf(bool condition) const
{
    const bool isBusy = window.findChild<QProgressBar*>()->isVisible();
    return condition && !isBusy && isShown(false) ? &window : nullptr;
}
