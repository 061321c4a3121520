#pragma once

#include <QDir>
#include <QString>
#include <QStringList>

class QTranslator;

/// Functions that main() calls when the program starts. Main thread only.
namespace Startup {

/// Lets Qt scale the fixed-size window with the screen's resolution. Call it before creating the application.
void enableHighDpiScaling();

/// Loads a translation from the resources into @p translator and installs @p translator in the application.
/// The file's name is @p prefix followed by the system locale's name ("de_DE", or else "de"). If there is no
/// such file, the texts are English.
void installTranslator(QTranslator& translator, const QString& prefix);

/// Whether @p arguments contain the switch "-sfx", in upper or lower case. Ignores the first argument, the
/// program's name. The self-extracting package passes this switch, so that the updater looks for the archive
/// in the package's folder.
bool isLaunchedByPackage(const QStringList& arguments);

/// The folder of the parent process's executable, or the current working directory if that folder is unknown.
QDir parentProcessDirectory();

/// The absolute path of the firmware archive ("*.zip", in upper or lower case) that the system lists first in
/// @p directory; "" if there is none.
QString findFirmwareArchive(const QDir& directory);

} // namespace Startup
