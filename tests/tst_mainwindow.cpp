// The main window and its screens, used by mouse and keyboard with a simulated computer behind.

#include <QAction>
#include <QFileDialog>
#include <QLayout>
#include <QLineEdit>
#include <QMenu>
#include <QPlainTextEdit>
#include <QProgressBar>
#include <QStatusBar>

#include "archivebuilder.h"
#include "firmwareupdater.h"
#include "flashingdialog.h"
#include "hidnode.h"
#include "infoscreen.h"
#include "literals.h"
#include "mainwindow.h"
#include "openobjects.h"
#include "pairedcomputer.h"
#include "scriptedhid.h"
#include "user.h"

namespace {

constexpr std::uint32_t memoryReadMs = 100;

const QString compatibility =
    "Warning|Cannot determine if firmware is compatible with the connected device.|If you choose to proceed, "
    "please make sure you are using the correct firmware file.|Update"_s;
const QString oneDevice =
    "Warning|Only one device can be updated right now.|Do you want proceed?|Proceed and update one device"_s;
const QString reject = "Do not update"_s;

/// A label's text after "*" for italics and "~" or "!" for its colour.
QString shown(const QWidget& page, const char* name)
{
    const auto* const label = find(page, name);
    const QMap<QString, QString> colours{
        {QString(), QString()}, {"QLabel{color: #E9AB17;}"_s, "~"_s}, {"QLabel{color: crimson;}"_s, "!"_s}};
    return colours.value(label->styleSheet(), "?"_s) + text(label->font().italic() ? "*" : "") +
           label->text();
}

/// The updater on a computer that has nothing plugged in yet.
struct Desk : PairedComputer
{
    explicit Desk(const QByteArray& steps = QByteArray())
    {
        window.show();
        for (const QByteArray& step : steps.split(' '))
            take(step);
    }

    ~Desk() { gate.open(); } // the window waits for whom it holds

    /// A1, A2, At, Ah: loads an archive for the first or second generation, with one image only; Ax: a
    /// damaged one. +T, -T, +H, -H: plugs a device in or out, and U, a transmitter that cannot be identified.
    /// O: override.
    void take(const QByteArray& step)
    {
        if (step.startsWith('A')) {
            load(step);
        } else if (step == "O") {
            choose("Override"_s, false);
        } else if (!step.isEmpty()) {
            plug(step[1], step[0] == '+');
            const char* const label = step[1] == 'H' ? "headsetVersion" : "transmitterVersion";
            const bool isGone = step[0] == '-';
            TRY_COMPARE(find(*mainPage, label)->text() == "Disconnected"_s, isGone);
        }
    }

    /// An archive with an image for a transmitter of that generation, 0 for none, and maybe one for a
    /// headset.
    QString archive(int generation, bool hasHeadset)
    {
        std::vector<ArchiveEntry> entries{{"ReleaseNotes.txt"_s, "<b>New</b>\nand better"}};
        const auto add = [&entries](const QString& name, const ImageOptions& image) {
            entries.push_back({name, ArchiveBuilder::imageText(ImageBuilder::build(image))});
        };
        if (generation != 0)
            add("t.ff"_s, ImageBuilder::transmitter(generation));
        if (hasHeadset)
            add("h.ef"_s, ImageBuilder::headset());
        const QString path = folder.filePath("fw.%1.zip"_s.arg(generation));
        return ArchiveBuilder::write(path, entries) ? path : QString();
    }

    void load(const QByteArray& step)
    {
        const QString path = step == "Ax" ? folder.path()
                                          : archive(step == "Ah"   ? 0
                                                    : step == "A2" ? 2
                                                                   : 1,
                                                    step != "At");
        const char* const failure =
            "Error while loading firmware|Firmware cannot be loaded. File may be corrupted or "
            "not supported.\nTry to download it once again.||";
        User user({User::press("OK"_s)});
        window.setFirmwareFilePath(path);
        QCOMPARE(user.boxes.join(QString()), text(step == "Ax" ? failure : ""));
    }

    void plug(char letter, bool in)
    {
        if (letter == 'U') {
            const auto function = std::make_shared<ScriptedHid>();
            function->answer = [](QByteArray entry) { return entry.replace(1, 1, "\1"); }; // "no data"
            const DeviceNode node = hidNode({0x170D, 0x0100}, L"unknown", function);
            if (in)
                tree.plug(node);
            else
                tree.unplug(node.interfacePath);
            return;
        }
        SimulatedDevice& device = pair.device(letter == 'T' ? Transmitter : Headset);
        in ? device.plugIn() : device.unplug();
    }

    /// Chooses from the system menu, opened and used by keyboard or by mouse. @return the menu's items.
    QString choose(const QString& item, bool byMouse)
    {
        if (byMouse)
            QTest::mouseClick(window.windowHandle(), Qt::RightButton, {}, QPoint(5, window.height() - 5));
        else
            QTest::keyClick(&window, Qt::Key_Space, Qt::AltModifier);
        auto* const menu = qobject_cast<QMenu*>(QApplication::activePopupWidget());
        QStringList items;
        QAction* wanted = nullptr;
        for (QAction* action : menu->actions()) {
            items << (action->isSeparator() ? "-"_s : action->text());
            if (!action->isSeparator() && !byMouse && !wanted)
                QTest::keyClick(menu, Qt::Key_Down);
            if (action->text() == item)
                wanted = action;
        }
        if (byMouse)
            QTest::mouseClick(menu, Qt::LeftButton, {}, menu->actionGeometry(wanted).center());
        else
            QTest::keyClick(menu, Qt::Key_Return);
        QCoreApplication::processEvents();
        return items.join(QLatin1Char(' '));
    }

    /// Presses Update as soon as possible and acts from then on. @return whether all was done.
    bool update(const std::vector<User::Act>& acts)
    {
        auto* const button = find<QPushButton>(*mainPage, "updateButton");
        if (!QTest::qWaitFor([&] { return button->isEnabled(); }, patienceMs))
            return false;
        User user(acts);
        QTest::mouseClick(button, Qt::LeftButton);
        questions = user.boxes;
        return user.isDone();
    }

    /// "page|connected|error|transmitter now>then|headset now>then|button"
    QString state() const
    {
        const auto* const error = find(*mainPage, "devicesErrorInfoLabel");
        const auto versions = [this](const char* now, const char* then) {
            return shown(*mainPage, now) + QLatin1Char('>') + shown(*mainPage, then);
        };
        return QStringList{text(screen() ? "start" : "main"),
                           shown(*mainPage, "connectedDeviceNameLabel"),
                           error->isHidden() ? QString() : error->text(),
                           versions("transmitterVersion", "transmitterFirmwareVersion"),
                           versions("headsetVersion", "headsetFirmwareVersion"),
                           text(find<QPushButton>(*mainPage, "updateButton")->isEnabled() ? "Update" : "-")}
            .join(QLatin1Char('|'));
    }

    InfoScreen* screen() const { return dynamic_cast<InfoScreen*>(window.centralWidget()); }
    /// Of the info screen: "title|text|image, buttons".
    QString screenState() const
    {
        const auto* const image = find(*screen(), "image");
        const bool hasImage = !image->isHidden() && !image->pixmap(Qt::ReturnByValue).isNull();
        const QString parts = text(hasImage ? "image" : "") +
                              text(screen()->backButton()->isHidden() ? "" : " Back") +
                              text(screen()->closeButton()->isHidden() ? "" : " Close");
        return QStringList{find(*screen(), "title")->text(), find(*screen(), "text")->text(), parts}.join(
            QLatin1Char('|'));
    }

    const QTemporaryDir folder;
    QStringList questions; ///< of the last update
    MainWindow window;
    QWidget* const mainPage = findMainPage();

private:
    /// It is the window's child only while it is shown.
    static QWidget* findMainPage()
    {
        const QWidgetList all = QApplication::allWidgets();
        return *std::find_if(all.begin(), all.end(),
                             [](const QWidget* widget) { return widget->objectName() == "centralWidget"_s; });
    }
};

} // namespace

class TestMainWindow : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init() { handlesBefore = openHandleCount(); }
    void cleanup() { QCOMPARE(openHandleCount(), handlesBefore); }

    void theMainPageComparesDevicesWithTheArchive_data();
    void theMainPageComparesDevicesWithTheArchive();
    void aDeviceBeingReadCountsAsUnknownAndTheWindowSaysSo();
    void anArchiveIsChosenInTheFileDialog();
    void theStartScreenNamesTheArchivesGeneration();
    void questionsDecideWhetherAnUpdateBegins_data();
    void questionsDecideWhetherAnUpdateBegins();
    void aSuccessfulUpdateEndsInPairingInstructions();
    void aFailedUpdateIsReportedAndCanBeRepeated_data();
    void aFailedUpdateIsReportedAndCanBeRepeated();
    void theSystemMenuIsReachedByKeyboardAndMouse();
    void aPictureIsScaledOnceWhenItIsSet();

private:
    std::size_t handlesBefore = 0;
};

void TestMainWindow::theMainPageComparesDevicesWithTheArchive_data()
{
    QTest::addColumn<QString>("state"); // after the steps that name the row
    const auto row = [](const char* steps, const QStringList& state) {
        QTest::newRow(steps) << state.join(QLatin1Char('|'));
    };
    const QString off = "-"_s, on = "Update"_s, start = "start"_s, main = "main"_s;
    const QString none = "(NONE)|"_s, noDevice = "(NONE)|Please connect devices"_s, vynt1 = "VYNT1|"_s,
                  other = "VYNT1|Incompatible with current file"_s, unknown = "~Unknown device|"_s;
    const QString gone = "*Disconnected>*No change"_s, fits = "1.0.0>1.2.3"_s, kept = "1.0.0>*No change"_s,
                  wrong = "1.0.0>!*Incompatible"_s, amber = "~Unknown version>~1.2.3"_s;
    row("A1", {start, noDevice, gone, gone, off});
    row("O", {main, noDevice, gone, gone, off});
    row("+T +H", {main, vynt1, kept, kept, off});
    row("+T +H A1", {main, vynt1, fits, fits, on});
    row("A1 +T", {start, vynt1, fits, gone, on});
    row("A1 +H", {start, none, gone, fits, on});
    row("A1 +H O", {main, none, gone, fits, on});
    row("A1 O +H -H", {main, noDevice, gone, gone, off});
    row("A1 +T +H -T", {start, none, gone, fits, on});
    row("A1 +T +H -H -T", {start, noDevice, gone, gone, off});
    row("A1 +T +H Ax", {main, vynt1, kept, kept, off});
    row("At +T +H", {main, vynt1, fits, kept, on});
    row("Ah +T +H", {main, vynt1, kept, fits, on});
    row("Ah +T", {start, vynt1, kept, gone, off}); // not incompatible: of an image for it nothing is known
    row("A2 +T", {start, other, wrong, "*Disconnected>!*Incompatible"_s, off});
    row("A2 +H +T", {main, other, wrong, wrong, off});
    row("A2 +T +H -T", {start, none, gone, fits, on});
    row("A2 +T +H A1", {main, vynt1, fits, fits, on});
    row("A1 +U", {start, unknown, amber, gone, on});
    row("A2 +U +H", {main, unknown, amber, fits, on});
    row("Ah +U", {start, unknown, "~Unknown version>*No change"_s, gone, off});
    row("A1 +U -U", {start, noDevice, "~*Disconnected>*No change"_s, gone, off}); // keeps the colour
    row("A1 +U -U +T", {start, vynt1, fits, gone, on});
}

void TestMainWindow::theMainPageComparesDevicesWithTheArchive()
{
    QFETCH(const QString, state);
    const Desk desk(QTest::currentDataTag());
    TRY_COMPARE(desk.state(), state);
}

void TestMainWindow::aDeviceBeingReadCountsAsUnknownAndTheWindowSaysSo()
{
    Desk desk("A1 O");
    const auto* const busy = desk.window.statusBar()->findChild<QProgressBar*>();
    QVERIFY(!busy->isVisible() && busy->minimum() == busy->maximum());
    desk.gate.close(memoryReadMs);
    desk.plug('H', true);
    TRY_VERIFY(desk.gate.isReached() && busy->isVisible());
    QCOMPARE(desk.window.statusBar()->currentMessage(), "Detecting device..."_s);
    desk.take("+T"); // whose report refreshes the page
    QCOMPARE(desk.state(), "main|VYNT1||1.0.0>1.2.3|*Disconnected>~1.2.3|Update"_s);
    QVERIFY(busy->isVisible());
    desk.gate.open();
    TRY_COMPARE(desk.state(), "main|VYNT1||1.0.0>1.2.3|1.0.0>1.2.3|Update"_s);
    QVERIFY(!busy->isVisible() && desk.window.statusBar()->currentMessage().isEmpty());
}

void TestMainWindow::anArchiveIsChosenInTheFileDialog()
{
    Desk desk("O");
    const QString path = desk.archive(1, true);
    const auto* const notes = find<QPlainTextEdit>(desk.window, "releaseNotes");
    for (const QString& choice : {path, QString()}) { // the second time the user changes his mind
        QString dialogState;
        User user({[&](QWidget& modal) {
            const auto& dialog = dynamic_cast<QFileDialog&>(modal);
            dialogState = dialog.windowTitle() + dialog.nameFilters().join(QLatin1Char('|'));
            auto* const edit = dialog.findChild<QLineEdit*>("fileNameEdit"_s);
            edit->setText(choice);
            QTest::keyClick(edit, choice.isEmpty() ? Qt::Key_Escape : Qt::Key_Return);
            return true;
        }});
        QTest::mouseClick(find<QPushButton>(desk.window, "openFileButton"), Qt::LeftButton);
        QVERIFY(user.isDone());
        QCOMPARE(dialogState, "Open FileFirmware archives (*.zip)"_s);
        QCOMPARE(find(desk.window, "firmwareFileName")->text(), "fw.1"_s);
        QCOMPARE(notes->toPlainText(), "<b>New</b>\nand better"_s);
    }
    desk.take("Ax");
    QVERIFY(find(desk.window, "firmwareFileName")->text().isEmpty() && notes->toPlainText().isEmpty());
}

void TestMainWindow::theStartScreenNamesTheArchivesGeneration()
{
    const QString instruction =
        "|No device detected. Connect your headset and transmitter to two separate USB "
        "ports on your computer.|"_s;
    Desk desk;
    QVERIFY(!desk.window.windowFlags().testFlag(Qt::WindowMaximizeButtonHint));
    QVERIFY(desk.window.minimumSize() == QSize(479, 479) && desk.window.maximumSize() == QSize(479, 479));
    QCOMPARE(desk.window.windowTitle(), "ZEFO VYNT Firmware Update"_s);
    QVERIFY(desk.window.statusBar()->isHidden());
    QCOMPARE(desk.screenState(), "Unknown FIRMWARE"_s + instruction);
    desk.take("A1");
    QCOMPARE(desk.screenState(), "VYNT1 FIRMWARE"_s + instruction + "image"_s);
    desk.take("A2");
    QCOMPARE(desk.screenState(), "VYNT2 FIRMWARE"_s + instruction + "image"_s);
    desk.take("Ah");
    QCOMPARE(desk.screenState(), "Unknown FIRMWARE"_s + instruction);
}

void TestMainWindow::questionsDecideWhetherAnUpdateBegins_data()
{
    QTest::addColumn<QByteArray>("steps");
    QTest::addColumn<QByteArray>("answers"); // steps to take while the question is open, or y, n, Esc
    QTest::addColumn<QStringList>("questions");
    QTest::addColumn<QByteArray>("updated"); // the devices in the dialog; "" if no update begins
    const auto row = [](const char* steps, const char* answers, const QStringList& questions,
                        const char* updated) {
        QTest::addRow("%s: %s", steps, answers)
            << QByteArray(steps) << QByteArray(answers) << questions << QByteArray(updated);
    };
    row("A1 +T +H", "", {}, "TH");
    row("A1 +T O", "y", {oneDevice}, "T");
    row("A1 +H O", "y", {oneDevice}, "H");
    row("At +T +H", "y", {oneDevice}, "T");
    row("A1 +T O", "n", {oneDevice}, "");
    row("A1 +T O", "Esc", {oneDevice}, "");
    row("A1 +T O", "-T y", {oneDevice}, "");
    row("A1 +T O", "+H y", {oneDevice}, "TH");
    row("A2 +H O", "+T y", {oneDevice}, ""); // an incompatible one
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

void TestMainWindow::questionsDecideWhetherAnUpdateBegins()
{
    QFETCH(const QByteArray, steps);
    QFETCH(const QByteArray, answers);
    QFETCH(const QStringList, questions);
    QFETCH(const QByteArray, updated);
    Desk desk(steps);
    std::vector<User::Act> acts;
    for (const QByteArray& answer : answers.split(' ')) {
        if (answer.isEmpty())
            continue;
        acts.emplace_back([&desk, answer](QWidget& modal) {
            const auto* const box = qobject_cast<QMessageBox*>(&modal);
            const bool isRight = box->icon() == QMessageBox::Warning && box->standardButtons() == 0 &&
                                 !box->windowFlags().testFlag(Qt::WindowCloseButtonHint) &&
                                 box->buttonRole(box->defaultButton()) == QMessageBox::AcceptRole;
            if (!isRight)
                return false;
            if (answer == "n" || answer == "y")
                return User::press(answer == "n" ? reject : box->defaultButton()->text())(modal);
            if (answer == "Esc")
                QTest::keyClick(&modal, Qt::Key_Escape);
            else
                desk.take(answer);
            return true;
        });
    }
    QByteArray inDialog;
    if (!updated.isEmpty()) {
        acts.emplace_back([&inDialog](QWidget& modal) {
            if (!qobject_cast<FlashingDialog*>(&modal))
                return false;
            for (const char* const box : {"transmitterBox", "headsetBox"}) {
                if (find<QWidget>(modal, box)->isVisible())
                    inDialog += *box == 't' ? 'T' : 'H';
            }
            return QTest::keyClick(&modal, Qt::Key_Escape), true;
        });
    }
    QVERIFY(desk.update(acts));
    QCOMPARE(desk.questions, questions);
    QCOMPARE(inDialog, updated);
    QCOMPARE(desk.screen() && !desk.screen()->closeButton()->isHidden(), !updated.isEmpty());
}

void TestMainWindow::aSuccessfulUpdateEndsInPairingInstructions()
{
    Desk desk("A1 +T +H");
    QVERIFY(desk.update({User::press("Close"_s)}) && desk.isUpdated(Transmitter) && desk.isUpdated(Headset));
    const QString pairing = "VYNT1 FIRMWARE|Success! Please pair devices.\n\n\nPairing Instructions\n1. Make "
                            "sure your transmitter "
                            "and headset are powered on.\n2. Press and hold the Power/Pairing buttons on "
                            "both Transmitter and Headset "
                            "for 3 seconds until LEDs begin to flash.\n3. Once pairing is successful, "
                            "Power/Pairing LEDs will stop "
                            "flashing and turn solid.|image Close"_s;
    QCOMPARE(desk.screenState(), pairing);
    QVERIFY(desk.window.statusBar()->isHidden());

    desk.take("O");
    for (const char letter : {'T', 'H'})
        desk.plug(letter, false);
    QCoreApplication::processEvents();
    QCOMPARE(desk.screenState(), pairing);

    QTimer::singleShot(0, &desk.window,
                       [&] { QTest::mouseClick(desk.screen()->closeButton(), Qt::LeftButton); });
    QCOMPARE(QApplication::exec(), 0); // which ends with the window
    QVERIFY(desk.window.isHidden());
}

void TestMainWindow::aFailedUpdateIsReportedAndCanBeRepeated_data()
{
    QTest::addColumn<QByteArray>("reports"); // of the updaters; none: the user presses Escape
    QTest::addColumn<QString>("reason");
    const QString lost =
        "One or both of your devices have been disconnected. Please reconnect your devices to "
        "restart the firmware update process."_s;
    const auto row = [](const char* reports, const QString& reason) {
        QTest::newRow(reports) << QByteArray(reports) << reason;
    };
    row("50", "Error code: 1/5."_s);
    row("57", "Error code: 1/5, 2/7."_s);
    row("04", "Error code: 2/4."_s);
    row("43", lost);
    row("15", lost);
    row("", "Error code:."_s);
}

void TestMainWindow::aFailedUpdateIsReportedAndCanBeRepeated()
{
    QFETCH(const QByteArray, reports);
    QFETCH(const QString, reason);
    Desk desk("A1 +T +H");
    for (const DeviceType type : bothTypes)
        desk.pair.device(type).setFault(Fault::NeverBack, 1);
    const auto report = [&](QWidget& modal) {
        const auto updaters = modal.findChildren<FirmwareUpdater*>(QString(), Qt::FindDirectChildrenOnly);
        if (desk.pair.device(Headset).isPluggedIn() || desk.pair.device(Transmitter).isPluggedIn())
            return false;
        for (int i = 0; i < reports.size(); ++i) {
            if (reports[i] == '0')
                Q_EMIT updaters[i]->flashingFinished();
            else
                Q_EMIT updaters[i]->flashingError(reports[i] - '0');
        }
        return true;
    };
    QVERIFY(desk.update({report, reports.isEmpty() ? User::type(Qt::Key_Escape) : User::press("Close"_s)}));
    const QString state = "VYNT1 FIRMWARE|Update was unsuccessful.\n"_s + reason + "\n| Back Close"_s;
    QCOMPARE(desk.screenState(), state);

    // Whatever comes and goes, the report stays until the user leaves it.
    for (const DeviceType type : bothTypes)
        desk.pair.device(type).clearFault();
    desk.plug('H', true);
    TRY_COMPARE(shown(*desk.mainPage, "transmitterFirmwareVersion"), "*No change"_s);
    QCOMPARE(desk.screenState(), state);
    QTest::mouseClick(desk.screen()->backButton(), Qt::LeftButton);
    QCOMPARE(desk.state(), "start|(NONE)||*Disconnected>*No change|1.0.0>1.2.3|Update"_s);
    desk.take("+T");
    TRY_COMPARE(desk.state(), "main|VYNT1||1.0.0>1.2.3|1.0.0>1.2.3|Update"_s);
    QVERIFY(desk.update({User::press("Close"_s)}) && desk.isUpdated(Transmitter) && desk.isUpdated(Headset));
    QVERIFY(desk.screenState().endsWith("image Close"_s));
}

void TestMainWindow::theSystemMenuIsReachedByKeyboardAndMouse()
{
    for (const bool byMouse : {false, true}) {
        Desk desk;
        QCOMPARE(desk.choose("Override"_s, byMouse),
                 "Restore Move Size Minimize Maximize Override About... - Close"_s);
        QVERIFY(!desk.screen());
        bool isRight = false;
        User user({[&isRight](QWidget& modal) {
            const auto& box = dynamic_cast<QMessageBox&>(modal);
            isRight = box.iconPixmap().width() > 0 && box.iconPixmap().width() <= 64 &&
                      box.windowFlags().testFlag(Qt::MSWindowsFixedSizeDialogHint);
            return User::press("OK"_s)(modal);
        }});
        desk.choose("About..."_s, byMouse);
        QVERIFY(user.isDone() && isRight);
        QCOMPARE(user.boxes,
                 QStringList{"About|\nZEFO VYNT Firmware Update\nVersion " UPDATER_VERSION "\n||"_s});
        QVERIFY(desk.window.findChildren<QMessageBox*>().isEmpty());
        desk.choose("Close"_s, byMouse);
        QVERIFY(desk.window.isHidden());
    }
}

void TestMainWindow::aPictureIsScaledOnceWhenItIsSet()
{
    const QTemporaryDir folder;
    const auto picture = [&](const char* name, int width) {
        const QString path = folder.filePath(text(name));
        QImage image(width, 100, QImage::Format_RGB32);
        image.fill(Qt::red);
        return image.save(path) ? path : QString();
    };
    InfoScreen screen;
    screen.resize(400, 400);
    const auto* const image = find(screen, "image");
    const QMargins margins = screen.layout()->contentsMargins();
    const int available = 400 - margins.left() - margins.right();
    QVERIFY(screen.backButton()->isHidden() && screen.closeButton()->isHidden());
    const auto size = [&](const QString& path) {
        screen.setImage(path);
        return image->isHidden() ? QSize(-1, -1) : image->pixmap(Qt::ReturnByValue).size();
    };
    const QString wide = picture("wide.png", 2 * available);
    QCOMPARE(size(""_s), QSize(-1, -1));
    QCOMPARE(size(picture("narrow.png", available)), QSize(available, 100));
    QCOMPARE(size(wide), QSize(available, 50));
    screen.resize(200, 400);
    QCOMPARE(size(wide), QSize(available, 50));
    QCOMPARE(size("missing.png"_s), QSize(0, 0));
    QCOMPARE(size(QString()), QSize(-1, -1));
    QCOMPARE(size(wide).width(), 200 - margins.left() - margins.right());

    for (const char* const name : {"", "%1 %2"}) {
        screen.setDeviceName(text(name));
        QCOMPARE(find(screen, "title")->text(), text(name) + " FIRMWARE"_s);
    }
}

QTEST_MAIN(TestMainWindow)

#include "tst_mainwindow.moc"
