// Runs the flashing dialog on a simulated computer, and closes it at every stage of an update.

#include <memory>
#include <thread>

#include <QAbstractEventDispatcher>
#include <QGroupBox>
#include <QProgressBar>

#include "attempt.h"
#include "flashingdialog.h"
#include "leavesnothing.h"
#include "literals.h"
#include "pairedcomputer.h"
#include "simulatedaudioendpoints.h"
#include "table.h"
#include "user.h"

using Errors = QMap<DeviceType, int>;
Q_DECLARE_METATYPE(Errors)
Q_DECLARE_METATYPE(DeviceType)

namespace {

constexpr std::uint32_t packetMs = 20;
constexpr std::uint32_t sectorEraseMs = 4000;
constexpr std::uint32_t serviceStopMs = 100; // the updater sleeps so long while the service stops
constexpr std::uint32_t serviceStartMs = 1000;
constexpr EXECUTION_STATE requiredBefore = ES_DISPLAY_REQUIRED; ///< of the GUI thread, before the update

const QString updated = "Device has been successfully updated."_s;
const QString advice = "Update cannot proceed. Make sure your device is connected properly and try again."_s;

bool canSessionEnd()
{
    MSG query = {};
    query.message = WM_QUERYENDSESSION;
    long answer = TRUE;
    QAbstractEventDispatcher::instance()->filterNativeEvent("windows_generic_MSG", &query, &answer);
    return answer != FALSE;
}

/// A computer with both devices plugged in, and a flashing dialog with its parent window. The dialog updates
/// the devices whose letters ("T", "H") are passed to the constructor.
struct Run : PairedComputer
{
    explicit Run(const QByteArray& letters)
        : dialog(std::make_unique<FlashingDialog>(&window))
    {
        pair.plugIn();
        SetThreadExecutionState(ES_CONTINUOUS | requiredBefore);
        for (const DeviceType type : bothTypes) {
            if (letters.contains(type == Transmitter ? 'T' : 'H'))
                dialog->addDeviceToUpdate(instance(type), images[type], type);
        }
    }

    ~Run() { gate.open(); } // the dialog's destructor waits for the threads that the gate holds

    DeviceInstance instance(DeviceType type) { return recordOf(pair.channelPath(type)); }

    /// Asks the dialog to close: by the X of its window if @p byX, otherwise by Escape.
    void ask(bool byX)
    {
        if (byX)
            dialog->close();
        else
            QTest::keyClick(dialog.get(), Qt::Key_Escape);
    }

    /// Starts the update of devices that do not come back after their restart, and waits until the dialog has
    /// @p deviceCount updaters.
    void startInVain(int deviceCount)
    {
        for (const DeviceType type : bothTypes)
            pair.device(type).setFault(Fault::NeverBack, 1);
        dialog->start();
        TRY_COMPARE(updaters().size(), deviceCount);
    }

    QList<FirmwareUpdater*> updaters() const
    {
        return dialog->findChildren<FirmwareUpdater*>(QString(), Qt::FindDirectChildrenOnly);
    }

    template <typename Widget = QLabel>
    Widget* of(DeviceType type, const char* role) const
    {
        return find<Widget>(*dialog, QByteArray(type == Transmitter ? "transmitter" : "headset") + role);
    }
    QString result(DeviceType type) const { return of(type, "InfoLabel")->text(); }
    QProgressBar* bar(DeviceType type) const { return of<QProgressBar>(type, "ProgressBar"); }
    QPushButton* closeButton() const { return find<QPushButton>(*dialog, "closeButton"); }

    bool areEndpointsRestored() { return machine.audioEndpoints().defaultsSet().size() == 6; }
    /// @return true if the computer is kept awake, the user cannot end the session, and the user sees why.
    bool isAwake()
    {
        Session& session = machine.session();
        return session.required() == (ES_SYSTEM_REQUIRED | ES_DISPLAY_REQUIRED) && !canSessionEnd() &&
               session.blockReason(HWND(window.winId())) == L"Do not disconnect devices during update.";
    }
    bool isAtRest()
    {
        Session& session = machine.session();
        return session.required() == requiredBefore && canSessionEnd() &&
               session.blockReason(HWND(window.winId())).empty() && areEndpointsRestored();
    }

    /// Destroys the dialog, and opens the gate while the dialog's destructor runs.
    /// @return how many updaters are destroyed while the audio service runs, the endpoints are restored, and
    /// isAwake() is unchanged.
    int destroyDialog()
    {
        const bool wasAwake = isAwake();
        int orderly = 0;
        for (FirmwareUpdater* updater : updaters()) {
            QObject::connect(updater, &QObject::destroyed, &window, [&] {
                if (audioServiceState() == SERVICE_RUNNING && areEndpointsRestored() && isAwake() == wasAwake)
                    ++orderly;
            });
        }
        std::thread opener([this] { gate.open(); });
        dialog.reset();
        opener.join();
        return orderly;
    }

    QWidget window;
    std::unique_ptr<FlashingDialog> dialog;
};

/// Tries to close the dialog by Escape and by X, then minimises it. @return true if the dialog is open, its
/// warning is enabled, its Close button is disabled, and the computer is kept awake.
bool isClosingRefused(Run& run)
{
    run.ask(false);
    run.ask(true);
    const bool isOpen = run.dialog->isVisible();
    run.dialog->showMinimized();
    return isOpen && !run.closeButton()->isEnabled() && run.dialog->isMinimized() &&
           find(*run.dialog, "doNotDisconnectDevicesLabel")->isEnabled() && run.isAwake();
}

/// @return whether the dialog's box for the device @p type shows a busy bar and no result.
bool isWaiting(const Run& run, DeviceType type)
{
    return run.of(type, "ResultIcon")->isHidden() && run.of(type, "InfoLabel")->isHidden() &&
           run.bar(type)->maximum() == 0;
}

void compareResultsWithTheirWidgets(const Run& run)
{
    for (const DeviceType type : bothTypes) {
        const QString result = run.result(type);
        const QString picture = text(result == updated ? "doneandnext" : "process-stop");
        QCOMPARE(WindowState::pictureOf(*run.of(type, "ResultIcon")), result.isEmpty() ? QString() : picture);
        QCOMPARE(run.of(type, "ResultIcon")->accessibleName(), result);
        QCOMPARE(run.bar(type)->accessibleDescription(), result);
        QVERIFY(run.closeButton()->accessibleDescription().contains(result));
    }
}

} // namespace

class TestFlashingDialog : public LeavesNothing
{
    Q_OBJECT

private Q_SLOTS:
    void onlyOneRealDeviceOfAKindIsTaken();
    void bothDevicesAreProgrammedWithinOneStopOfTheService();
    void theUpdateEndsWhenAllDevicesHaveReported_data();
    void theUpdateEndsWhenAllDevicesHaveReported();
    void aDeviceThatFailsAtItsStartDoesNotEndTheUpdate();
    void theEndpointsWaitForTheService();
    void closingBeforeADeviceIsReachedLeavesTheDevicesAlone_data();
    void closingBeforeADeviceIsReachedLeavesTheDevicesAlone();
    void closingWaitsForTheServiceBeforeItEndsTheUpdaters();
    void closingWaitsForADeviceThatIsBeingProgrammed();
};

void TestFlashingDialog::onlyOneRealDeviceOfAKindIsTaken()
{
    Run run("");
    FlashingDialog& dialog = *run.dialog;
    QVERIFY(!dialog.addDeviceToUpdate(DeviceInstance(), "image", Headset));
    QVERIFY(dialog.addDeviceToUpdate(run.instance(Headset), run.images[Headset], Headset));
    QVERIFY(!dialog.addDeviceToUpdate(run.instance(Headset), "other", Headset));

    dialog.start();
    QVERIFY(find<QGroupBox>(dialog, "transmitterBox")->isHidden());
    QVERIFY(dialog.isVisible());
    QVERIFY(dialog.windowFlags().testFlag(Qt::WindowMinimizeButtonHint));
    QVERIFY(!dialog.windowFlags().testFlag(Qt::WindowCloseButtonHint));
    for (const DeviceType type : bothTypes)
        QCOMPARE(run.bar(type)->maximum() - run.bar(type)->minimum(), 0);
    TRY_COMPARE(run.result(Headset), updated);
    QVERIFY(run.isUpdated(Headset));
    QVERIFY(run.result(Transmitter).isEmpty());
    QCOMPARE(run.pair.device(Transmitter).transfers().count, 0);
}

void TestFlashingDialog::bothDevicesAreProgrammedWithinOneStopOfTheService()
{
    Run run("TH");
    std::atomic<int> leavingWhileStopped{0};
    run.onReport = [&](const std::string& report) {
        if (report.find("leave from") != std::string::npos && run.audioServiceState() == SERVICE_STOPPED)
            ++leavingWhileStopped;
    };
    run.gate.close(sectorEraseMs);
    run.dialog->start();
    QVERIFY(run.isAwake());
    TRY_VERIFY(run.gate.isReached());
    TRY_COMPARE(run.result(Headset), updated); // the headset's result does not wait for the transmitter
    TRY_COMPARE(run.audioServiceState(), DWORD(SERVICE_RUNNING));
    QCOMPARE(leavingWhileStopped.load(), 2);
    QVERIFY(run.isAwake());
    QVERIFY(!run.closeButton()->isEnabled());
    QVERIFY(!run.areEndpointsRestored());
    QTest::keyClick(run.dialog.get(), Qt::Key_Return);
    QVERIFY(run.dialog->isVisible());

    run.gate.open();
    TRY_VERIFY(run.closeButton()->isEnabled());
    TRY_VERIFY(run.isAtRest());
    for (const DeviceType type : bothTypes) {
        QVERIFY(run.isUpdated(type));
        QVERIFY(run.pair.device(type).refusals().empty());
        QCOMPARE(WindowState::pictureOf(*run.of(type, "ResultIcon")), "doneandnext"_s);
        QVERIFY(run.bar(type)->value() > 100); // range and value come from the updater
    }
    QTest::keyClick(run.dialog.get(), Qt::Key_Return);
    QCOMPARE(run.dialog->result(), int(QDialog::Accepted));
}

void TestFlashingDialog::theUpdateEndsWhenAllDevicesHaveReported_data()
{
    // The row's name lists the reports in order: a device's letter, and its error code or 0 for success.
    const Table<QString, QString, Errors, QByteArray> table("transmitterText", "headsetText", "errors",
                                                            "closedBy");
    const QString code = "Update was unsuccessful. Error code: "_s;
    table.row("T0", updated, QString(), {}, "Close");
    table.row("H0", QString(), updated, {}, "X");
    table.row("H0 T0", updated, updated, {}, "Escape");
    table.row("T1", advice, QString(), {{Transmitter, 1}}, "Close");
    table.row("H3", QString(), advice, {{Headset, 3}}, "X");
    table.row("H9", QString(), code + "2/9"_s, {{Headset, 9}}, "Escape");
    table.row("T2 H0", code + "1/2"_s, updated, {{Transmitter, 2}}, "X");
    table.row("H4 T5", code + "1/5"_s, code + "2/4"_s, {{Transmitter, 5}, {Headset, 4}}, "Close");
    // The second report of an updater has no known device type. The dialog shows it in the headset's box.
    table.row("T0 T7", updated, code + "0/7"_s, {{Unknown, 7}}, "Close");
    table.row("T8 T0", code + "1/8"_s, updated, {{Transmitter, 8}}, "Close");
    table.row("T6 T7 H0", code + "1/6"_s, updated, {{Transmitter, 6}, {Unknown, 7}}, "Close");
}

void TestFlashingDialog::theUpdateEndsWhenAllDevicesHaveReported()
{
    const QByteArray reports = QTest::currentDataTag();
    QFETCH(const Errors, errors);
    QFETCH(const QByteArray, closedBy);
    const int devices = reports.contains('T') + reports.contains('H');
    Run run(reports);
    run.startInVain(devices);
    QVERIFY(run.log.text().startsWith("Phase prepare, number of devices = " + QByteArray::number(devices)));
    const QList<FirmwareUpdater*> updaters = run.updaters();
    const auto* const warning = find(*run.dialog, "doNotDisconnectDevicesLabel");
    QSet<FirmwareUpdater*> reported;
    const int bottom = run.closeButton()->y();
    for (const QByteArray& letterAndCode : reports.split(' ')) {
        const DeviceType type = letterAndCode.startsWith('T') ? Transmitter : Headset;
        const bool isFirst = type == Transmitter || devices == 1;
        FirmwareUpdater* const updater = isFirst ? updaters.first() : updaters.last();
        QVERIFY(reported.size() == devices || isClosingRefused(run));
        QVERIFY(!reported.isEmpty() || isWaiting(run, type));
        reported << updater;
        const int code = letterAndCode.mid(1).toInt();
        code == 0 ? Q_EMIT updater->flashingFinished() : Q_EMIT updater->flashingError(code);
        QCOMPARE(run.bar(type)->maximum(), 100);
    }
    QCOMPARE(warning->palette().color(warning->foregroundRole()), QColor(120, 120, 120));
    QVERIFY(run.dialog->isVisible() && !run.dialog->isMinimized());
    QCOMPARE(WindowState::oddities(*run.dialog), QString());
    const bool isInOneLine = run.result(Transmitter) != advice && run.result(Headset) != advice;
    QCOMPARE(run.closeButton()->y() - bottom < 10, isInOneLine); // only a longer result moves the button
    QCOMPARE(WindowState::focusOf(*run.dialog), "@closeButton"_s);
    QTEST(run.result(Transmitter), "transmitterText");
    QTEST(run.result(Headset), "headsetText");
    QCOMPARE(run.dialog->errors(), errors);
    compareResultsWithTheirWidgets(run);
    TRY_VERIFY(run.isAtRest());
    QVERIFY(run.log.text().endsWith("|Phase restore"));
    if (closedBy == "Close")
        QTest::mouseClick(run.closeButton(), Qt::LeftButton);
    else
        run.ask(closedBy == "X");
    QCOMPARE(run.dialog->result(), int(errors.isEmpty() ? QDialog::Accepted : QDialog::Rejected));
    QVERIFY(run.dialog->isHidden());
    QCOMPARE(run.destroyDialog(), devices);
    QVERIFY(run.isAtRest());
}

void TestFlashingDialog::aDeviceThatFailsAtItsStartDoesNotEndTheUpdate()
{
    Run run("TH");
    run.pair.device(Transmitter).unplug();
    run.gate.close(packetMs);
    run.dialog->start();
    TRY_VERIFY(run.gate.isReached());
    QCOMPARE(run.result(Transmitter), advice);
    QVERIFY(!run.closeButton()->isEnabled());
    QVERIFY(run.isAwake());
    run.gate.open();
    TRY_VERIFY(run.closeButton()->isEnabled());
    QCOMPARE(run.result(Headset), updated);
    QCOMPARE(run.dialog->errors(), (Errors{{Transmitter, 1}}));
    QVERIFY(run.isUpdated(Headset));
    TRY_VERIFY(run.isAtRest());
}

void TestFlashingDialog::theEndpointsWaitForTheService()
{
    Run run("TH");
    for (const DeviceType type : bothTypes)
        run.pair.device(type).unplug(); // so that the device's update fails at the start
    run.gate.close(serviceStartMs);
    run.dialog->start();
    TRY_VERIFY(run.closeButton()->isEnabled() && run.gate.isReached());
    QVERIFY(!run.areEndpointsRestored());
    QVERIFY(run.isAwake());
    run.gate.open();
    TRY_VERIFY(run.isAtRest());
}

void TestFlashingDialog::closingBeforeADeviceIsReachedLeavesTheDevicesAlone_data()
{
    const Table<bool> table("isStoppedBefore"); // whether the service stops before the dialog is deleted
    table.row("the service is stopping", false);
    table.row("the service has stopped", true);
}

void TestFlashingDialog::closingBeforeADeviceIsReachedLeavesTheDevicesAlone()
{
    QFETCH(const bool, isStoppedBefore);
    Run run("TH");
    run.gate.close(serviceStopMs);
    run.dialog->start();
    TRY_VERIFY(run.gate.isReached());
    QVERIFY(run.isAwake());
    run.ask(isStoppedBefore);
    QVERIFY(run.dialog->isHidden());
    QCOMPARE(run.dialog->result(), int(QDialog::Rejected));
    QVERIFY(run.dialog->errors().isEmpty());
    if (isStoppedBefore) {
        run.gate.open();
        QThreadPool::globalInstance()->waitForDone();
        QCoreApplication::processEvents();
    }
    QVERIFY(run.updaters().isEmpty());
    run.dialog.reset();
    QVERIFY(run.isAtRest());
    QCOMPARE(run.audioServiceState(), DWORD(SERVICE_RUNNING));

    run.gate.open();
    QThreadPool::globalInstance()->waitForDone();
    QCOMPARE(run.audioServiceState(), DWORD(SERVICE_RUNNING));
    for (const DeviceType type : bothTypes)
        QCOMPARE(run.pair.device(type).transfers().count, 0);
}

void TestFlashingDialog::closingWaitsForTheServiceBeforeItEndsTheUpdaters()
{
    Run run("TH");
    run.gate.close(serviceStartMs);
    run.startInVain(2);
    TRY_VERIFY(run.gate.isReached());
    QCOMPARE(run.destroyDialog(), 2);
    QVERIFY(run.isAtRest());
}

void TestFlashingDialog::closingWaitsForADeviceThatIsBeingProgrammed()
{
    Run run("TH");
    run.gate.close(sectorEraseMs);
    run.dialog->start();
    TRY_VERIFY(run.gate.isReached());
    // Waits until the headset, too, is in programming mode.
    TRY_VERIFY(run.pair.device(Headset).transfers().count > 1);
    QVERIFY(run.isAwake());
    QCOMPARE(run.destroyDialog(), 2);
    QVERIFY(run.isAtRest());
    for (const DeviceType type : bothTypes)
        QVERIFY(run.isUpdated(type));
}

QTEST_MAIN(TestFlashingDialog)

#include "tst_flashingdialog.moc"
