#pragma once

#include <memory>

#include <QByteArray>
#include <QDialog>
#include <QFuture>
#include <QFutureWatcher>
#include <QMap>

#include "deviceinstance.h"

class AudioEndpointsKeeper;
class FirmwareUpdater;
class KeepAwake;
class QGroupBox;
class QLabel;
class QProgressBar;
class ScopedAudioServiceStopper;

namespace Ui {
class FlashingDialogClass;
}

/// The modal dialog that carries out one update run and shows its progress: add the devices, call start(),
/// then exec(). The result is QDialog::Accepted exactly when every device was updated and the user pressed
/// Close.
///
/// A run stops the audio service on a pool thread, starts the updaters of all devices, restarts the service
/// on a pool thread while they work, and restores the default audio endpoints when all have reported and the
/// service is back. Until then the computer stays awake. Escape rejects the dialog at any time; destroying it
/// then restores service and endpoints and ends the updaters.
///
/// GUI thread only, with COM initialised there. The destructor may block until the audio service runs again
/// and the updaters' worker threads have ended: a device that is being programmed is programmed to its end.
class FlashingDialog : public QDialog
{
    Q_OBJECT

public:
    explicit FlashingDialog(QWidget* parent);
    ~FlashingDialog() override;

    /// Adds a device to the run; call before start().
    /// @return false, with nothing changed, when a device of @p type is there already or @p instance is
    /// empty.
    bool addDeviceToUpdate(const DeviceInstance& instance, const QByteArray& firmware, DeviceType type);

    /// Shows the dialog and begins the run.
    void start();

    /// The error code of each device that has failed so far.
    QMap<DeviceType, int> errors() const;

private Q_SLOTS:
    void onFlashingError(int code);
    void onFlashingFinished();
    void createAndStartUpdaters();
    void fixProgressBar(DeviceType type);

private:
    struct DeviceToUpdate
    {
        DeviceInstance instance;
        QByteArray firmware;
    };

    struct ResultWidgets
    {
        QGroupBox* box;
        QProgressBar* progressBar;
        QLabel* icon;
        QLabel* text;
    };

    ResultWidgets widgetsOf(DeviceType type) const;
    void createAndStartUpdater(DeviceType type, const DeviceToUpdate& device);
    void restartAudioService();
    DeviceType takeReportingUpdater();
    QString errorText(DeviceType type, int code) const;
    void endDevice(DeviceType type, const QString& text, const QString& iconPath);
    void checkEndOfRun();

    const std::unique_ptr<Ui::FlashingDialogClass> ui;
    std::unique_ptr<KeepAwake> keepAwake; ///< from the begin of the run to its end
    QMap<DeviceType, DeviceToUpdate> devices;
    QMap<FirmwareUpdater*, DeviceType> updaters;
    QMap<DeviceType, int> errorCodes;
    std::unique_ptr<AudioEndpointsKeeper> audioEndpointsKeeper;
    /// Shared with the task that stops the service.
    std::shared_ptr<ScopedAudioServiceStopper> audioServiceStopper;
    QFutureWatcher<void>* restartWatcher = nullptr;
    QFuture<void> stopTask;
    int startedDevices = 0;
};
