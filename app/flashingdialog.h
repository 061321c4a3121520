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

/// The modal dialog that carries out one update run and shows its progress. Add the devices, call start(),
/// then exec().
///
/// A run stops the audio service on a pool thread, starts the updaters of all devices, and restarts the
/// service on a pool thread while they work. When all updaters have reported and the service is back, it
/// restores the default audio endpoints. The computer stays awake until then.
///
/// Escape and a request to close the window cancel the run while no device has been touched, do nothing while
/// devices are being programmed, and do what Close does after the last report. The result is
/// QDialog::Accepted if every device was updated, else QDialog::Rejected. A cancelled run has no error codes.
///
/// GUI thread only, with COM initialised there. The destructor may block until the audio service runs again
/// and the updaters' worker threads have ended. It does not interrupt programming.
class FlashingDialog : public QDialog
{
    Q_OBJECT

public:
    explicit FlashingDialog(QWidget* parent);
    ~FlashingDialog() override;

    /// Adds a device to the run; call before start().
    /// @return false, with nothing changed, if a device of @p type was added before or @p instance has the
    ///         product identifier 0.
    bool addDeviceToUpdate(const DeviceInstance& instance, const QByteArray& firmware, DeviceType type);

    /// Shows the dialog and starts the run.
    void start();

    /// The error code of each device that has failed so far.
    QMap<DeviceType, int> errors() const;

public Q_SLOTS:
    /// Handles Escape and a request to close the window, as described above.
    void reject() override;

private Q_SLOTS:
    void createAndStartUpdaters();
    void fixProgressBar(DeviceType type);

private:
    /// How far the run has come.
    enum class Stage {
        Prepared,        ///< devices can be added
        StoppingService, ///< no device has been touched
        Starting,        ///< some updaters may still have to be created
        Updating,        ///< at least one updater still has to report
        Reported,        ///< all updaters have reported, but the audio endpoints are not restored yet
        Ended,           ///< the audio endpoints are restored
        Cancelled,       ///< the user cancelled before a device was touched
    };

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
    void onFlashingError(FirmwareUpdater* updater, int code);
    void onFlashingFinished(FirmwareUpdater* updater);
    QString errorText(DeviceType type, int code) const;
    void endDevice(DeviceType type, const QString& text, const QString& iconPath);
    void endRunAfterLastReport();
    void callUser();
    void restore();
    void closeWithResult();

    Stage stage = Stage::Prepared;
    const std::unique_ptr<Ui::FlashingDialogClass> ui;
    std::unique_ptr<KeepAwake> keepAwake; ///< exists while a run is in progress
    QMap<DeviceType, DeviceToUpdate> devices;
    QMap<FirmwareUpdater*, DeviceType> updaters;
    QMap<DeviceType, int> errorCodes;
    std::unique_ptr<AudioEndpointsKeeper> audioEndpointsKeeper;
    /// Shared with the task that stops the service. The task that restarts the service destroys it.
    std::shared_ptr<ScopedAudioServiceStopper> audioServiceStopper;
    QFutureWatcher<void>* restartWatcher = nullptr;
    QFuture<void> stopTask;
};
