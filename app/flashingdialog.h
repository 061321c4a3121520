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

/// The modal dialog that carries out one update run and shows its progress. Add the devices, call
/// start(), then exec().
///
/// A run stops the audio service on a pool thread, then starts one updater for each device. While the
/// updaters work, the run restarts the service on a pool thread. When all updaters have reported success or
/// failure and the restart has ended, the run restores the default audio endpoints. The computer stays
/// awake until then.
///
/// Until the updaters are started, Escape and a request to close the window cancel the run. After that, both
/// do nothing until all updaters have reported. Then both act like the Close button. exec() returns
/// QDialog::Accepted if every device was updated, else QDialog::Rejected. After a cancelled run, errors() is
/// empty.
///
/// Use the dialog only on the GUI thread, with COM initialised there. The destructor may block until the
/// audio service runs again and the updaters' worker threads have ended. The destructor does not
/// interrupt programming.
class FlashingDialog : public QDialog
{
    Q_OBJECT

public:
    explicit FlashingDialog(QWidget* parent);
    ~FlashingDialog() override;

    /// Adds a device to the run. Call it before start().
    /// @return false, with nothing changed, if a device of @p type was added before or @p instance has the
    ///         product identifier 0.
    bool addDeviceToUpdate(const DeviceInstance& instance, const QByteArray& firmware, DeviceType type);

    /// Shows the dialog and starts the run.
    void start();

    /// The error code of each device that has failed so far.
    QMap<DeviceType, int> errors() const;

public Q_SLOTS:
    /// Called for Escape and for a request to close the window. See the comment of the class.
    void reject() override;

private Q_SLOTS:
    void createAndStartUpdaters();
    void fixProgressBar(DeviceType type);

private:
    enum class Stage {
        Prepared,        ///< devices can be added
        StoppingService, ///< the stop task runs; no device has been touched
        Starting,        ///< the updaters are being created and started
        Updating,        ///< at least one updater has not reported yet
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
    std::unique_ptr<KeepAwake> keepAwake; ///< null before start() and after restore()
    QMap<DeviceType, DeviceToUpdate> devices;
    QMap<FirmwareUpdater*, DeviceType> updaters;
    QMap<DeviceType, int> errorCodes;
    std::unique_ptr<AudioEndpointsKeeper> audioEndpointsKeeper;
    /// The task that stops the service also owns this object, but only until the task ends. After that, the
    /// task that restarts the service resets this pointer, which destroys the object.
    std::shared_ptr<ScopedAudioServiceStopper> audioServiceStopper;
    QFutureWatcher<void>* restartWatcher = nullptr;
    QFuture<void> stopTask;
};
