// Updates devices from the main window. Checks the questions before the update and the screen after it.

#include <thread>

#include <QStatusBar>

#include "desk.h"
#include "firmwareupdater.h"
#include "flashingdialog.h"
#include "leavesnothing.h"
#include "table.h"

namespace {

constexpr std::uint32_t serviceStopMs = 100; // the updater sleeps so long while the service stops
constexpr std::uint32_t serviceStartMs = 1000;

const QString compatibility =
    "Warning|Cannot determine if firmware is compatible with the connected device.|If you choose to proceed, "
    "please make sure you are using the correct firmware file.|Update"_s;
const QString oneDevice =
    "Warning|Only one device can be updated right now.|Do you want proceed?|Proceed and update one device"_s;
const QString reject = "Do not update"_s;
const QString broken = "Last update was not completed. Please update again."_s;

bool isQuestion(const QWidget& modal)
{
    const auto* const box = qobject_cast<const QMessageBox*>(&modal);
    return box && box->icon() == QMessageBox::Warning && box->standardButtons() == 0 &&
           !box->windowFlags().testFlag(Qt::WindowCloseButtonHint) &&
           box->buttonRole(box->defaultButton()) == QMessageBox::AcceptRole;
}

/// Answers the question in @p modal if @p answer is y, n or Esc. Otherwise, carries out @p answer as a step
/// of the desk while the question is open.
bool giveAnswer(Desk& desk, const QByteArray& answer, QWidget& modal)
{
    if (answer == "n")
        return User::press(reject)(modal);
    if (answer == "y")
        return User::press(qobject_cast<QMessageBox*>(&modal)->defaultButton()->text())(modal);
    if (answer == "Esc")
        return User::type(Qt::Key_Escape)(modal);
    desk.take(answer);
    return true;
}

/// @return the letters of the devices that the flashing dialog @p modal shows.
QByteArray devicesIn(const QWidget& modal)
{
    QByteArray letters;
    if (find<QWidget>(modal, "transmitterBox")->isVisible())
        letters += 'T';
    if (find<QWidget>(modal, "headsetBox")->isVisible())
        letters += 'H';
    return letters;
}

} // namespace

class TestWindowUpdate : public LeavesNothing
{
    Q_OBJECT

private Q_SLOTS:
    void questionsDecideWhetherAnUpdateStarts_data();
    void questionsDecideWhetherAnUpdateStarts();
    void aCancelledUpdateLeavesTheDevicesThatAreStillThere();
    void aSuccessfulUpdateEndsInPairingInstructions();
    void aFailedUpdateIsReportedAndCanBeRepeated_data();
    void aFailedUpdateIsReportedAndCanBeRepeated();
    void theNewScreenIsPaintedBeforeTheWindowWaits();
};

void TestWindowUpdate::questionsDecideWhetherAnUpdateStarts_data()
{
    // An answer is y, n, Esc, or a step such as "-T" that the Desk carries out while the question is
    // open. The last column has the letters of the devices that the dialog updates. It is empty if
    // no update starts.
    const Table<QByteArray, QByteArray, QStringList, QByteArray> table("steps", "answers", "questions",
                                                                       "updated");
    const auto row = [&table](const QByteArray& steps, const QByteArray& answers,
                              const QStringList& questions, const char* updated) {
        table.row((steps + ": " + answers).constData(), steps, answers, questions, updated);
    };
    row("A1 +T +H", "", {}, "TH");
    row("A1 +T O", "y", {oneDevice}, "T");
    row("A1 +H O", "y", {oneDevice}, "H");
    row("At +T +H", "y", {oneDevice}, "T");
    row("A1 +T O", "n", {oneDevice}, "");
    row("A1 +T O", "Esc", {oneDevice}, "");
    row("A1 +T O", "-T y", {oneDevice}, "");
    row("A1 +T O", "+H y", {oneDevice}, "TH");
    row("A2 +H O", "+T y", {oneDevice}, ""); // the transmitter is incompatible
    row("A1 +H O", "+U y y", {oneDevice, compatibility}, "TH");
    row("A1 +H O", "+U y n", {oneDevice, compatibility}, "");
    row("A1 +H O", "+U y -H y", {oneDevice, compatibility}, "T");
    row("A1 +U +H", "y", {compatibility}, "TH");
    row("A1 +U +H", "n", {compatibility}, "");
    row("A1 +U +H", "-H y y", {compatibility, oneDevice}, "T");
    row("A1 +U O", "y y", {compatibility, oneDevice}, "T");
    row("A1 +U O", "y n", {compatibility, oneDevice}, "");
    row("A1 +U O", "Esc", {compatibility}, "");
    row("A1 +U O", "-U y y", {compatibility, oneDevice}, "");
}

void TestWindowUpdate::questionsDecideWhetherAnUpdateStarts()
{
    QFETCH(const QByteArray, steps);
    QFETCH(const QByteArray, answers);
    QFETCH(const QStringList, questions);
    QFETCH(const QByteArray, updated);
    Desk desk(steps);
    const auto holdServiceStop = [&] {
        if (!updated.isEmpty())
            desk.gate.close(serviceStopMs);
    };
    std::vector<User::Act> acts;
    QByteArrayList all = answers.split(' ');
    all.removeAll(QByteArray());
    for (const QByteArray& answer : all) {
        const bool isLast = acts.size() + 1 == std::size_t(all.size());
        acts.emplace_back([&, answer, isLast](QWidget& modal) {
            if (!isQuestion(modal))
                return false;
            if (isLast)
                holdServiceStop();
            return giveAnswer(desk, answer, modal);
        });
    }
    QByteArray inDialog;
    QString state;
    if (!updated.isEmpty()) {
        acts.emplace_back([&](QWidget& modal) {
            if (!qobject_cast<FlashingDialog*>(&modal) || !desk.gate.isReached())
                return false;
            inDialog = devicesIn(modal);
            state = desk.state();
            return User::type(Qt::Key_Escape)(modal);
        });
    }
    if (all.isEmpty())
        holdServiceStop();

    QVERIFY(desk.update(acts));
    QCOMPARE(desk.questions, questions);
    QCOMPARE(inDialog, updated);
    // After Escape has cancelled the update, the devices are found again.
    const auto withoutFocus = [](const QString& whole) { return whole.section(QLatin1Char('@'), 0, 0); };
    if (!updated.isEmpty())
        TRY_COMPARE(withoutFocus(desk.state()), withoutFocus(state));
    QVERIFY(!desk.screen() || desk.screen()->closeButton()->isHidden());
}

void TestWindowUpdate::aCancelledUpdateLeavesTheDevicesThatAreStillThere()
{
    Desk desk("A1 +T +H");
    desk.gate.close(serviceStopMs);
    QVERIFY(desk.update({[&](QWidget& modal) {
        if (!desk.gate.isReached())
            return false;
        desk.plug('H', false);
        return User::type(Qt::Key_Escape)(modal);
    }}));
    const QString gone = "*Disconnected>*No change"_s;
    const QStringList noDevice{"main"_s, "(NONE)"_s, "Please connect devices"_s, gone, gone, "-"_s};
    QCOMPARE(desk.state(), noDevice.join(QLatin1Char('|')) + "@openFileButton"_s);
    TRY_COMPARE(desk.state(), "start1|VYNT1||1.0.0>1.2.3|"_s + gone + "|Update@text"_s);
}

void TestWindowUpdate::aSuccessfulUpdateEndsInPairingInstructions()
{
    Desk desk("A1 +T +H");
    // Sends Enter to the widget with the focus, as the window system does. If isHeld is true, the press is an
    // automatic repetition of a held key.
    const auto press = [](const QWidget& window, bool isHeld) {
        for (const QEvent::Type type : {QEvent::KeyPress, QEvent::KeyRelease}) {
            QKeyEvent event(type, Qt::Key_Return, Qt::NoModifier, QString(), isHeld);
            QApplication::sendEvent(window.focusWidget(), &event);
        }
    };
    QVERIFY(desk.update({[&](QWidget& modal) {
        const auto* const close = find<QPushButton>(modal, "closeButton");
        if (!close->isEnabled())
            return false;
        letScreenSettle();
        press(modal, true);
        const bool isOpen = modal.isVisible();
        press(modal, false);
        return isOpen && !modal.isVisible();
    }}));
    for (const DeviceType type : bothTypes)
        QVERIFY(desk.isUpdated(type));
    const QString pairing = "VYNT1 FIRMWARE|Success! Please pair devices.\n\n\nPairing Instructions\n1. Make "
                            "sure your transmitter "
                            "and headset are powered on.\n2. Press and hold the Power/Pairing buttons on "
                            "both Transmitter and Headset "
                            "for 3 seconds until LEDs begin to flash.\n3. Once pairing is successful, "
                            "Power/Pairing LEDs will stop "
                            "flashing and turn solid.|VYNT1-pairinginstructions Close@closeButton"_s;
    QCOMPARE(desk.screenState(), pairing);
    QVERIFY(desk.window.statusBar()->isHidden());

    // The pairing screen ignores Override, the removal of devices, and keys that were meant for the dialog.
    press(desk.window, false);
    letScreenSettle();
    press(desk.window, true);
    desk.take("O");
    for (const char letter : {'T', 'H'})
        desk.plug(letter, false);
    QCoreApplication::processEvents();
    QCOMPARE(desk.screenState(), pairing);

    QTimer::singleShot(0, &desk.window, [&] { press(desk.window, false); });
    QCOMPARE(QApplication::exec(), 0); // closing the window ends the program
    QVERIFY(desk.window.isHidden());
}

void TestWindowUpdate::aFailedUpdateIsReportedAndCanBeRepeated_data()
{
    // The digits in "codes" are the error codes of the transmitter and the headset, 0 for success. If
    // isOverridden is true, the user chooses Override while the report is shown.
    const Table<QByteArray, QString, bool> table("codes", "reason", "isOverridden");
    const QString lost =
        "One or both of your devices have been disconnected. Please reconnect your devices to "
        "restart the firmware update process."_s;
    table.row("the transmitter fails", "50", "Error code: 1/5."_s, false);
    table.row("both devices fail", "57", "Error code: 1/5, 2/7."_s, true);
    table.row("the headset fails", "04", "Error code: 2/4."_s, false);
    table.row("the transmitter fails, the headset's chip is unreadable", "43", lost, false);
    table.row("the transmitter is lost, the headset fails", "15", lost, false);
}

void TestWindowUpdate::aFailedUpdateIsReportedAndCanBeRepeated()
{
    QFETCH(const QByteArray, codes);
    QFETCH(const QString, reason);
    QFETCH(const bool, isOverridden);
    Desk desk("A1 +T +H");
    for (const DeviceType type : bothTypes)
        desk.pair.device(type).setFault(Fault::NeverBack, 1);
    const auto report = [&](QWidget& modal) {
        const auto updaters = modal.findChildren<FirmwareUpdater*>(QString(), Qt::FindDirectChildrenOnly);
        if (desk.pair.device(Headset).isPluggedIn() || desk.pair.device(Transmitter).isPluggedIn())
            return false;
        for (int i = 0; i < codes.size(); ++i) {
            if (codes[i] == '0')
                Q_EMIT updaters[i]->flashingFinished();
            else
                Q_EMIT updaters[i]->flashingError(codes[i] - '0');
        }
        return true;
    };
    QVERIFY(desk.update({report, User::press("Close"_s)}));
    const QString state =
        "VYNT1 FIRMWARE|Update was unsuccessful.\n"_s + reason + "\n| Back Close@closeButton"_s;
    QCOMPARE(desk.screenState(), state);

    // The failure report is shown until the user leaves it, even if devices arrive or are removed.
    for (const DeviceType type : bothTypes)
        desk.pair.device(type).clearFault();
    desk.plug('H', true);
    TRY_COMPARE(WindowState::shown(*find(*desk.mainPage, "transmitterFirmwareVersion")), "*No change"_s);
    desk.take(isOverridden ? "O" : "");
    QCOMPARE(desk.screenState(), state);
    QTest::mouseClick(desk.screen()->backButton(), Qt::LeftButton);
    QCOMPARE(desk.state(), text(isOverridden ? "main" : "start1") + "|(NONE)|"_s + broken +
                               "|*Disconnected>*No change|1.0.0>1.2.3|Update"_s +
                               text(isOverridden ? "@openFileButton" : "@text"));
    desk.take("+T");
    TRY_COMPARE(desk.state(), "main|VYNT1|"_s + broken + "|1.0.0>1.2.3|1.0.0>1.2.3|Update@openFileButton"_s);
    QVERIFY(desk.update({User::press("Close"_s)}));
    for (const DeviceType type : bothTypes)
        QVERIFY(desk.isUpdated(type));
    QVERIFY(desk.screenState().endsWith("VYNT1-pairinginstructions Close@closeButton"_s));
}

void TestWindowUpdate::theNewScreenIsPaintedBeforeTheWindowWaits()
{
    struct PaintCounter : QObject
    {
        bool eventFilter(QObject*, QEvent* event) override
        {
            paints += event->type() == QEvent::Paint ? 1 : 0;
            return false;
        }
        int paints = 0;
    } counter;
    Desk desk("A1 +T O");
    desk.gate.close(serviceStartMs);
    // Holds the device's update until the service's start waits. Otherwise the delays of the update would
    // give the service enough time to start before the updater waits.
    desk.onReport = [&](const std::string& report) {
        if (report.find("leave from") != std::string::npos)
            desk.second.close(memoryReadMs);
    };
    int endings = 0;
    std::thread opener;
    QVERIFY(desk.update(
        {User::press("Proceed and update one device"_s), [&](QWidget& modal) {
             if (!desk.gate.isReached())
                 return false;
             desk.second.open();
             if (!find<QPushButton>(modal, "closeButton")->isEnabled())
                 return false;
             for (const auto* const updater : modal.findChildren<FirmwareUpdater*>()) {
                 connect(updater, &QObject::destroyed, &desk.window, [&] {
                     const QCursor* const cursor = QApplication::overrideCursor();
                     endings += counter.paints > 0 && cursor && cursor->shape() == Qt::WaitCursor ? 1 : 0;
                 });
             }
             User::press("Close"_s)(modal);
             for (QWidget* const widget : QApplication::allWidgets()) {
                 if (dynamic_cast<InfoScreen*>(widget))
                     widget->installEventFilter(&counter);
             }
             opener = std::thread([&] { desk.gate.open(); });
             return true;
         }}));
    opener.join();
    QCOMPARE(endings, 1);
    QVERIFY(!QApplication::overrideCursor());
    QVERIFY(desk.screenState().contains("Please pair devices."_s));
}

QTEST_MAIN(TestWindowUpdate)

#include "tst_windowupdate.moc"
