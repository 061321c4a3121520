#include "benchoptions.h"

#include <cstdio>
#include <cstdlib>
#include <iterator>
#include <limits>

#include <QCommandLineParser>
#include <QDir>
#include <QGuiApplication>

#include "clock.h"
#include "imagebuilder.h"

namespace {

constexpr int usageError = 2;
constexpr int minImageBytes = 1024;             // enough for the headers and descriptors of an image
constexpr int maxImageBytes = 16 * 1024 * 1024; // larger than any chip's flash
constexpr int maxSample = 1000000;
constexpr int maxSeed = std::numeric_limits<int>::max();

struct Switch
{
    const char* name;
    const char* value; ///< name of the switch's value in the help; empty if the switch takes no value
    const char* byDefault;
    const char* description;
};

constexpr Switch switches[] = {
    {"generation", "N", "1", "The product generation, from 1 on."},
    {"chip", "ID", "12", "The chip's identifier, such as 12."},
    {"revision", "N", "2", "The chip's revision, such as 2."},
    {"image-size", "BYTES", "8192", "The size of each sample image."},
    {"fault", "NAME[@K]", "",
     "A fault, from the device's K-th transfer on (default 1); the bench drives itself."},
    {"fault-on-transmitter", "", "", "The transmitter has the fault, not the headset."},
    {"fast", "", "", "Virtual time: no delay is waited for, and the bench drives itself."},
    {"speed", "N", "1", "Time runs N times as fast as real time."},
    {"uhid", "", "",
     "The devices are plugged into this computer's kernel, which needs root, not into the simulated "
     "computer."},
    {"dark", "", "", "Light text on a dark background."},
    {"drive", "", "", "Drive itself even if there is a display."},
    {"screenshots", "FOLDER", "", "Save a picture of every screen."},
    {"fault-matrix", "", "", "Every fault at every transfer of every device, chip and revision."},
    {"family", "NAME", "", "Of the fault matrix, only this family, such as headset-12-2."},
    {"sample", "N", "0",
     "Of the fault matrix, only N faults, drawn at random over kinds and families; 0: all."},
    {"seed", "S", "0", "The seed of the draw; 0: a random one. It is printed."},
};

[[noreturn]] void rejectArguments(const QString& mistake)
{
    std::fprintf(stderr, "bench: %s; see --help\n", qPrintable(mistake));
    std::exit(usageError);
}

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

int number(const QCommandLineParser& parser, const QString& name, int min, int max)
{
    bool isNumber = false;
    const int value = parser.value(name).toInt(&isNumber);
    if (!isNumber || value < min || value > max)
        rejectArguments(QStringLiteral("--%1 takes %2 to %3").arg(name).arg(min).arg(max));
    return value;
}

/// Parses a fault, "NAME[@K]". K is the number of the earliest transfer at which the fault can strike.
void readFault(const QString& text, BenchOptions& options)
{
    const QStringList parts = text.split(QLatin1Char('@'));
    bool isNumber = true;
    options.fault = faultByName(parts.first().toStdString());
    if (parts.size() == 2)
        options.faultTransfer = parts.last().toInt(&isNumber);
    if (parts.size() > 2 || !isNumber || options.faultTransfer < 1 || options.fault == Fault::None)
        rejectArguments(QStringLiteral("no such fault: %1").arg(text));
}

bool needsSimulatedComputer(const BenchOptions& options)
{
    return options.fast || options.takesTour ||
           (options.fault != Fault::None && descriptionOf(options.fault).needsLayer);
}

void readChip(const QCommandLineParser& parser, BenchOptions& options)
{
    constexpr int maxByte = 255;
    options.chipId = number(parser, QStringLiteral("chip"), 0, maxByte);
    options.revision = number(parser, QStringLiteral("revision"), 0, maxByte);
    if (!SimulatedChip::modelOf(options.chipId, options.revision))
        rejectArguments(
            QStringLiteral("no such chip: %1, revision %2").arg(options.chipId).arg(options.revision));
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
        rejectArguments(parser.errorText());
    if (!parser.positionalArguments().isEmpty())
        rejectArguments(QStringLiteral("unexpected argument %1").arg(parser.positionalArguments().first()));

    BenchOptions options;
    options.generation = number(parser, QStringLiteral("generation"), 1,
                                static_cast<int>(std::size(ImageBuilder::transmitterProductIds)));
    readChip(parser, options);
    options.imageBytes = number(parser, QStringLiteral("image-size"), minImageBytes, maxImageBytes);
    options.fast = parser.isSet(QStringLiteral("fast"));
    options.speed = number(parser, QStringLiteral("speed"), 1, static_cast<int>(ScaledClock::atOnce));
    options.dark = parser.isSet(QStringLiteral("dark"));
    options.takesTour = parser.isSet(QStringLiteral("screenshots"));
    options.screenshotsFolder = parser.value(QStringLiteral("screenshots"));
    if (options.takesTour && !QDir().mkpath(options.screenshotsFolder))
        rejectArguments(QStringLiteral("cannot create the folder %1").arg(options.screenshotsFolder));
    options.faultMatrix = parser.isSet(QStringLiteral("fault-matrix"));
    options.family = parser.value(QStringLiteral("family"));
    options.sample = number(parser, QStringLiteral("sample"), 0, maxSample);
    options.seed = number(parser, QStringLiteral("seed"), 0, maxSeed);
    if (parser.isSet(QStringLiteral("fault-on-transmitter")))
        options.faultDevice = DeviceType::Transmitter;
    if (parser.isSet(QStringLiteral("fault")))
        readFault(parser.value(QStringLiteral("fault")), options);
    options.onKernelBus = parser.isSet(QStringLiteral("uhid"));
    if (options.onKernelBus && needsSimulatedComputer(options))
        rejectArguments(QStringLiteral("--fast, --screenshots or the fault does not work with --uhid"));
    options.drivesItself = parser.isSet(QStringLiteral("drive")) || options.fast || options.takesTour ||
                           options.fault != Fault::None ||
                           QGuiApplication::platformName() == QLatin1String("offscreen");
    return options;
}
