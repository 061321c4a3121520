#include "benchoptions.h"

#include <cstdio>
#include <cstdlib>

#include <QCommandLineParser>
#include <QDir>

#include "clock.h"

namespace {

constexpr int usageError = 2;
constexpr int minImageBytes = 1024;             // room for the headers and the descriptors
constexpr int maxImageBytes = 16 * 1024 * 1024; // the loader's addresses carry more; nobody's flash does

struct Switch
{
    const char* name;
    const char* value; ///< what the help calls it; empty where there is none
    const char* byDefault;
    const char* description;
};

constexpr Switch switches[] = {
    {"archive", "FILE", "", "The firmware archive to load; without it a sample archive is built."},
    {"generation", "N", "1", "The product generation, 1 or 2."},
    {"chip", "ID", "12", "The chip's identifier, 12 or 13."},
    {"revision", "N", "2", "The chip's revision, 2 or 3."},
    {"image-size", "BYTES", "8192", "The size of each sample image."},
    {"fault", "NAME[@K]", "", "A fault, at the device's K-th transfer (default 1)."},
    {"fault-device", "DEVICE", "headset", "The device with the fault, transmitter or headset."},
    {"fast", "", "", "Virtual time: no delay is waited for."},
    {"speed", "N", "1", "Time that runs N times as fast as on the wall."},
    {"bus", "NAME", "layer",
     "What the devices are plugged into: layer, the simulated computer, or uhid, this computer's kernel, "
     "which takes root."},
    {"dark", "", "", "Light text on dark ground."},
    {"drive", "", "", "Drive itself although there is a display."},
    {"screenshots", "FOLDER", "", "Save a picture of every screen."},
    {"fault-matrix", "", "", "Every fault at every transfer of every device, chip and revision."},
    {"family", "NAME", "", "Of the fault matrix, only this family, such as headset-12-2."},
    {"sample", "N", "1", "Of the fault matrix, only every N-th fault."},
};

QString description()
{
    QString text = QStringLiteral(
        "The updater on a simulated computer with a simulated transmitter and headset. Without a display it "
        "drives itself through an update and ends with a verdict per device.\n\n"
        "Exit status: 0 the outcome is the expected one, 1 it is not, 2 wrong arguments.\n\n"
        "Faults:");
    for (const FaultDescription& fault : faultDescriptions())
        text += QStringLiteral("\n  %1  %2")
                    .arg(QLatin1String(fault.name), -16)
                    .arg(QLatin1String(fault.explanation));
    return text;
}

[[noreturn]] void fail(const QString& mistake)
{
    std::fprintf(stderr, "bench: %s; see --help\n", qPrintable(mistake));
    std::exit(usageError);
}

int number(const QCommandLineParser& parser, const QString& name, int min, int max)
{
    bool isNumber = false;
    const int value = parser.value(name).toInt(&isNumber);
    if (!isNumber || value < min || value > max)
        fail(QStringLiteral("--%1 takes %2 to %3").arg(name).arg(min).arg(max));
    return value;
}

/// @return whether it is the first one.
bool choice(const QCommandLineParser& parser, const QString& name, const QString& first,
            const QString& second)
{
    if (parser.value(name) != first && parser.value(name) != second)
        fail(QStringLiteral("--%1 is %2 or %3").arg(name, first, second));
    return parser.value(name) == first;
}

/// Reads "NAME[@K]", K a transfer's number.
void readFault(const QString& text, BenchOptions& options)
{
    const QStringList parts = text.split(QLatin1Char('@'));
    bool isNumber = true;
    options.fault = faultByName(parts.first().toStdString());
    if (parts.size() == 2)
        options.faultTransfer = parts.last().toInt(&isNumber);
    if (parts.size() > 2 || !isNumber || options.faultTransfer < 1 || !options.fault)
        fail(QStringLiteral("no such fault: %1").arg(text));
}

void checkKernelBus(const BenchOptions& options)
{
    if (options.fast || options.faultMatrix)
        fail(QStringLiteral("the kernel's time is neither virtual nor repeatable"));
    if (options.takesTour)
        fail(QStringLiteral("the tour of the screens needs the simulated computer"));
    if (options.fault == Fault::RefuseOpen)
        fail(QStringLiteral("the kernel refuses root nothing"));
}

} // namespace

BenchOptions parseBenchOptions(const QStringList& arguments)
{
    QCommandLineParser parser;
    parser.setApplicationDescription(description());
    const QCommandLineOption help = parser.addHelpOption();
    for (const Switch& one : switches)
        parser.addOption({QLatin1String(one.name), QLatin1String(one.description), QLatin1String(one.value),
                          QLatin1String(one.byDefault)});
    const bool isParsed = parser.parse(arguments);
    if (parser.isSet(help))
        parser.showHelp();
    if (!isParsed)
        fail(parser.errorText());
    if (!parser.positionalArguments().isEmpty())
        fail(QStringLiteral("unexpected argument %1").arg(parser.positionalArguments().first()));

    BenchOptions options;
    options.archivePath = parser.value(QStringLiteral("archive"));
    options.generation = number(parser, QStringLiteral("generation"), 1, 2);
    options.chipId = number(parser, QStringLiteral("chip"), 12, 13);
    options.revision = number(parser, QStringLiteral("revision"), 2, 3);
    options.imageBytes = number(parser, QStringLiteral("image-size"), minImageBytes, maxImageBytes);
    options.fast = parser.isSet(QStringLiteral("fast"));
    options.speed = number(parser, QStringLiteral("speed"), 1, static_cast<int>(ScaledClock::atOnce));
    options.dark = parser.isSet(QStringLiteral("dark"));
    options.takesTour = parser.isSet(QStringLiteral("screenshots"));
    options.screenshotsFolder = parser.value(QStringLiteral("screenshots"));
    if (options.takesTour && !QDir().mkpath(options.screenshotsFolder))
        fail(QStringLiteral("cannot make the folder %1").arg(options.screenshotsFolder));
    options.drivesItself = parser.isSet(QStringLiteral("drive")) || options.takesTour;
    options.faultMatrix = parser.isSet(QStringLiteral("fault-matrix"));
    options.family = parser.value(QStringLiteral("family"));
    options.sample = number(parser, QStringLiteral("sample"), 1, maxImageBytes);
    const bool isHeadsets = choice(parser, QStringLiteral("fault-device"), QStringLiteral("headset"),
                                   QStringLiteral("transmitter"));
    options.faultDevice = isHeadsets ? DeviceType::Headset : DeviceType::Transmitter;
    if (parser.isSet(QStringLiteral("fault")))
        readFault(parser.value(QStringLiteral("fault")), options);
    options.onKernelBus =
        choice(parser, QStringLiteral("bus"), QStringLiteral("uhid"), QStringLiteral("layer"));
    if (options.onKernelBus)
        checkKernelBus(options);
    return options;
}
