#include <QtTest>

#include <QBoxLayout>
#include <QMainWindow>
#include <QMenu>
#include <QTranslator>

#include "benchoptions.h"
#include "benchrun.h"
#include "eventlog.h"
#include "startup.h"
#include "table.h"
#include "windowstate.h"

namespace {

const QChar pseudoMark(0x014F);

/// Makes every text of the updater about 1.5 times as long.
class PseudoLanguage : public QTranslator
{
public:
    bool isEmpty() const override { return false; }

    QString translate(const char* context, const char* source, const char*, int) const override
    {
        if (QByteArray(context).startsWith('Q'))
            return QString(); // texts of Qt stay as they are
        const QString text = QString::fromUtf8(source);
        QString more = text.contains(QLatin1Char(' ')) ? QStringLiteral(" ") : QString();
        while (more.size() < text.size() / 2)
            more += more.size() % 8 == 7 ? QLatin1Char(' ') : pseudoMark;
        return text + more;
    }
};

struct Desktop
{
    QByteArray scaling;
    bool hasLargeText;
    QByteArrayList rows; ///< languages and other variations to test on this desktop
};

const Desktop desktops[] = {
    {"1", false, {"en", "es", "fr", "de", "it", "pseudo", "dark", "vynt2"}},
    {"1.5", false, {"pseudo"}},
    {"2", false, {"fr"}},
    {"1", true, {"de"}},
};

bool isTabStop(const QWidget& widget)
{
    return (widget.focusPolicy() & Qt::TabFocus) == Qt::TabFocus && widget.isEnabled() && widget.isVisible();
}

/// Inspects screens and collects what is wrong with them.
class Inspector
{
public:
    QStringList complaints;
    bool isPseudo = false;

    void inspect(const QString& name, QWidget& inspected)
    {
        screenName = name;
        screen = &inspected;
        if (qobject_cast<QMenu*>(screen))
            return; // Qt makes a menu large enough for its texts
        const QString oddities = WindowState::oddities(*screen);
        require(oddities.isEmpty(), oddities);
        require(screen->fontMetrics().horizontalAdvance(screen->windowTitle()) < screen->width(),
                "the title is wider than the window"_s);
        if (isPseudo)
            inspectLanguage();
        inspectTabOrder();
        inspectDefaultButton();
        if (auto* const window = qobject_cast<QMainWindow*>(screen))
            inspectPage(*window);
    }

private:
    void require(bool isRight, const QString& complaint)
    {
        if (!isRight)
            complaints << "%1: %2"_s.arg(screenName, complaint);
    }

    /// Requires that every text is in the pseudo-language. Exceptions are names, versions and Qt's "OK".
    void inspectLanguage()
    {
        static const QRegularExpression isName("^(VYNT\\d( FIRMWARE.*)?|vynt-.*|OK|[\\d.]*|\\s*)$"_s);
        QStringList texts(screen->windowTitle());
        for (const auto* const widget : screen->findChildren<QWidget*>()) {
            if (widget->isVisible())
                texts << WindowState::accessibleText(widget, QAccessible::Name);
            if (const auto* const bar = qobject_cast<const QStatusBar*>(widget))
                texts << bar->currentMessage();
        }
        for (const QString& text : texts)
            require(text.contains(pseudoMark) || isName.match(text).hasMatch(), "not translated: "_s + text);
    }

    void inspectTabOrder()
    {
        QList<std::pair<int, int>> positions;
        for (QWidget* stop = screen->nextInFocusChain(); stop != screen; stop = stop->nextInFocusChain()) {
            const QPoint position = stop->mapTo(screen, QPoint());
            if (isTabStop(*stop))
                positions << std::make_pair(position.y(), position.x());
        }
        require(std::is_sorted(positions.begin(), positions.end()),
                "the tab order is not the reading order"_s);
    }

    /// Enter must press Close, and never Back.
    void inspectDefaultButton()
    {
        const auto* const close = screen->findChild<QPushButton*>("closeButton"_s);
        if (!close || !close->isVisible())
            return;
        require(close->isDefault() && close->autoDefault(), "Close is not the default"_s);
        const auto* const back = screen->findChild<QPushButton*>("backButton"_s);
        require(!back || !(back->isDefault() || back->autoDefault()), "Back is a default"_s);
    }

    void inspectPage(const QMainWindow& window)
    {
        const QWidget& page = *window.centralWidget();
        const auto& layout = static_cast<const QBoxLayout&>(*page.layout());
        require(layout.minimumHeightForWidth(page.width()) <= page.height(), "the page is too small"_s);
        for (const auto* const label : page.findChildren<QLabel*>()) {
            const bool isLabelled = label->text().endsWith(QLatin1Char(':')) && label->isVisible();
            require(!isLabelled || label->buddy(), "the label %1 has no buddy"_s.arg(label->text()));
        }
        const auto* const notes = page.findChild<QPlainTextEdit*>();
        require(!notes || notes->viewport()->height() >= 3 * notes->fontMetrics().lineSpacing(),
                "the release notes have less room than three lines"_s);
    }

    QString screenName;
    QWidget* screen = nullptr;
};

} // namespace

class tst_Screens : public QObject
{
    Q_OBJECT

public:
    explicit tst_Screens(const Desktop& testedDesktop)
        : desktop(testedDesktop)
    {
    }

private Q_SLOTS:
    void everyScreenHasRoomForItsTexts_data();
    void everyScreenHasRoomForItsTexts();

private:
    const Desktop& desktop;
};

void tst_Screens::everyScreenHasRoomForItsTexts_data()
{
    const Table<int> table("generation");
    for (const QByteArray& row : desktop.rows)
        table.row(row, row == "vynt2" ? 2 : 1);
}

void tst_Screens::everyScreenHasRoomForItsTexts()
{
    QFETCH(const int, generation);
    const QString row = QLatin1String(QTest::currentDataTag());
    const bool isPseudo = row == QLatin1String("pseudo");
    PseudoLanguage pseudo;
    QTranslator translator;
    QTranslator qtTranslator;
    if (isPseudo)
        QCoreApplication::installTranslator(&pseudo);
    if (qtTranslator.load(QStringLiteral("qt_") + row, QStringLiteral(":/translations")))
        QCoreApplication::installTranslator(&qtTranslator);
    if (translator.load(QStringLiteral("tessalinefirmwareupdater_") + row, QStringLiteral(":/translations")))
        QCoreApplication::installTranslator(&translator);
    QApplication::setPalette(row == QLatin1String("dark") ? QPalette(QColor(53, 53, 53)) : QPalette());

    BenchOptions options;
    options.fast = true;
    options.takesTour = true;
    options.generation = generation;
    options.fault = Fault::Vanish;
    options.faultTransfer = 40;
    EventLog log;
    Inspector inspector;
    inspector.isPseudo = isPseudo;
    QSet<QString> screens;
    BenchRun run(options, log);
    connect(&run, &BenchRun::screenSeen, &log, [&](const QString& name, QWidget* screen) {
        screens.insert(name);
        inspector.inspect(name, *screen);
    });
    QVERIFY(run.prepare());
    QVERIFY2(run.drive() == 0, qPrintable(log.lines().join(QLatin1Char('\n'))));
    QVERIFY2(inspector.complaints.isEmpty(), qPrintable(inspector.complaints.join(QLatin1Char('\n'))));
    screens.remove(QStringLiteral("updating")); // in virtual time this screen may close before it is seen
    QCOMPARE(screens.size(), 17);
}

/// Creates an application object for each desktop, because only a new application object reads the scaling.
int main(int argc, char* argv[])
{
    qputenv("QT_FONT_DPI", "96");
    int failures = 0;
    for (const Desktop& desktop : desktops) {
        qputenv("QT_SCALE_FACTOR", desktop.scaling);
        Startup::enableHighDpiScaling();
        QApplication application(argc, argv);
        QFont font = QApplication::font();
        font.setPointSize(desktop.hasLargeText ? 12 : 9);
        QApplication::setFont(font);
        tst_Screens test(desktop);
        failures += QTest::qExec(&test, argc, argv);
    }
    return failures;
}

#include "tst_screens.moc"
