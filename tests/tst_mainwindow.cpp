// The main window and its screens, used by mouse and keyboard with a simulated computer behind.

#include <QFileDialog>
#include <QLayout>
#include <QLineEdit>
#include <QPlainTextEdit>
#include <QProgressBar>
#include <QStatusBar>

#include "desk.h"
#include "leavesnothing.h"

class TestMainWindow : public LeavesNothing
{
    Q_OBJECT

private Q_SLOTS:
    void theMainPageComparesDevicesWithTheArchive_data();
    void theMainPageComparesDevicesWithTheArchive();
    void aDeviceBeingReadCountsAsUnknownAndTheWindowSaysSo();
    void anArchiveIsChosenInTheFileDialog();
    void aLongArchiveNameKeepsItsBothEnds();
    void theStartScreenNamesTheArchivesGeneration();
    void theSystemMenuIsReachedByKeyboardAndMouse();
    void aPictureIsScaledOnceWhenItIsSet();
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
    row("A1 +H O", {main, none, gone, fits, on});
    row("A1 O +H -H", {main, noDevice, gone, gone, off});
    row("A1 +T +H -H -T", {start, noDevice, gone, gone, off});
    row("A1 +T +H Ax", {main, vynt1, kept, kept, off});
    row("At +T +H", {main, vynt1, fits, kept, on});
    row("Ah +T", {start, vynt1, kept, gone, off}); // not incompatible: of an image for it nothing is known
    row("A2 +T", {start, other, wrong, "*Disconnected>!*Incompatible"_s, off});
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
    QVERIFY(!busy->isVisible());
    QCOMPARE(busy->minimum(), busy->maximum());
    desk.gate.close(memoryReadMs);
    desk.plug('H', true);
    TRY_VERIFY(desk.gate.isReached() && busy->isVisible());
    QCOMPARE(desk.window.statusBar()->currentMessage(), "Detecting device..."_s);
    desk.take("+T"); // whose report refreshes the page
    QCOMPARE(desk.state(), "main|VYNT1||1.0.0>1.2.3|*Disconnected>~1.2.3|Update"_s);
    QVERIFY(busy->isVisible());
    desk.gate.open();
    TRY_COMPARE(desk.state(), "main|VYNT1||1.0.0>1.2.3|1.0.0>1.2.3|Update"_s);
    QVERIFY(!busy->isVisible());
    QCOMPARE(desk.window.statusBar()->currentMessage(), QString());
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
    QCOMPARE(find(desk.window, "firmwareFileName")->text(), QString());
    QCOMPARE(notes->toPlainText(), QString());
}

void TestMainWindow::aLongArchiveNameKeepsItsBothEnds()
{
    Desk desk("O");
    const QString archive = desk.archive(1, true);
    const auto* const label = find(desk.window, "firmwareFileName");
    const auto picture = [&](const QString& name) {
        const QString path = desk.folder.filePath(name + ".zip"_s);
        const bool isShown = QFile::copy(archive, path);
        desk.window.setFirmwareFilePath(path);
        QCoreApplication::processEvents();
        return isShown && label->text() == name && label->toolTip() == name
                   ? const_cast<QLabel*>(label)->grab().toImage()
                   : QImage();
    };
    const QString middle(200, QLatin1Char('m'));
    const QImage usual = picture("begin"_s + middle + "end"_s);
    QVERIFY(!usual.isNull());
    QCOMPARE(picture("begin"_s + middle + "mend"_s), usual); // one more in the middle
    for (const char* const otherEnd : {"begin%1enD", "Begin%1end"})
        QVERIFY2(picture(text(otherEnd).arg(middle)) != usual, otherEnd);
    QVERIFY(label->geometry().right() < find<QPushButton>(desk.window, "openFileButton")->geometry().left());
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
    const QPalette warning = find(*desk.mainPage, "devicesErrorInfoLabel")->palette();
    QCOMPARE(warning.color(QPalette::Active, QPalette::WindowText), QColor(Qt::red));
    QCOMPARE(warning.color(QPalette::Inactive, QPalette::WindowText), QColor(Qt::red));
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
