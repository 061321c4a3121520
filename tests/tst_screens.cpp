#include <QtTest>

#include <QAccessible>
#include <QApplication>
#include <QGroupBox>
#include <QLabel>
#include <QLayout>
#include <QMenu>
#include <QMessageBox>
#include <QPlainTextEdit>
#include <QProgressBar>
#include <QPushButton>
#include <QStatusBar>
#include <QTranslator>
#include <QXmlStreamReader>

#include "benchoptions.h"
#include "benchrun.h"
#include "eventlog.h"
#include "looks.h"
#include "mainwindow.h"
#include "photographer.h"
#include "startup.h"

namespace {

const QMap<QString, int> textsOfContext{{QStringLiteral("FlashingDialog"), 4},
                                        {QStringLiteral("FlashingDialogClass"), 5},
                                        {QStringLiteral("InfoScreenClass"), 3},
                                        {QStringLiteral("MainWindow"), 35},
                                        {QStringLiteral("MainWindowClass"), 14}};
const QChar pseudoMark(0x014F);

/// Every text half as long again.
class PseudoLanguage : public QTranslator
{
public:
    bool isEmpty() const override { return false; }

    QString translate(const char* context, const char* source, const char*, int) const override
    {
        if (!textsOfContext.contains(QLatin1String(context)))
            return QString();
        asked.insert({context, source});
        const QString text = QString::fromUtf8(source);
        QString more = text.contains(QLatin1Char(' ')) ? QStringLiteral(" ") : QString();
        while (more.size() < text.size() / 2)
            more += more.size() % 8 == 7 ? QLatin1Char(' ') : pseudoMark;
        return text + more;
    }

    mutable QSet<QPair<QByteArray, QByteArray>> asked;
};

QString pictureFolder()
{
    return QFileInfo(QFINDTESTDATA("../docs/screens.md")).absolutePath() + QStringLiteral("/images/screens");
}

QString described(const QWidget& widget)
{
    const auto text = widget.property(qobject_cast<const QGroupBox*>(&widget) ? "title" : "text").toString();
    return QStringLiteral("%1 \"%2\" %3x%4")
        .arg(widget.objectName(), text.left(30))
        .arg(widget.width())
        .arg(widget.height());
}

double luminance(const QColor& colour)
{
    const auto linear = [](double part) {
        return part <= 0.03928 ? part / 12.92 : std::pow((part + 0.055) / 1.055, 2.4);
    };
    return 0.2126 * linear(colour.redF()) + 0.7152 * linear(colour.greenF()) +
           0.0722 * linear(colour.blueF());
}

double contrast(const QColor& a, const QColor& b)
{
    const double ratio = (luminance(a) + 0.05) / (luminance(b) + 0.05);
    return std::max(ratio, 1 / ratio);
}

QColor mostFrequentColour(const QImage& image)
{
    QHash<QRgb, int> counts;
    for (int y = 0; y < image.height(); ++y) {
        for (int x = 0; x < image.width(); ++x)
            ++counts[image.pixel(x, y)];
    }
    const auto most = std::max_element(counts.cbegin(), counts.cend());
    return QColor(most.key());
}

/// Looks a screen over and keeps what is wrong with it.
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
            return; // it is as large as its texts by itself
        for (auto* const widget : screen->findChildren<QWidget*>()) {
            if (widget->isVisible())
                inspectWidget(*widget);
        }
        inspectWindow();
        inspectTabOrder();
    }

private:
    void require(bool isRight, const QString& complaint)
    {
        if (!isRight)
            complaints << QStringLiteral("%1: %2").arg(screenName, complaint);
    }

    void requireSize(const QWidget& widget, const QSize& needed)
    {
        const QSize size = widget.size();
        require(
            needed.width() <= size.width() && needed.height() <= size.height(),
            QStringLiteral("%1 needs %2x%3").arg(described(widget)).arg(needed.width()).arg(needed.height()));
        const QRect place(widget.mapTo(screen, QPoint()), size);
        require(screen->rect().contains(place), described(widget) + QStringLiteral(" leaves its window"));
    }

    void inspectWidget(QWidget& widget)
    {
        if (auto* const label = qobject_cast<QLabel*>(&widget))
            inspectLabel(*label);
        if (auto* const button = qobject_cast<QPushButton*>(&widget)) {
            requireSize(*button, button->sizeHint());
            const bool isOfQt = qobject_cast<QMessageBox*>(screen) && button->text() == QLatin1String("OK");
            requireTranslation(isOfQt ? QString() : button->text());
        }
        if (auto* const box = qobject_cast<QGroupBox*>(&widget)) {
            requireSize(*box, QSize(box->fontMetrics().horizontalAdvance(box->title()), 0));
            requireTranslation(box->title());
        }
        if (auto* const bar = qobject_cast<QStatusBar*>(&widget)) {
            const int room = bar->findChild<QProgressBar*>()->x();
            require(bar->fontMetrics().horizontalAdvance(bar->currentMessage()) < room,
                    QStringLiteral("the status message has no room"));
            requireTranslation(bar->currentMessage());
        }
        if (auto* const notes = qobject_cast<QPlainTextEdit*>(&widget)) {
            constexpr int fewestLines = 3;
            require(notes->viewport()->height() >= fewestLines * notes->fontMetrics().lineSpacing(),
                    QStringLiteral("no room for the release notes"));
        }
        const bool needsName = (widget.focusPolicy() & Qt::TabFocus) || qobject_cast<QProgressBar*>(&widget);
        if (needsName || isPicture(widget))
            requireAccessibleName(widget);
    }

    void inspectLabel(const QLabel& label)
    {
        const QPixmap picture = label.pixmap(Qt::ReturnByValue);
        if (!picture.isNull()) {
            requireSize(label, picture.size() / picture.devicePixelRatio());
            return;
        }
        if (label.text().isEmpty())
            return;
        requireTranslation(label.text());
        if (!label.wordWrap()) {
            requireSize(label, label.sizeHint());
        } else {
            int longest = 0;
            for (const QString& word : label.text().split(QRegularExpression(QStringLiteral("[\\s/-]"))))
                longest = std::max(longest, label.fontMetrics().horizontalAdvance(word));
            requireSize(label, QSize(longest, label.heightForWidth(label.width())));
        }
        const QString style = label.styleSheet();
        const int start = style.indexOf(QStringLiteral("{color: "));
        const QColor colour = start < 0 ? label.palette().windowText().color()
                                        : QColor(style.mid(start + 8).remove(QStringLiteral(";}")));
        const double ratio =
            contrast(colour, mostFrequentColour(const_cast<QLabel&>(label).grab().toImage()));
        require(ratio >= 3, QStringLiteral("%1 has a contrast of %2").arg(described(label)).arg(ratio));
    }

    bool isPicture(const QWidget& widget) const
    {
        const auto* const label = qobject_cast<const QLabel*>(&widget);
        return label && !label->pixmap(Qt::ReturnByValue).isNull() && !qobject_cast<QMessageBox*>(screen);
    }

    void requireAccessibleName(QWidget& widget)
    {
        const auto* const interface = QAccessible::queryAccessibleInterface(&widget);
        require(interface && !interface->text(QAccessible::Name).isEmpty(),
                described(widget) + QStringLiteral(" has no accessible name"));
    }

    /// In the pseudo-language: words that are neither names nor versions went through a translator.
    void requireTranslation(const QString& text)
    {
        static const QRegularExpression isName(
            QStringLiteral("^(VYNT\\d( FIRMWARE.*)?|vynt-.*|[\\d.]*|\\s*)$"));
        require(!isPseudo || text.contains(pseudoMark) || isName.match(text).hasMatch(),
                QStringLiteral("not translated: %1").arg(text));
    }

    void inspectWindow()
    {
        requireTranslation(screen->windowTitle());
        require(screen->fontMetrics().horizontalAdvance(screen->windowTitle()) < screen->width(),
                QStringLiteral("the title has no room"));
        if (const auto* const window = qobject_cast<QMainWindow*>(screen)) {
            require(window->size() == QSize(479, 479), QStringLiteral("the window has another size"));
            const QWidget& page = *window->centralWidget();
            const auto& layout = static_cast<const QBoxLayout&>(*page.layout());
            const int excess = layout.minimumHeightForWidth(page.width()) - page.height();
            require(excess <= 0, QStringLiteral("the page is %1 too high").arg(excess));
        }
        if (const auto* const box = qobject_cast<QMessageBox*>(screen))
            require(box->buttons().size() == 1 || box->defaultButton(), QStringLiteral("no default button"));
        else if (auto* const close = screen->findChild<QPushButton*>(QStringLiteral("closeButton")))
            require(close->isDefault(), QStringLiteral("Close is not the default button"));
    }

    void inspectTabOrder()
    {
        QList<QPoint> places;
        for (QWidget* widget = screen->nextInFocusChain(); widget != screen;
             widget = widget->nextInFocusChain()) {
            const bool isStop = (widget->focusPolicy() & Qt::TabFocus) == Qt::TabFocus && widget->isEnabled();
            if (isStop && widget->isVisibleTo(screen))
                places << widget->mapTo(screen, QPoint());
        }
        const auto isReadBefore = [](const QPoint& a, const QPoint& b) {
            return std::make_pair(a.y(), a.x()) < std::make_pair(b.y(), b.x());
        };
        require(std::is_sorted(places.begin(), places.end(), isReadBefore),
                QStringLiteral("the tab order is not that of reading"));
    }

    QString screenName;
    QWidget* screen = nullptr;
};

} // namespace

class tst_Screens : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void everyScreenHasRoomForItsTexts_data();
    void everyScreenHasRoomForItsTexts();
    void theCataloguesAreComplete_data();
    void theCataloguesAreComplete();
    void thePicturesAreThere();

private:
    QSet<QPair<QByteArray, QByteArray>> textsSeen;
};

void tst_Screens::everyScreenHasRoomForItsTexts_data()
{
    QTest::addColumn<int>("generation");
    QTest::addColumn<bool>("isDark");
    for (const char* const language : {"en", "es", "fr", "de", "it", "pseudo"})
        QTest::newRow(language) << 1 << false;
    QTest::newRow("vynt2") << 2 << false;
    QTest::newRow("dark") << 1 << true;
}

/// The names of the rows are those of the folders with the pictures.
void tst_Screens::everyScreenHasRoomForItsTexts()
{
    QFETCH(const int, generation);
    QFETCH(const bool, isDark);
    const QString row = QLatin1String(QTest::currentDataTag());
    PseudoLanguage pseudo;
    QTranslator translator;
    QTranslator qtTranslator;
    if (row == QLatin1String("pseudo"))
        QCoreApplication::installTranslator(&pseudo);
    for (const auto& catalogue :
         {std::make_pair(&qtTranslator, "qt_"), std::make_pair(&translator, "tessalinefirmwareupdater_")}) {
        if (catalogue.first->load(QLatin1String(catalogue.second) + row, QStringLiteral(":/translations")))
            QCoreApplication::installTranslator(catalogue.first);
    }
    QApplication::setPalette(isDark ? Looks::darkPalette() : QPalette());

    BenchOptions options;
    options.fast = true;
    options.generation = generation;
    options.faultName = QStringLiteral("vanish");
    options.faultDevice = QStringLiteral("headset");
    options.faultTransfer = 40;
    EventLog log;
    log.setQuiet(true);
    BenchRun run(options, log);
    Inspector inspector;
    inspector.isPseudo = row == QLatin1String("pseudo");
    const QTemporaryDir folder;
    const Photographer photographer(folder.path(), log);
    QSet<QString> screens;
    run.setScreenHandler([&](const QString& name, QWidget& screen) {
        screens.insert(name);
        inspector.inspect(name, screen);
        photographer(name, screen);
    });
    QVERIFY(run.prepare());
    QEventLoop loop;
    connect(&run, &BenchRun::finished, &loop, &QEventLoop::exit, Qt::QueuedConnection);
    run.drive();
    const int exitCode = loop.exec();
    QApplication::setPalette(QPalette());
    textsSeen.unite(pseudo.asked);
    QVERIFY2(exitCode == 0, qPrintable(log.takeLines().join(QLatin1Char('\n'))));
    QVERIFY2(inspector.complaints.isEmpty(), qPrintable(inspector.complaints.join(QLatin1Char('\n'))));

    screens.remove(QStringLiteral("updating")); // in virtual time it may pass unseen
    QCOMPARE(screens.size(), 17);
    if (qApp->devicePixelRatio() > 1)
        return;
    QDirIterator pictures(pictureFolder() + QLatin1Char('/') + row, {QStringLiteral("*.png")});
    while (pictures.hasNext()) {
        const QImage kept(pictures.next());
        const QImage made(folder.filePath(pictures.fileName()));
        QVERIFY2(kept.size() == made.size() || pictures.fileName() == QLatin1String("updating.png"),
                 qPrintable(pictures.filePath() + QStringLiteral(" is out of date")));
    }
}

void tst_Screens::theCataloguesAreComplete_data()
{
    QTest::addColumn<QString>("language");
    for (const char* const language : {"es", "fr", "de", "it"})
        QTest::newRow(language) << QString::fromLatin1(language);
}

void tst_Screens::theCataloguesAreComplete()
{
    QFETCH(const QString, language);
    const QString name = QStringLiteral("tessalinefirmwareupdater_") + language;
    QFile file(QFINDTESTDATA(QStringLiteral("../resources/translations/%1.ts").arg(name)));
    QVERIFY(file.open(QIODevice::ReadOnly));
    QMap<QString, int> counts;
    QString context;
    QString source;
    const auto signature = [](const QString& text) {
        return QStringList{QString::number(text.count(QLatin1Char('\n'))),
                           QString::number(text.count(QLatin1Char('&'))),
                           QString::number(text.count(QStringLiteral("%1"))),
                           QString::number(text.count(QStringLiteral("%2"))),
                           text.endsWith(QStringLiteral("...")) ? QStringLiteral("...") : QString()};
    };
    for (QXmlStreamReader reader(&file); !reader.atEnd();) {
        if (reader.readNext() != QXmlStreamReader::StartElement)
            continue;
        if (reader.name() == QLatin1String("name"))
            context = reader.readElementText();
        if (reader.name() == QLatin1String("source"))
            source = reader.readElementText();
        if (reader.name() != QLatin1String("translation"))
            continue;
        QVERIFY2(!reader.attributes().hasAttribute(QStringLiteral("type")), qPrintable(source));
        const QString translation = reader.readElementText();
        QVERIFY2(!translation.isEmpty() && signature(translation) == signature(source),
                 qPrintable(translation));
        ++counts[context];
    }
    QCOMPARE(counts, textsOfContext);

    QTranslator translator;
    QVERIFY(translator.load(name, QStringLiteral(":/translations")));
    QVERIFY(!textsSeen.isEmpty());
    for (const auto& text : textsSeen)
        QVERIFY2(!translator.translate(text.first, text.second).isEmpty(), text.second.constData());
}

/// Each picture that a page shows is there and shows something, and none is kept in vain.
void tst_Screens::thePicturesAreThere()
{
    QSet<QString> used;
    for (const char* const page : {"../docs/screens.md", "../README.md"}) {
        QFile file(QFINDTESTDATA(page));
        QVERIFY2(file.open(QIODevice::ReadOnly), page);
        const QDir folder = QFileInfo(file.fileName()).absoluteDir();
        static const QRegularExpression link(QStringLiteral("(?:\\]\\(|src=\")([^)\"]+\\.png)"));
        auto match = link.globalMatch(QString::fromUtf8(file.readAll()));
        while (match.hasNext())
            used.insert(QDir::cleanPath(folder.absoluteFilePath(match.next().captured(1))));
    }
    QVERIFY(!used.isEmpty());
    for (const QString& path : used) {
        const QImage picture(path);
        QVERIFY2(picture.width() > 100 && picture.height() > 100, qPrintable(path));
        const QImage shown = picture.copy(picture.rect().adjusted(2, 32, -2, -2));
        QVERIFY2(shown.convertToFormat(QImage::Format_RGB32) != QImage(), qPrintable(path));
    }
    QDirIterator pictures(pictureFolder(), {QStringLiteral("*.png")}, QDir::Files,
                          QDirIterator::Subdirectories);
    while (pictures.hasNext())
        QVERIFY2(used.contains(pictures.next()), qPrintable(pictures.filePath()));
}

/// Once per scaling of the desktop: Qt reads it when the application object is made.
int main(int argc, char* argv[])
{
    qputenv("QT_FONT_DPI", "96");
    QLoggingCategory::setFilterRules(QStringLiteral("*=false"));
    int failures = 0;
    for (const char* const factor : {"1", "1.5", "2"}) {
        qputenv("QT_SCALE_FACTOR", factor);
        Startup::enableHighDpiScaling();
        QApplication application(argc, argv);
        Looks::setFont();
        tst_Screens test;
        failures += QTest::qExec(&test, argc, argv);
    }
    return failures;
}

#include "tst_screens.moc"
