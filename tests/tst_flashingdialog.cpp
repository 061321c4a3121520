// The flashing dialog on a simulated computer, from start() to the end of a run and at every wrong moment.

#include <future>
#include <thread>

#include <QAbstractEventDispatcher>
#include <QGroupBox>
#include <QProgressBar>

#include "firmwareupdater.h"
#include "flashingdialog.h"
#include "literals.h"
#include "logfile.h"
#include "openobjects.h"
#include "pairedcomputer.h"
#include "user.h"

using Errors = QMap<DeviceType, int>;
Q_DECLARE_METATYPE(Errors)
Q_DECLARE_METATYPE(DeviceType)

namespace {

/// The moments of a run.
enum Moment { StoppingService, RestartingService, Leaving, Erasing, OneReported, Done };

constexpr std::uint32_t serviceWaitMs = 100, serviceStartWaitMs = 1000;
constexpr std::uint32_t sectorEraseMs = 4000;
constexpr std::uint32_t packetMs = 20;
constexpr int reenumerationTimeoutMs = 30000;

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

/// A dialog with devices that are plugged in, on a window of its own.
struct Run : PairedComputer
{
    explicit Run(const QByteArray& letters)
        : dialog(std::make_unique<FlashingDialog>(&window))
    {
        pair.plugIn();
        for (const DeviceType type : bothTypes) {
            if (letters.contains(type == Transmitter ? 'T' : 'H'))
                dialog->addDeviceToUpdate(instance(type), images[type], type);
        }
    }

    ~Run() { gate.open(); } // the dialog waits for whom it holds

    DeviceInstance instance(DeviceType type)
    {
        DeviceInstance result;
        result.vendorId = 0x7A31;
        result.productId = type == Transmitter ? 0x0004 : 0x0006;
        result.path = pair.channelPath(type);
        return result;
    }

    /// Starts devices that will never be back.
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
    QImage icon(DeviceType type) const { return of(type, "ResultIcon")->pixmap(Qt::ReturnByValue).toImage(); }
    QProgressBar* bar(DeviceType type) const { return of<QProgressBar>(type, "ProgressBar"); }
    QPushButton* closeButton() const { return find<QPushButton>(*dialog, "closeButton"); }

    bool areEndpointsRestored() { return machine.audioEndpoints().defaultsSet().size() == 6; }
    /// Whether the computer is kept awake, and a user who wants to end the session is told why not.
    bool isAwake()
    {
        const SimulatedSession& session = machine.session();
        return session.required() == (ES_SYSTEM_REQUIRED | ES_DISPLAY_REQUIRED) && !canSessionEnd() &&
               session.blockReason(HWND(window.winId())) == L"Do not disconnect devices during update.";
    }
    bool isAtRest()
    {
        const SimulatedSession& session = machine.session();
        return session.required() == 0 && canSessionEnd() &&
               session.blockReason(HWND(window.winId())).empty() && areEndpointsRestored();
    }

    const QTemporaryDir folder;
    QWidget window;
    std::unique_ptr<FlashingDialog> dialog;
};

QImage iconImage(const char* name)
{
    return QIcon(":/icons/"_s + text(name)).pixmap(32, 32).toImage();
}

} // namespace

class TestFlashingDialog : public QObject
{
    Q_OBJECT

Q_SIGNALS:
    void deviceVanished();

private Q_SLOTS:
    void init() { handlesBefore = openHandleCount(); }
    void cleanup()
    {
        QCOMPARE(openHandleCount(), handlesBefore);
        QCOMPARE(liveComObjectCount(), std::size_t(0));
    }

    void onlyOneRealDeviceOfAKindIsTaken();
    void bothDevicesAreProgrammedWithinOneStopOfTheService();
    void theRunEndsWithTheLastReport_data();
    void theRunEndsWithTheLastReport();
    void aDeviceThatFailsAtItsStartDoesNotEndTheRun();
    void theLogTellsWhereADeviceWasLost_data();
    void theLogTellsWhereADeviceWasLost();
    void closingAtAnyMomentLeavesEverythingInOrder_data();
    void closingAtAnyMomentLeavesEverythingInOrder();

private:
    std::size_t handlesBefore = 0;
};

void TestFlashingDialog::onlyOneRealDeviceOfAKindIsTaken()
{
    Run run("");
    FlashingDialog& dialog = *run.dialog;
    QVERIFY(!dialog.addDeviceToUpdate(DeviceInstance(), "image", Headset));
    QVERIFY(dialog.addDeviceToUpdate(run.instance(Headset), run.images[Headset], Headset));
    QVERIFY(!dialog.addDeviceToUpdate(run.instance(Headset), "other", Headset));

    QVERIFY(!dialog.windowFlags().testFlag(Qt::WindowCloseButtonHint) && dialog.isModal());
    QCOMPARE(dialog.windowTitle(), "Updating..."_s);
    dialog.start();
    QVERIFY(find<QGroupBox>(dialog, "transmitterBox")->isHidden() && dialog.isVisible());
    for (const DeviceType type : bothTypes)
        QCOMPARE(run.bar(type)->maximum() - run.bar(type)->minimum(), 0);
    TRY_COMPARE(run.result(Headset), updated);
    QVERIFY(run.isUpdated(Headset) && run.result(Transmitter).isEmpty());
    QCOMPARE(run.pair.device(Transmitter).transfers().count, 0);

    QMetaObject::invokeMethod(&dialog, "fixProgressBar", Q_ARG(DeviceType, Transmitter));
    QCOMPARE(run.bar(Transmitter)->maximum(), 100);
    run.bar(Transmitter)->setRange(0, 7);
    QMetaObject::invokeMethod(&dialog, "fixProgressBar", Q_ARG(DeviceType, Transmitter));
    QCOMPARE(run.bar(Transmitter)->maximum(), 7);
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
    TRY_COMPARE(run.result(Headset), updated); // it does not wait for the other
    TRY_COMPARE(run.audioServiceState(), DWORD(SERVICE_RUNNING));
    QCOMPARE(leavingWhileStopped.load(), 2);
    QVERIFY(run.isAwake() && !run.closeButton()->isEnabled());
    QVERIFY(!run.areEndpointsRestored());
    QTest::keyClick(run.dialog.get(), Qt::Key_Return);
    QVERIFY(run.dialog->isVisible());

    run.gate.open();
    TRY_VERIFY(run.closeButton()->isEnabled());
    QVERIFY(run.isAtRest());
    for (const DeviceType type : bothTypes) {
        QVERIFY(run.isUpdated(type) && run.pair.device(type).refusals().empty());
        QCOMPARE(run.icon(type), iconImage("doneandnext.png"));
        QVERIFY(run.bar(type)->value() > 100); // the updater's own range and value
    }
    QTest::keyClick(run.dialog.get(), Qt::Key_Return);
    QCOMPARE(run.dialog->result(), int(QDialog::Accepted));
}

void TestFlashingDialog::theRunEndsWithTheLastReport_data()
{
    QTest::addColumn<QByteArray>("reports"); // device and code, 0 for success, in order
    QTest::addColumn<QString>("transmitterText");
    QTest::addColumn<QString>("headsetText");
    QTest::addColumn<Errors>("errors");
    const QString code = "Update was unsuccessful. Error code: "_s;
    const auto row = [](const char* reports, const QString& transmitterText, const QString& headsetText,
                        const Errors& errors) {
        QTest::newRow(reports) << QByteArray(reports) << transmitterText << headsetText << errors;
    };
    row("T0", updated, QString(), {});
    row("H0", QString(), updated, {});
    row("H0 T0", updated, updated, {});
    row("T1", advice, QString(), {{Transmitter, 1}});
    row("H3", QString(), advice, {{Headset, 3}});
    row("H9", QString(), code + "2/9"_s, {{Headset, 9}});
    row("T2 H0", code + "1/2"_s, updated, {{Transmitter, 2}});
    row("H4 T5", code + "1/5"_s, code + "2/4"_s, {{Transmitter, 5}, {Headset, 4}});
    row("T0 T7", updated, code + "0/7"_s, {{Unknown, 7}}); // a report too many is nobody's
    row("T8 T0", code + "1/8"_s, updated, {{Transmitter, 8}});
    row("T6 T7 H0", code + "1/6"_s, updated, {{Transmitter, 6}, {Unknown, 7}});
}

void TestFlashingDialog::theRunEndsWithTheLastReport()
{
    QFETCH(const QByteArray, reports);
    QFETCH(const Errors, errors);
    const int devices = reports.contains('T') + reports.contains('H');
    Run run(reports);
    run.startInVain(devices);
    const QList<FirmwareUpdater*> updaters = run.updaters();
    for (const QByteArray& report : reports.split(' ')) {
        const bool isFirst = report.startsWith('T') || devices == 1;
        FirmwareUpdater* const updater = isFirst ? updaters.first() : updaters.last();
        const DeviceType type = report.startsWith('T') ? Transmitter : Headset;
        if (reports.startsWith(report)) {
            QVERIFY(!run.closeButton()->isEnabled() && run.icon(type).isNull() && run.isAwake());
            QCOMPARE(run.bar(type)->maximum(), 0);
        }
        if (report.endsWith('0'))
            Q_EMIT updater->flashingFinished();
        else
            Q_EMIT updater->flashingError(report.mid(1).toInt());
        QCOMPARE(run.bar(type)->maximum(), 100);
    }
    QTEST(run.result(Transmitter), "transmitterText");
    QTEST(run.result(Headset), "headsetText");
    QCOMPARE(run.dialog->errors(), errors);
    for (const DeviceType type : bothTypes) {
        const bool isSuccess = run.result(type) == updated;
        if (!run.result(type).isEmpty())
            QCOMPARE(run.icon(type), iconImage(isSuccess ? "doneandnext.png" : "process-stop.png"));
    }
    TRY_VERIFY(run.isAtRest());
    QTest::mouseClick(run.closeButton(), Qt::LeftButton);
    QCOMPARE(run.dialog->result(), int(errors.isEmpty() ? QDialog::Accepted : QDialog::Rejected));
    QVERIFY(run.dialog->isHidden());
}

void TestFlashingDialog::aDeviceThatFailsAtItsStartDoesNotEndTheRun()
{
    Run run("TH");
    run.pair.device(Transmitter).unplug();
    run.gate.close(packetMs);
    run.dialog->start();
    TRY_VERIFY(run.gate.isReached());
    QCOMPARE(run.result(Transmitter), advice);
    QVERIFY(!run.closeButton()->isEnabled() && run.isAwake());
    run.gate.open();
    TRY_VERIFY(run.closeButton()->isEnabled());
    QCOMPARE(run.result(Headset), updated);
    QCOMPARE(run.dialog->errors(), (Errors{{Transmitter, 1}}));
    QVERIFY(run.isUpdated(Headset) && run.isAtRest());
}

void TestFlashingDialog::theLogTellsWhereADeviceWasLost_data()
{
    QTest::addColumn<DeviceType>("type");
    QTest::addColumn<int>("transfer"); // of the device, at which it vanishes; 0: it does not come back
    QTest::addColumn<QByteArray>("place");
    const auto row = [](DeviceType type, int transfer, const char* place) {
        QTest::newRow(place) << type << transfer << QByteArray(place);
    };
    row(Headset, 0, "leave, code 1");
    row(Headset, 3, "identify at transfer 2, code 3");
    row(Transmitter, 7, "configure at transfer 6, code 1");
    row(Transmitter, 13, "erase at transfer 12, code 1");
    row(Headset, 20, "download at transfer 19, code 1");
    row(Headset, 29, "commit at transfer 28, code 1");
}

void TestFlashingDialog::theLogTellsWhereADeviceWasLost()
{
    QFETCH(const DeviceType, type);
    QFETCH(const int, transfer);
    QFETCH(const QByteArray, place);
    Run run(type == Transmitter ? "T" : "H");
    const QString path = run.folder.filePath("log.txt"_s);
    std::promise<void> heard;
    connect(this, &TestFlashingDialog::deviceVanished, run.dialog.get(), [&heard] { heard.set_value(); });
    {
        const LogFile log(path);
        if (transfer == 0) {
            run.startInVain(1);
            for (auto* const timer : run.updaters().first()->findChildren<QTimer*>()) {
                if (timer->interval() == reenumerationTimeoutMs)
                    timer->start(0);
            }
        } else {
            run.pair.device(type).setFault(Fault::Vanish, transfer);
            // Under virtual time no delay lets the dialog hear of it before the next transfer.
            run.pair.device(type).onVanished = [&] {
                Q_EMIT deviceVanished();
                heard.get_future().wait();
            };
            run.dialog->start();
        }
        TRY_VERIFY(run.closeButton()->isEnabled());
    }
    QFile log(path);
    QVERIFY(log.open(QIODevice::ReadOnly));
    const QByteArrayList lines = log.readAll().split('\n');
    const QByteArray device = ", device type = " + QByteArray::number(type) + '\r';
    QVERIFY2(lines.contains("Failed in phase " + place + device), lines.join('\n'));
    QVERIFY(lines.first() == "Phase prepare, number of devices = 1\r" && lines.contains("Phase restore\r"));
}

void TestFlashingDialog::closingAtAnyMomentLeavesEverythingInOrder_data()
{
    QTest::addColumn<int>("moment");
    QTest::addColumn<bool>("byKey");
    const char* const names[] = {
        "stopping the service", "restarting the service", "leaving", "erasing", "one reported", "done"};
    for (const int moment : {StoppingService, RestartingService, Leaving, Erasing, OneReported, Done}) {
        for (const bool byKey : {true, false})
            QTest::addRow("%s, %s", names[moment], byKey ? "Escape" : "close") << moment << byKey;
    }
}

void TestFlashingDialog::closingAtAnyMomentLeavesEverythingInOrder()
{
    QFETCH(const int, moment);
    QFETCH(const bool, byKey);
    Run run("TH");
    if (moment == StoppingService || moment == Erasing) {
        run.gate.close(moment == Erasing ? sectorEraseMs : serviceWaitMs);
        run.dialog->start();
        TRY_VERIFY(run.gate.isReached());
        // The headset, too, has done more than to leave its application.
        TRY_VERIFY(moment != Erasing || run.pair.device(Headset).transfers().count > 1);
    } else {
        if (moment == RestartingService)
            run.gate.close(serviceStartWaitMs);
        run.startInVain(2);
        TRY_VERIFY(moment != RestartingService || run.gate.isReached());
        if (moment == OneReported || moment == Done)
            Q_EMIT run.updaters().first()->flashingError(5);
        if (moment == Done)
            Q_EMIT run.updaters().last()->flashingFinished();
    }
    TRY_VERIFY(moment == Done ? run.isAtRest() : run.isAwake());

    if (byKey)
        QTest::keyClick(run.dialog.get(), Qt::Key_Escape);
    else
        run.dialog->close();
    QVERIFY(run.dialog->isHidden());
    QCOMPARE(run.dialog->result(), int(QDialog::Rejected));
    QCOMPARE(run.dialog->errors().size(), moment == OneReported || moment == Done ? 1 : 0);

    if (moment == StoppingService && byKey) { // the service has stopped before the dialog goes
        run.gate.open();
        QThreadPool::globalInstance()->waitForDone();
        QCoreApplication::processEvents();
    }
    QCOMPARE(run.updaters().isEmpty(), moment == StoppingService);
    bool wasInOrder = moment == StoppingService; // no device is touched then
    for (FirmwareUpdater* updater : run.updaters()) {
        connect(updater, &QObject::destroyed, this, [&] {
            wasInOrder = run.audioServiceState() == SERVICE_RUNNING && run.areEndpointsRestored() &&
                         run.isAwake() == (moment != Done);
        });
    }
    // The dialog waits for the service's restart and for a device that is being programmed.
    std::thread opener([&run, moment] {
        if (moment != StoppingService)
            run.gate.open();
    });
    run.dialog.reset();
    opener.join();
    QCOMPARE(run.audioServiceState(), DWORD(SERVICE_RUNNING));
    QVERIFY(wasInOrder && run.isAtRest());
    run.gate.open();
    QThreadPool::globalInstance()->waitForDone();
    QCOMPARE(run.audioServiceState(), DWORD(SERVICE_RUNNING));
    for (const DeviceType type : bothTypes) {
        QCOMPARE(run.isUpdated(type), moment == Erasing);
        QCOMPARE(run.pair.device(type).transfers().count > 0, moment != StoppingService);
    }
}

QTEST_MAIN(TestFlashingDialog)

#include "tst_flashingdialog.moc"
