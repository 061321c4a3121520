// Uses the main window and its screens by mouse and keyboard on a simulated computer.

#include <QFileDialog>
#include <QLayout>
#include <QLineEdit>
#include <QPlainTextEdit>
#include <QProgressBar>
#include <QScreen>
#include <QStatusBar>

#include "desk.h"
#include "keyguard.h"
#include "leavesnothing.h"
#include "statuslabel.h"
#include "table.h"

class TestMainWindow : public LeavesNothing
{
    Q_OBJECT

private Q_SLOTS:
    void theMainPageComparesDevicesWithTheArchive_data();
    void theMainPageComparesDevicesWithTheArchive();
    void aDeviceBeingReadCountsAsUnknownAndTheWindowSaysSo();
    void anArchiveIsChosenInTheFileDialog();
    void aLongArchiveNameIsShownWhole();
    void textFromOutsideIsShownAsItIs();
    void aMessageBeforeTheWindowIsShownIsInTheMiddleOfTheScreen();
    void aNewScreenIgnoresKeysForHalfASecond();
    void aTextGetsABackgroundIfItsColourNeedsOne_data();
    void aTextGetsABackgroundIfItsColourNeedsOne();
    void theStartScreenNamesTheArchivesGeneration();
    void theSystemMenuIsReachedByKeyboardAndMouse();
    void aPictureIsScaledOnceWhenItIsSet();
};

void TestMainWindow::theMainPageComparesDevicesWithTheArchive_data()
{
    const Table<QString> table("state"); // what the window shows after the steps in the row's name
    const auto row = [&table](const char* steps, const QStringList& parts) {
        const QString state = parts.join(QLatin1Char('|'));
        const QString focus = text(parts.first().startsWith("start"_s) ? "@text" : "@openFileButton");
        table.row(steps, state.contains(QLatin1Char('@')) ? state : state + focus);
    };
    const QString off = "-"_s, on = "Update"_s, start = "start1"_s, main = "main"_s;
    const QString broken = "Last update was not completed. Please update again."_s;
    const QString none = "(NONE)|"_s, noDevice = "(NONE)|Please connect devices"_s, vynt1 = "VYNT1|"_s,
                  other = "VYNT1|Incompatible with current file"_s, unknown = "~Unknown device|"_s + broken;
    const QString gone = "*Disconnected>*No change"_s, fits = "1.0.0>1.2.3"_s, kept = "1.0.0>*No change"_s,
                  wrong = "1.0.0>!*Incompatible"_s, amber = "~Unknown version>~?1.2.3"_s,
                  amberKept = "~Unknown version>*No change"_s;
    row("A1", {start, noDevice, gone, gone, off});
    row("O", {main, noDevice, gone, gone, off});
    row("+T +H", {main, vynt1, kept, kept, off});
    row("+T +H A1", {main, vynt1, fits, fits, on});
    row("A1 +T", {start, vynt1, fits, gone, on});
    row("A1 +H O", {main, none, gone, fits, on});
    row("A1 O +H -H", {main, noDevice, gone, gone, off});
    row("A1 +T +H -H -T", {start, noDevice, gone, gone, off});
    row("A1 +T +H Ax", {main, vynt1, kept, kept, off});
    row("At +T +H", {main, vynt1, fits, kept, on});
    // An archive without an image for a transmitter is compatible with every transmitter.
    row("Ah +T", {"start"_s, vynt1, kept, gone, off});
    row("A2 +T", {"start2"_s, other, wrong, "*Disconnected>!*Incompatible"_s, off});
    row("A2 +T +H -T", {"start2"_s, none, gone, fits, on});
    row("A2 +T +H A1", {main, vynt1, fits, fits, on});
    row("A1 +U", {start, unknown, amber, gone, on});
    row("A2 +U +H", {main, unknown, amber, fits, on});
    row("Ah +U", {"start"_s, unknown, amberKept, gone, off});
    row("A1 +U Ax", {"start"_s, unknown, amberKept, gone, off});
    row("Ah +U +H", {main, unknown, amberKept, fits, on});
    row("+U +V", {main, unknown, amberKept, amberKept, off});
    row("A1 +U +V", {main, unknown, amber, "~Unknown version>1.2.3"_s, on});
    row("A2 +T +V", {main, other, wrong, "~Unknown version>!*Incompatible"_s, off});
    row("A1 +U -U", {start, noDevice, "~*Disconnected>*No change"_s, gone, off}); // the label stays amber
    row("A1 +U -U +T", {start, vynt1, fits, gone, on});
    row("A2 +T +H A1 A2 A1", {main, vynt1, fits, fits, on});
    row("A1 +T +H PT", {main, vynt1 + broken, fits, fits, on});
    row("A1 +T +H PH PT -T", {start, none + broken, gone, fits, on});
    row("A1 +T +H PH -H +T", {start, vynt1, fits, gone, on});
    row("A2 +T +H PH", {main, other, wrong, "1.0.0>!*Incompatible"_s, off});
    // A refresh of the page leaves the focus where the user has put it. A switch to another page
    // resets the focus.
    row("A1 +T O Tab Tab +H", {main, vynt1, fits, fits, "Update@updateButton"_s});
    row("A1 +T +H Tab -H +H", {main, vynt1, fits, fits, "Update@openFileButton"_s});
}

void TestMainWindow::theMainPageComparesDevicesWithTheArchive()
{
    QFETCH(const QString, state);
    Desk desk(QTest::currentDataTag());
    TRY_COMPARE(desk.state(), state);
}

void TestMainWindow::aDeviceBeingReadCountsAsUnknownAndTheWindowSaysSo()
{
    Desk desk("A1 O");
    const auto* const busy = desk.window.statusBar()->findChild<QProgressBar*>();
    QVERIFY(!busy->isVisible());
    QCOMPARE(busy->minimum(), busy->maximum());
    desk.gate.close(memoryReadMs);
    desk.plug('H', true);
    TRY_VERIFY(desk.gate.isReached() && busy->isVisible());
    QCOMPARE(desk.window.statusBar()->currentMessage(), "Detecting device..."_s);
    desk.take("+T"); // refreshes the page
    QCOMPARE(desk.state(), "main|VYNT1||1.0.0>1.2.3|*Disconnected>~?1.2.3|Update@openFileButton"_s);
    QVERIFY(busy->isVisible());
    desk.gate.open();
    TRY_COMPARE(desk.state(), "main|VYNT1||1.0.0>1.2.3|1.0.0>1.2.3|Update@openFileButton"_s);
    QVERIFY(!busy->isVisible());
    QCOMPARE(desk.window.statusBar()->currentMessage(), QString());
}

void TestMainWindow::anArchiveIsChosenInTheFileDialog()
{
    Desk desk("O");
    const QString path = desk.archive(1, true);
    const auto* const notes = find<QPlainTextEdit>(desk.window, "releaseNotes");
    for (const QString& choice : {path, QString()}) { // with the empty path, the user cancels
        QString dialogState;
        User user({[&](QWidget& modal) {
            const auto& dialog = dynamic_cast<QFileDialog&>(modal);
            dialogState = dialog.windowTitle() + dialog.nameFilters().join(QLatin1Char('|'));
            auto* const edit = dialog.findChild<QLineEdit*>("fileNameEdit"_s);
            edit->setText(choice);
            letScreenSettle();
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
    QCOMPARE(find(desk.window, "firmwareFileName")->text(), QString());
    QCOMPARE(notes->toPlainText(), QString());
}

void TestMainWindow::aLongArchiveNameIsShownWhole()
{
    Desk desk("O");
    const QString archive = desk.archive(1, true);
    auto* const label = find(desk.window, "firmwareFileName");
    const auto picture = [&](const QString& name) {
        const QString path = desk.folder.filePath(name + ".zip"_s);
        const bool isShown = QFile::copy(archive, path);
        desk.window.setFirmwareFilePath(path);
        WindowState::layOut();
        return isShown && label->text() == name ? label->grab().toImage() : QImage();
    };
    const QString longest = "vynt-firmware-1.2.3-"_s.repeated(13).left(251);
    const QImage usual = picture(longest);
    QVERIFY(!usual.isNull());
    for (const int index : {0, 60, 125, 190, 250})
        QVERIFY(picture(QString(longest).replace(index, 1, QLatin1Char('X'))) != usual);
    // The label draws the name in a smaller font. oddities() measures the name in the label's own font, in
    // which the name does not fit.
    QCOMPARE(WindowState::oddities(desk.window), " {firmwareFileName too small}"_s);
    const auto* const notes = find<QPlainTextEdit>(desk.window, "releaseNotes");
    QVERIFY(notes->height() > notes->fontMetrics().lineSpacing());
}

/// The test sets markup as the text of each label. If a label interprets the markup, the label's accessible
/// name lacks the tags.
void TestMainWindow::textFromOutsideIsShownAsItIs()
{
    Desk desk("O");
    const QString markup = "<b>9</b><img src=x>"_s;
    const QString path = desk.folder.filePath("<i>name<br>.zip"_s);
    ImageOptions image = ImageBuilder::transmitter(1);
    image.version = markup.toStdString();
    const QByteArray imageText = ArchiveBuilder::imageText(ImageBuilder::build(image));
    QVERIFY(ArchiveBuilder::write(path, {{"t.ff"_s, imageText}, {"notes.txt"_s, "<u>x</u>"}}));
    desk.window.setFirmwareFilePath(path);
    desk.take("+T");
    QCOMPARE(desk.state(),
             "main|VYNT1||1.0.0>"_s + markup + "|*Disconnected>*No change|Update@openFileButton"_s);
    QCOMPARE(find(desk.window, "firmwareFileName")->text(), "<i>name<br>"_s);

    const auto check = [&](QWidget& window) {
        for (QLabel* const label : window.findChildren<QLabel*>()) {
            label->setText(markup);
            if (WindowState::accessibleText(label, QAccessible::Name) != markup)
                QVERIFY2(!label->accessibleName().isEmpty(),
                         qPrintable("the label %1 interprets markup"_s.arg(label->objectName())));
        }
        for (const auto* const widget : window.findChildren<QWidget*>())
            QVERIFY(!Qt::mightBeRichText(widget->toolTip()));
    };
    const auto checkAndPress = [&](const QString& button) {
        return [&check, button](QWidget& window) { return check(window), User::press(button)(window); };
    };
    {
        User user({checkAndPress("OK"_s), checkAndPress("OK"_s)});
        desk.choose("About..."_s, false);
        desk.window.setFirmwareFilePath(desk.folder.path());
        QVERIFY(user.isDone());
    }
    desk.window.setFirmwareFilePath(path);
    QVERIFY(desk.update({checkAndPress("Proceed and update one device"_s), checkAndPress("Close"_s)}));
    check(desk.window);
    check(*desk.mainPage);
}

void TestMainWindow::aMessageBeforeTheWindowIsShownIsInTheMiddleOfTheScreen()
{
    Desk desk;
    desk.window.hide();
    QPoint middle;
    User user({[&](QWidget& box) {
        middle = box.geometry().center();
        return User::press("OK"_s)(box);
    }});
    desk.window.setFirmwareFilePath(desk.folder.path());
    QVERIFY(user.isDone());
    QVERIFY((middle - QApplication::primaryScreen()->availableGeometry().center()).manhattanLength() < 50);
}

void TestMainWindow::aNewScreenIgnoresKeysForHalfASecond()
{
    Computer computer;
    KeyGuard guard(nullptr);
    QDialog screen;
    QLabel part(&screen), toolTip(nullptr, Qt::ToolTip);
    QPushButton button(&screen);
    button.setAutoDefault(true);
    int presses = 0;
    connect(&button, &QPushButton::clicked, &screen, [&] { ++presses; });
    connect(&screen, &QDialog::rejected, &screen, [&] { ++presses; });
    const auto press = [&button](int key, Qt::KeyboardModifiers modifiers = {}) {
        for (const QEvent::Type type : {QEvent::KeyPress, QEvent::KeyRelease}) {
            QKeyEvent event(type, key, modifiers);
            QApplication::sendEvent(&button, &event);
        }
    };
    // Escape comes last, because it closes the dialog.
    const QList<Qt::Key> keys{Qt::Key_Return, Qt::Key_Enter, Qt::Key_Space, Qt::Key_Select, Qt::Key_Escape};
    for (const bool isSameWindow : {false, true, false}) {
        screen.show();
        if (isSameWindow) {
            Sleep(500);
            guard.noteNewScreen();
        }
        presses = 0;
        Sleep(499);
        for (const Qt::Key key : keys)
            press(key);
        QCOMPARE(presses, 0);
        press(Qt::Key_Space, Qt::AltModifier); // not ignored: opens the system menu
        QCOMPARE(presses, 1);
        Sleep(1);
        part.show();
        toolTip.show();
        for (const Qt::Key key : keys)
            press(key);
        QCOMPARE(presses, 1 + keys.size());
        part.hide();
        toolTip.hide();
    }
}

void TestMainWindow::aTextGetsABackgroundIfItsColourNeedsOne_data()
{
    const Table<QString, QString, bool, QString> table("colour", "desktop", "isEnabled", "background");
    // On white, #767676 is the lightest grey with a contrast of at least 4.5 to 1.
    table.row("just enough", "#767676"_s, "#ffffff"_s, true, "#ffffff"_s);
    table.row("a shade too light", "#777777"_s, "#ffffff"_s, true, "#060606"_s);
    table.row("amber on a light desktop", "#e9ab17"_s, "#efefef"_s, true, "#474747"_s);
    table.row("amber on a dark desktop", "#e9ab17"_s, "#353535"_s, true, "#353535"_s);
    table.row("crimson on a dark desktop", "#dc143c"_s, "#353535"_s, true, "#f4f4f4"_s);
    table.row("disabled", "#777777"_s, "#ffffff"_s, false, "#ffffff"_s);
}

void TestMainWindow::aTextGetsABackgroundIfItsColourNeedsOne()
{
    QFETCH(const QString, colour);
    QFETCH(const QString, desktop);
    QFETCH(const bool, isEnabled);
    const QPalette before = QApplication::palette();
    QPalette palette = before;
    palette.setColor(QPalette::Window, QColor(desktop));
    QApplication::setPalette(palette);
    const auto restore = qScopeGuard([&before] { QApplication::setPalette(before); });
    QWidget window;
    window.resize(200, 50);
    StatusLabel label(&window);
    label.setText("mmm mmm"_s);
    label.resize(100, 20);
    label.setEnabled(isEnabled);
    window.show();
    for (const bool hasColour : {true, false, true}) {
        label.setStyleSheet(hasColour ? "QLabel{color: %1;}"_s.arg(colour) : QString());
        const QString background = WindowState::backgroundOf(label).name();
        if (hasColour)
            QTEST(background, "background");
        else
            QCOMPARE(background, desktop);
        QCOMPARE(label.contentsMargins().left() == 0, background == desktop);
    }
}

void TestMainWindow::theStartScreenNamesTheArchivesGeneration()
{
    const QString instruction =
        "|No device detected. Connect your headset and transmitter to two separate USB "
        "ports on your computer.|"_s;
    Desk desk;
    QVERIFY(!desk.window.windowFlags().testFlag(Qt::WindowMaximizeButtonHint));
    QVERIFY(desk.window.windowFlags().testFlag(Qt::WindowMinimizeButtonHint));
    QVERIFY(desk.window.windowFlags().testFlag(Qt::WindowCloseButtonHint));
    QCOMPARE(desk.window.minimumSize(), QSize(479, 479));
    QCOMPARE(desk.window.maximumSize(), QSize(479, 479));
    QVERIFY(desk.window.statusBar()->isHidden());
    const QRect textArea = find(*desk.screen(), "text")->geometry(); // the same with and without a picture
    // Shows the start screen without an archive, then with archives for which the screen shows picture 1,
    // picture 2 or no picture.
    for (const char* const archive : {"", "A1", "A2", "Ah", "A2", "Ah", "A1"}) {
        desk.take(archive);
        const bool hasGeneration = *archive != '\0' && archive[1] != 'h';
        const QString generation = hasGeneration ? "VYNT"_s + QLatin1Char(archive[1]) : "Unknown"_s;
        QCOMPARE(desk.screenState(), generation + " FIRMWARE"_s + instruction +
                                         (hasGeneration ? generation + "-startscreen"_s : QString()) +
                                         "@text"_s);
        QCOMPARE(find(*desk.screen(), "text")->geometry(), textArea);
    }
}

void TestMainWindow::theSystemMenuIsReachedByKeyboardAndMouse()
{
    for (const bool byMouse : {false, true}) {
        Desk desk;
        QCOMPARE(desk.choose("Override"_s, byMouse), "Override About... - Close"_s);
        QVERIFY(!desk.screen());
        bool isRight = false;
        User user({[&isRight](QWidget& modal) {
            const auto& box = dynamic_cast<QMessageBox&>(modal);
            isRight = box.iconPixmap().width() > 0 && box.iconPixmap().width() <= 64 &&
                      box.windowFlags().testFlag(Qt::MSWindowsFixedSizeDialogHint);
            return User::press("OK"_s)(modal);
        }});
        desk.choose("About..."_s, byMouse);
        QVERIFY(user.isDone());
        QVERIFY(isRight);
        QCOMPARE(user.boxes,
                 QStringList{"About|\nZEFO VYNT Firmware Update\nVersion " UPDATER_VERSION "\n||"_s});
        QVERIFY(desk.window.findChildren<QMessageBox*>().isEmpty());
        desk.choose("Close"_s, byMouse);
        QVERIFY(desk.window.isHidden());
    }
    QTranslator italian;
    QVERIFY(italian.load("tessalinefirmwareupdater_it"_s, ":/translations"_s));
    QCoreApplication::installTranslator(&italian);
    Desk desk;
    QCOMPARE(desk.choose("Chiudi"_s, true), "Ignora la schermata iniziale Informazioni... - Chiudi"_s);
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
    QVERIFY(screen.backButton()->isHidden());
    QVERIFY(screen.closeButton()->isHidden());
    const auto size = [&](const QString& path) {
        screen.setImage(path);
        return image->isHidden() ? QSize(-1, -1) : image->pixmap(Qt::ReturnByValue).size();
    };
    const QString wide = picture("wide.png", 2 * available);
    QCOMPARE(size(""_s), QSize(-1, -1));
    QCOMPARE(size(picture("narrow.png", available)), QSize(available, 100));
    QCOMPARE(size(picture("small.png", available / 2)), QSize(available / 2, 100));
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
