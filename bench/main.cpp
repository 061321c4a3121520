#include <cstdio>

#include <QApplication>
#include <QFont>
#include <QIcon>
#include <QImage>
#include <QPalette>
#include <QTranslator>

#include "benchoptions.h"
#include "benchrun.h"
#include "benchwindow.h"
#include "eventlog.h"
#include "faultmatrix.h"
#include "startup.h"

namespace {

constexpr int failure = 1;

/// If there is no display, makes Qt draw into memory at 96 dots per inch. Call this function before the
/// application object is created.
void chooseDisplay()
{
    for (const char* const variable : {"DISPLAY", "WAYLAND_DISPLAY", "QT_QPA_PLATFORM"}) {
        if (!qEnvironmentVariableIsEmpty(variable))
            return;
    }
    qputenv("QT_QPA_PLATFORM", "offscreen");
    if (qEnvironmentVariableIsEmpty("QT_FONT_DPI"))
        qputenv("QT_FONT_DPI", "96");
}

/// Sets the usual text size of a desktop, and turns subpixel antialiasing off. Without a display Qt uses
/// larger text, and its subpixel antialiasing suits only some screens.
void setUsualFont()
{
    constexpr int usualPoints = 9;
    QFont font = QApplication::font();
    font.setPointSize(usualPoints);
    font.setStyleStrategy(QFont::NoSubpixelAntialias);
    QApplication::setFont(font);
}

/// @return the program's exit code.
int runBench(const BenchOptions& options)
{
    EventLog log;
    BenchRun run(options, log);
    QObject::connect(&run, &BenchRun::screenSeen, &log, [&](const QString& name, QWidget* screen) {
        constexpr int mostCompressed = 0;
        const QString path = QStringLiteral("%1/%2.png").arg(options.screenshotsFolder, name);
        const QImage picture = screen->grab().toImage().convertToFormat(QImage::Format_RGB888);
        if (!picture.save(path, "PNG", mostCompressed))
            log.add(QStringLiteral("could not save %1").arg(path));
    });
    if (!run.prepare())
        return failure;
    if (options.drivesItself)
        return run.drive();
    BenchWindow bench(run, log, options);
    bench.show();
    return QCoreApplication::exec();
}

} // namespace

int main(int argc, char* argv[])
{
    std::setvbuf(stdout, nullptr, _IOLBF, BUFSIZ); // so that each line appears in a log file at once
    chooseDisplay();
    Startup::enableHighDpiScaling();
    const QApplication application(argc, argv);
    const BenchOptions options = parseBenchOptions(QCoreApplication::arguments());

    QTranslator qtTranslator;
    Startup::installTranslator(qtTranslator, QStringLiteral("qt_"));
    QTranslator translator;
    Startup::installTranslator(translator, QStringLiteral("tessalinefirmwareupdater_"));
    QApplication::setWindowIcon(QIcon(QStringLiteral(":/Resources/MarovexLogo.png")));

    if (options.dark)
        QApplication::setPalette(QPalette(QColor(53, 53, 53)));
    if (QGuiApplication::platformName() == QLatin1String("offscreen"))
        setUsualFont();
    return options.faultMatrix ? FaultMatrix::run(options) : runBench(options);
}
