#include "screentour.h"

#include <QApplication>
#include <QKeyEvent>
#include <QMenu>
#include <QMessageBox>

#include "devicecontroller.h"
#include "mainwindow.h"
#include "simulatedpair.h"

namespace {

/// Closes the message box, if one is shown. If the box asks a question, the answer is no.
void dismissBox()
{
    if (QMessageBox* const box = UserDriver::messageBox())
        box->reject();
}

/// Loads the archive from the event loop, because the window may open a message box and wait for the answer.
void loadArchive(MainWindow& window, const QString& path)
{
    dismissBox();
    QMetaObject::invokeMethod(
        &window, [&window, path] { window.setFirmwareFilePath(path); }, Qt::QueuedConnection);
}

void openSystemMenu(MainWindow& window)
{
    QApplication::postEvent(&window, new QKeyEvent(QEvent::KeyPress, Qt::Key_Space, Qt::AltModifier));
}

void chooseInSystemMenu(const char* text)
{
    auto* const menu = qobject_cast<QMenu*>(QApplication::activePopupWidget());
    for (QAction* const action : menu->actions()) {
        if (action->text() == QCoreApplication::translate("MainWindow", text))
            menu->setActiveAction(action);
    }
    QApplication::postEvent(menu, new QKeyEvent(QEvent::KeyPress, Qt::Key_Return, Qt::NoModifier));
}

/// Puts the transmitter into a state that an interrupted update can leave: programming mode, with unreadable
/// memory.
void breakOffTransmitterUpdate(SimulatedPair& pair)
{
    pair.device(DeviceType::Transmitter).setFault(Fault::NoData, 1);
    pair.device(DeviceType::Transmitter).restart(SimulatedChip::leaveApplication);
}

} // namespace

std::vector<Stop> screenTour(UserDriver& user, SimulatedPair& pair, const QString& archivePath,
                             const QString& otherArchive)
{
    MainWindow& window = user.updater();
    auto* const controller = window.findChild<DeviceController*>();
    const auto start = [&user] { return user.isStartScreen() ? &user.updater() : nullptr; };
    const auto menu = [] { return QApplication::activePopupWidget(); };
    const auto openMenu = [&window] { openSystemMenu(window); };
    const auto pressUpdate = [&user] { user.pressUpdate(); };
    const auto mainPageWith = [&user, controller](DeviceType type) {
        return
            [&user, controller, type] { return controller->isConnected(type) ? user.mainPage() : nullptr; };
    };
    // Reports the screen that is shown during a detection. The tour looks for its screens at intervals and
    // could miss this one, because a detection is short.
    QObject::connect(controller, &DeviceController::deviceDetectionStarted, &user, [&user, &window] {
        if (!user.isStartScreen())
            Q_EMIT user.screenSeen(QStringLiteral("main-page-detecting"), &window);
    });
    return {
        {"start-screen", start, openMenu},
        {"system-menu", menu, [] { chooseInSystemMenu("About..."); }},
        {"about", UserDriver::messageBox,
         [=, &window] { loadArchive(window, archivePath + QStringLiteral(".missing")); }},
        {"loading-error", UserDriver::messageBox, dismissBox},
        {"start-screen-no-archive", start, [=, &window] { loadArchive(window, archivePath); }},
        {nullptr, start, openMenu},
        {nullptr, menu, [] { chooseInSystemMenu("Override"); }},
        {"main-page-no-device", [&user] { return user.mainPage(); },
         [&pair] { pair.device(DeviceType::Headset).plugIn(); }},
        {"main-page-one-device", mainPageWith(DeviceType::Headset), pressUpdate},
        {"question-one-device", UserDriver::messageBox,
         [&pair] {
             dismissBox();
             pair.device(DeviceType::Transmitter).plugIn();
         }},
        {nullptr, mainPageWith(DeviceType::Transmitter), [&pair] { breakOffTransmitterUpdate(pair); }},
        {"main-page-unknown-device",
         [=] {
             return controller->deviceName().isEmpty() ? mainPageWith(DeviceType::Transmitter)() : nullptr;
         },
         pressUpdate},
        {"question-unknown-device", UserDriver::messageBox,
         [=, &window, &pair] {
             loadArchive(window, otherArchive);
             pair.device(DeviceType::Transmitter).restart(SimulatedChip::endOfProgramming);
         }},
        {"main-page-incompatible",
         [=, &user] { return controller->deviceName().isEmpty() ? nullptr : user.mainPage(); }, [] {}},
    };
}
