#pragma once

#include <functional>

#include <QTimer>
#include <QWidget>

#include "deviceinstance.h"

class BenchRun;
class EventLog;
class QFormLayout;
class SimulatedDevice;
struct BenchOptions;

/// A small window beside the updater's window. It shows the simulated devices and the log. Its controls plug
/// the devices in, unplug them, arm faults, change the speed of time and make archives. The window remains
/// usable while the updater shows a dialog. Closing this window or the updater's window ends the program.
/// GUI thread.
class BenchWindow : public QWidget
{
    Q_OBJECT

public:
    /// @param options  the options with which @p benchRun was created.
    BenchWindow(BenchRun& benchRun, EventLog& eventLog, const BenchOptions& options);

private:
    QWidget* makeDeviceBox(DeviceType type);
    static QWidget* makeLogView(EventLog& eventLog);
    void addState(QFormLayout& rows, const QString& name, const std::function<QString()>& state);
    void addFault(QFormLayout& rows, SimulatedDevice& device);
    QString memoryState(DeviceType type) const;
    void loadNewArchive();
    void placeWindows();
    void remainUsable();
    void endAfterClosing();

    BenchRun& run;
    const int generation; ///< product generation of the archives that loadNewArchive() makes
    int minorVersion = 2; ///< minor version of the latest archive
    QTimer refreshTimer;  ///< at every timeout, refreshes the states and checks the windows
};
