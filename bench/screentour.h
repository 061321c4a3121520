#pragma once

#include <functional>
#include <memory>
#include <vector>

#include <QObject>
#include <QString>
#include <QTimer>

#include "photographer.h"

class DeviceController;
class MainWindow;
class SimulatedPair;

/// Opens, in an updater of its own, the screens that an update does not come past: from the start screen by
/// the system menu, the boxes and the questions to the main page with devices that do not fit. It begins and
/// ends with both devices unplugged. GUI thread.
class ScreenTour : public QObject
{
    Q_OBJECT

public:
    struct Archives
    {
        QString usual;
        QString otherGeneration; ///< for a transmitter of the other generation
        QString damaged;
    };
    ScreenTour(SimulatedPair& simulatedPair, Archives archivePaths, ScreenHandler screenHandler);
    ~ScreenTour() override;

    /// Looks at the screen every @p intervalMs milliseconds from now on.
    void start(int intervalMs);

Q_SIGNALS:
    void finished();

private:
    /// A screen on the way.
    struct Stop
    {
        const char* name;
        std::function<void()> go;
        std::function<QWidget*()> screen; ///< null until it is there
    };

    void look();
    void end();

    void loadArchive(const QString& path);
    void openSystemMenu();
    void chooseInSystemMenu(const char* text);
    void connectTransmitter();
    void breakOffTransmitterUpdate();
    void restartWithOtherGeneration();
    void sendToTransmitter(int controlRequest);
    void pressUpdate();

    QWidget* startScreen() const;
    QWidget* mainPage() const;
    QWidget* mainPageIf(bool condition) const;

    SimulatedPair& pair;
    const Archives archives;
    const ScreenHandler onScreen;
    std::unique_ptr<MainWindow> window;
    DeviceController* const controller;
    std::vector<Stop> stops;
    std::size_t stop = 0;
    bool isOnTheWay = false;
    QTimer timer;
};
