#pragma once

#include <QTimer>
#include <QWidget>

class BenchRun;
class DevicePanel;
class EventLog;
class QComboBox;
class QGroupBox;
class QLineEdit;

/// The bench's own small window, beside the updater's: shows the simulated devices and plugs, unplugs and
/// breaks them, changes the speed of time, makes archives, and shows the log. It stays usable while the
/// updater waits for an answer. Closing it, or the updater's window, ends the program. GUI thread.
class BenchWindow : public QWidget
{
    Q_OBJECT

public:
    BenchWindow(BenchRun& benchRun, EventLog& eventLog);

protected:
    bool eventFilter(QObject* watched, QEvent* event) override;
    void closeEvent(QCloseEvent* event) override;

private:
    QGroupBox* makeTimeBox();
    QGroupBox* makeArchiveBox();
    static QGroupBox* makeLogBox(EventLog& eventLog);
    void placeBesideUpdater();
    void makeArchive();
    void refresh();
    void stayUsableUnder(const QWidget* modal);
    void endWithUpdater();
    void end();

    BenchRun& run;
    DevicePanel* transmitterPanel;
    DevicePanel* headsetPanel;
    QLineEdit* versionEdit;
    QComboBox* generationBox;
    QTimer refreshTimer;
};
