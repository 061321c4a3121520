#pragma once

#include <QDir>
#include <QString>
#include <QStringList>

class QTranslator;

/// The steps of program start-up. Main thread only.
namespace Startup {

/// Lets Qt scale the fixed-size window with the screen's resolution. Call it before creating the application.
void enableHighDpiScaling();

/// Loads the catalogue named @p prefix and the system locale's name ("de_DE", else "de") from the resources
/// and installs @p translator in the application. Without such a catalogue the texts are English.
void installTranslator(QTranslator& translator, const QString& prefix);

/// Whether the command line @p arguments (program name first) include the switch "-sfx", in either case. The
/// self-extracting package passes it, so that the archive is looked for beside the package.
bool isLaunchedByPackage(const QStringList& arguments);

/// The folder of the parent process's executable, or the current working directory if that is unknown.
QDir parentProcessDirectory();

/// The absolute path of the first firmware archive ("*.zip", in either case) that @p directory lists, or "".
QString findFirmwareArchive(const QDir& directory);

} // namespace Startup
