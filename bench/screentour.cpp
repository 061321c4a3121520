#include "screentour.h"

#include <algorithm>

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

QString translated(const char* text)
{
    return QCoreApplication::translate("MainWindow", text);
}

QWidget* messageBox()
{
    return qobject_cast<QMessageBox*>(QApplication::activeModalWidget());
}

/// Answers no to a question, and closes a message.
void dismissBox()
{
    if (QWidget* const box = messageBox())
        QApplication::postEvent(box, new QKeyEvent(QEvent::KeyPress, Qt::Key_Escape, Qt::NoModifier));
}

} // namespace

ScreenTour::ScreenTour(SimulatedPair& simulatedPair, Archives archivePaths, ScreenHandler screenHandler)
    : pair(simulatedPair)
    , archives(std::move(archivePaths))
    , onScreen(std::move(screenHandler))
    , window(std::make_unique<MainWindow>())
    , controller(window->findChild<DeviceController*>())
{
    const auto start = [this] { return startScreen(); };
    const auto menu = [] { return QApplication::activePopupWidget(); };
    const auto isConnected = [this](DeviceType type) { return controller->isConnected(type); };
    stops = {
        {"start-screen", [this] { loadArchive(archives.usual); }, start},
        {"system-menu", [this] { openSystemMenu(); }, menu},
        {"about", [this] { chooseInSystemMenu("About..."); }, messageBox},
        {"loading-error", [this] { loadArchive(archives.damaged); }, messageBox},
        {"start-screen-no-archive", dismissBox, start},
        {nullptr, [this] { loadArchive(archives.usual); }, start},
        {nullptr, [this] { openSystemMenu(); }, menu},
        {"main-page-no-device", [this] { chooseInSystemMenu("Override"); },
         [this] { return mainPageIf(true); }},
        {"main-page-one-device", [this] { pair.device(DeviceType::Headset).plugIn(); },
         [=] { return mainPageIf(isConnected(DeviceType::Headset)); }},
        {"question-one-device", [this] { pressUpdate(); }, messageBox},
        {nullptr, [this] { connectTransmitter(); },
         [=] { return mainPageIf(isConnected(DeviceType::Transmitter)); }},
        {"main-page-unknown-device", [this] { breakOffTransmitterUpdate(); },
         [=] {
             return mainPageIf(isConnected(DeviceType::Transmitter) && controller->deviceName().isEmpty());
         }},
        {"question-unknown-device", [this] { pressUpdate(); }, messageBox},
        {"main-page-incompatible", [this] { restartWithOtherGeneration(); },
         [=] { return mainPageIf(!controller->deviceName().isEmpty()); }},
    };
    // It does not last, so it is not waited for.
    connect(controller, &DeviceController::deviceDetectionStarted, this, [this] {
        if (mainPage())
            onScreen(QStringLiteral("main-page-detecting"), *window);
    });
    connect(&timer, &QTimer::timeout, this, &ScreenTour::look);
}

ScreenTour::~ScreenTour() = default;

void ScreenTour::start(int intervalMs)
{
    window->show();
    timer.start(intervalMs);
}

void ScreenTour::look()
{
    if (stop == stops.size()) {
        end();
        return;
    }
    if (!isOnTheWay) {
        isOnTheWay = true;
        stops[stop].go();
        return;
    }
    QWidget* const screen = stops[stop].screen();
    if (!screen)
        return;
    if (stops[stop].name)
        onScreen(QLatin1String(stops[stop].name), *screen);
    ++stop;
    isOnTheWay = false;
}

void ScreenTour::end()
{
    timer.stop();
    for (const DeviceType type : {DeviceType::Transmitter, DeviceType::Headset}) {
        pair.device(type).unplug();
        pair.device(type).clearFault();
    }
    window.reset();
    Q_EMIT finished();
}

/// From the event loop, for the window may open a box and wait for its answer.
void ScreenTour::loadArchive(const QString& path)
{
    dismissBox();
    QMetaObject::invokeMethod(
        window.get(), [this, path] { window->setFirmwareFilePath(path); }, Qt::QueuedConnection);
}

void ScreenTour::openSystemMenu()
{
    QApplication::postEvent(window.get(), new QKeyEvent(QEvent::KeyPress, Qt::Key_Space, Qt::AltModifier));
}

void ScreenTour::chooseInSystemMenu(const char* text)
{
    auto* const menu = qobject_cast<QMenu*>(QApplication::activePopupWidget());
    const QList<QAction*> actions = menu->actions();
    const auto chosen = std::find_if(actions.begin(), actions.end(), [text](const QAction* action) {
        return action->text() == translated(text);
    });
    menu->setActiveAction(*chosen);
    QApplication::postEvent(menu, new QKeyEvent(QEvent::KeyPress, Qt::Key_Return, Qt::NoModifier));
}

/// In place of the question that is open.
void ScreenTour::connectTransmitter()
{
    dismissBox();
    pair.device(DeviceType::Transmitter).plugIn();
}

/// Leaves the transmitter in programming mode, and what its memory holds unreadable.
void ScreenTour::breakOffTransmitterUpdate()
{
    pair.device(DeviceType::Transmitter).setFault(Fault::NoData, 1);
    sendToTransmitter(HidUtilities::LeaveApplication);
}

void ScreenTour::restartWithOtherGeneration()
{
    loadArchive(archives.otherGeneration);
    sendToTransmitter(HidUtilities::EndProgramming);
}

void ScreenTour::sendToTransmitter(int controlRequest)
{
    constexpr int readWrite = 3;
    constexpr int shared = 3;
    const DeviceInstance transmitter = controller->deviceInstance(DeviceType::Transmitter);
    if (const auto hid = Utilities::openHidDeviceByPath(transmitter.path, readWrite, shared))
        HidUtilities::sendControlRequest(hid, controlRequest);
}

void ScreenTour::pressUpdate()
{
    auto* const updateButton = window->findChild<QPushButton*>(QStringLiteral("updateButton"));
    QMetaObject::invokeMethod(updateButton, &QPushButton::click, Qt::QueuedConnection);
}

QWidget* ScreenTour::startScreen() const
{
    const bool isThere = dynamic_cast<InfoScreen*>(window->centralWidget()) && !messageBox();
    return isThere ? window.get() : nullptr;
}

QWidget* ScreenTour::mainPage() const
{
    const bool isThere = !dynamic_cast<InfoScreen*>(window->centralWidget()) && !messageBox();
    return isThere ? window.get() : nullptr;
}

/// The main page, once all devices are identified and @p condition holds.
QWidget* ScreenTour::mainPageIf(bool condition) const
{
    const bool isBusy = window->findChild<QProgressBar*>()->isVisible();
    return condition && !isBusy ? mainPage() : nullptr;
}
