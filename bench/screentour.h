#pragma once

#include <functional>
#include <vector>

#include <QObject>
#include <QString>
#include <QTimer>

class DeviceController;
class MainWindow;
class SimulatedPair;

/// Opens the screens that an update does not show: from the start screen by the system menu, the boxes and
/// the questions to the main page with devices that do not fit. Both devices are unplugged at the start and
/// plugged in at the end. The updater then shows the main page in every state. GUI thread.
class ScreenTour : public QObject
{
    Q_OBJECT

public:
    /// @param archivePath   of the archive that the updater has loaded.
    /// @param otherArchive  one for a transmitter of the other generation.
    ScreenTour(MainWindow& mainWindow, SimulatedPair& simulatedPair, const QString& archivePath,
               const QString& otherArchive);

    /// Looks at the screen every @p intervalMs milliseconds from now on.
    void start(int intervalMs) { timer.start(intervalMs); }

Q_SIGNALS:
    /// @p screen is shown, by that name.
    void screenSeen(const QString& name, QWidget* screen);
    void finished();

private:
    /// A screen of the tour.
    struct Stop
    {
        const char* name;
        std::function<QWidget*()> screen; ///< null until it is shown
        std::function<void()> leave;
    };

    void look();
    void loadArchive(const QString& path);
    void openSystemMenu();
    static void chooseInSystemMenu(const char* text);
    void breakOffTransmitterUpdate();
    void sendToTransmitter(int controlRequest);
    void pressUpdate();

    bool isShown(bool isStartScreen) const;
    QWidget* mainPageIf(bool condition) const;

    MainWindow& window;
    SimulatedPair& pair;
    DeviceController* const controller;
    std::vector<Stop> stops;
    std::size_t reached = 0; ///< stops
    QTimer timer;
};
