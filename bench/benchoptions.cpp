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
     "Arm a fault, which strikes at the device's K-th transfer or later (default 1). The bench drives "
     "itself."},
    {"fault-on-transmitter", "", "", "The transmitter has the fault, not the headset."},
    {"fast", "", "", "Virtual time: the bench skips every delay. The bench drives itself."},
    {"speed", "N", "1", "Time runs N times as fast as real time."},
    {"uhid", "", "",
     "The devices are plugged into this computer's kernel, which needs root, not into the simulated "
     "computer."},
    {"dark", "", "", "Light text on a dark background."},
    {"drive", "", "", "The bench drives itself even if there is a display."},
    {"screenshots", "FOLDER", "", "Save a picture of every screen."},
    {"fault-matrix", "", "", "Try every fault at every transfer of every device, chip and revision."},
    {"family", "NAME", "", "With --fault-matrix: try only this family, such as headset-12-2."},
    {"sample", "N", "0", "With --fault-matrix: try N random faults; 0: all faults."},
    {"seed", "S", "0",
     "With --sample: the seed of the random faults; 0: a random seed. The bench prints it."},
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
        "drives itself through an update and prints a verdict for each device.\n\n"
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
        rejectArguments(
            QStringLiteral("%1 is not NAME or NAME@K with a known fault and K from 1 on").arg(text));
}

/// @return the switch that needs the simulated computer; empty if there is none.
QString switchAgainstKernel(const BenchOptions& options)
{
    if (options.fast)
        return QStringLiteral("--fast");
    if (options.takesTour)
        return QStringLiteral("--screenshots");
    if (options.fault != Fault::None && descriptionOf(options.fault).needsLayer)
        return QStringLiteral("--fault %1").arg(QLatin1String(descriptionOf(options.fault).name));
    return QString();
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
    const QString hindrance = switchAgainstKernel(options);
    if (options.onKernelBus && !hindrance.isEmpty())
        rejectArguments(QStringLiteral("%1 does not work with --uhid").arg(hindrance));
    options.drivesItself = parser.isSet(QStringLiteral("drive")) || options.fast || options.takesTour ||
                           options.fault != Fault::None ||
                           QGuiApplication::platformName() == QLatin1String("offscreen");
    return options;
}
