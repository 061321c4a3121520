#include <QApplication>
#include <QDateTime>
#include <QDebug>
#include <QIcon>
#include <QTranslator>

#include "logfile.h"
#include "mainwindow.h"
#include "startup.h"

namespace {

QString firmwareArchiveAtStartup()
{
    QDir directory(QCoreApplication::applicationDirPath());
    if (Startup::isLaunchedByPackage(QCoreApplication::arguments()))
        directory = Startup::parentProcessDirectory();
    qDebug() << "Looking firmware file in: " << directory.absolutePath();
    return Startup::findFirmwareArchive(directory);
}

} // namespace

int main(int argc, char* argv[])
{
    Startup::enableHighDpiScaling();
    const QApplication application(argc, argv);
    // The log file is created before the translators and the window. So it is destroyed after them and
    // receives their last messages.
    const LogFile logFile(QDateTime::currentDateTime());
    qDebug() << "Application path: " << QCoreApplication::applicationDirPath();

    QTranslator qtTranslator;
    Startup::installTranslator(qtTranslator, QStringLiteral("qt_"));
    QTranslator translator;
    Startup::installTranslator(translator, QStringLiteral("tessalinefirmwareupdater_"));
    QApplication::setWindowIcon(QIcon(QStringLiteral(":/Resources/MarovexLogo.png")));

    MainWindow window;
    window.setFirmwareFilePath(firmwareArchiveAtStartup());
    window.show();
    return QApplication::exec();
}
