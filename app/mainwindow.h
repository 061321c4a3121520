#pragma once

#include <memory>
#include <set>

#include <QMainWindow>
#include <QMap>

#include "deviceinstance.h"

class DeviceController;
class FirmwareController;
class FlashingDialog;
class InfoScreen;
class KeyGuard;
class MainPageLabels;
struct Compatibility;

namespace Ui {
class MainWindowClass;
}

/// The application's main window.
///
/// Its central widget is one of two pages. The main page compares the connected devices with the loaded
/// archive and starts an update. The info screen asks the user to connect the devices. After an update the
/// info screen shows the pairing instructions or the failure report. The window's system menu has the items
/// "Override" and "About...". "Override" keeps the main page open, whatever devices are connected. GUI thread
/// only. The constructor starts device detection.
class MainWindow : public QMainWindow
{
    Q_OBJECT

public:
    explicit MainWindow(QWidget* parent = nullptr);
    ~MainWindow() override;

    /// Loads the firmware archive at @p path and shows its contents. On failure, shows a warning box and
    /// returns when the user has closed the box. An empty path changes nothing.
    void setFirmwareFilePath(const QString& path);

protected:
    bool nativeEvent(const QByteArray& eventType, void* message, long* result) override;

private Q_SLOTS:
    void on_openFileButton_clicked();
    void on_updateButton_clicked();
    void onDeviceArrived(DeviceType type);
    void onDeviceRemoved(DeviceType type);
    void onFirmwareLoadingFailed();
    void onFirmwareLoadedSuccessfully();
    void showAbout();
    void enableOverrideMode();

private:
    void createBusyIndicator();

    Compatibility compatibility() const;
    void refresh();
    void refreshMainPage();

    bool confirmUnknownIdentities(std::set<DeviceType>& confirmed);
    bool isUpdateConfirmed();
    bool addToUpdate(FlashingDialog& dialog, DeviceType type) const;
    void runUpdate(FlashingDialog& dialog);
    void returnFromCancelledUpdate();

    void showMainPageOrStartScreen();
    void showMainPage();
    void showInfoScreen(const QString& deviceName, const QString& text, const QString& imagePath);
    void showGenerationScreen(const QString& text, const QString& imagePattern);
    void showStartScreen();
    void showPairingInstructions();
    void showFailureReport(const QMap<DeviceType, int>& errors);
    void setCentralPage(QWidget* page);
    void leaveFailureReport();

    const std::unique_ptr<Ui::MainWindowClass> ui;
    DeviceController* const deviceController;
    FirmwareController* const firmwareController;
    const std::unique_ptr<MainPageLabels> labels;
    KeyGuard* const keyGuard;
    bool overrideMode = false;
    bool infoScreenLocked = false;
    std::shared_ptr<QWidget> mainPage;
    std::shared_ptr<InfoScreen> infoScreen; ///< destroyed before mainPage
};
