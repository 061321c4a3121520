#include <QApplication>
#include <QDir>
#include <QIcon>
#include <QPalette>
#include <QTranslator>

#include "benchoptions.h"
#include "benchrun.h"
#include "benchwindow.h"
#include "eventlog.h"
#include "faultmatrix.h"
#include "looks.h"
#include "mainwindow.h"
#include "photographer.h"
#include "startup.h"

namespace {

constexpr int failure = 1;

/// Without a display the windows live in memory, on a desktop of 96 dots per inch. To be called before the
/// application object exists.
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

bool hasDisplay()
{
    return QGuiApplication::platformName() != QLatin1String("offscreen");
}

void chooseLooks(const BenchOptions& options)
{
    if (options.dark)
        QApplication::setPalette(Looks::darkPalette());
    if (!hasDisplay())
        Looks::setFont();
}

bool drivesItself(const BenchOptions& options)
{
    return options.drivesItself || !hasDisplay();
}

/// @return the program's exit code.
int runBench(BenchOptions options, EventLog& log)
{
    if (options.fast && !drivesItself(options)) {
        options.fast = false; // nobody could watch
        options.speed = static_cast<int>(ScaledClock::atOnce);
    }
    if (!options.screenshotsFolder.isEmpty() && !QDir().mkpath(options.screenshotsFolder)) {
        log.add(QStringLiteral("cannot make the folder %1").arg(options.screenshotsFolder));
        return failure;
    }
    BenchRun run(options, log);
    if (!options.screenshotsFolder.isEmpty())
        run.setScreenHandler(Photographer(options.screenshotsFolder, log));
    if (!run.prepare())
        return failure;
    QObject::connect(&run, &BenchRun::finished, qApp, &QCoreApplication::exit, Qt::QueuedConnection);
    if (drivesItself(options)) {
        run.drive();
        return QCoreApplication::exec();
    }
    BenchWindow bench(run, log);
    bench.show();
    return QCoreApplication::exec();
}

} // namespace

int main(int argc, char* argv[])
{
    chooseDisplay();
    Startup::enableHighDpiScaling();
    const QApplication application(argc, argv);
    int exitCode = 0;
    const auto options = parseBenchOptions(QCoreApplication::arguments(), exitCode);
    if (!options)
        return exitCode;

    EventLog log;
    const UpdaterLog updaterLog(log);
    QTranslator qtTranslator;
    Startup::installTranslator(qtTranslator, QStringLiteral("qt_"));
    QTranslator translator;
    Startup::installTranslator(translator, QStringLiteral("tessalinefirmwareupdater_"));
    QApplication::setWindowIcon(QIcon(QStringLiteral(":/Resources/MarovexLogo.png")));

    chooseLooks(*options);

    if (options->faultMatrix)
        return FaultMatrix::run(options->family, options->sample, log);
    return runBench(*options, log);
}
