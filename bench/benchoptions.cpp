#include "benchoptions.h"

#include <cstdio>
#include <cstdlib>

#include <QCommandLineParser>

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

/// The values of what was parsed, checked.
class Values
{
public:
    explicit Values(const QCommandLineParser& commandLine)
        : parser(commandLine)
    {
    }

    bool isSet(const char* name) const { return parser.isSet(QLatin1String(name)); }
    QString text(const char* name) const { return parser.value(QLatin1String(name)); }

    int number(const char* name, int min, int max) const
    {
        bool isNumber = false;
        const int value = text(name).toInt(&isNumber);
        if (!isNumber || value < min || value > max)
            fail(QStringLiteral("--%1 takes %2 to %3").arg(QLatin1String(name)).arg(min).arg(max));
        return value;
    }

    /// @return whether it is the first one.
    bool choice(const char* name, const char* first, const char* second) const
    {
        if (text(name) != QLatin1String(first) && text(name) != QLatin1String(second))
            fail(QStringLiteral("--%1 is %2 or %3")
                     .arg(QLatin1String(name), QLatin1String(first), QLatin1String(second)));
        return text(name) == QLatin1String(first);
    }

private:
    const QCommandLineParser& parser;
};

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

    const Values values(parser);
    BenchOptions options;
    options.archivePath = values.text("archive");
    options.generation = values.number("generation", 1, 2);
    options.chipId = values.number("chip", 12, 13);
    options.revision = values.number("revision", 2, 3);
    options.imageBytes = values.number("image-size", minImageBytes, maxImageBytes);
    options.fast = values.isSet("fast");
    options.speed = values.number("speed", 1, static_cast<int>(ScaledClock::atOnce));
    options.dark = values.isSet("dark");
    options.takesTour = values.isSet("screenshots");
    options.screenshotsFolder = values.text("screenshots");
    options.drivesItself = values.isSet("drive") || options.takesTour;
    options.faultMatrix = values.isSet("fault-matrix");
    options.family = values.text("family");
    options.sample = values.number("sample", 1, maxImageBytes);
    if (!values.choice("fault-device", "headset", "transmitter"))
        options.faultDevice = DeviceType::Transmitter;
    if (values.isSet("fault"))
        readFault(values.text("fault"), options);
    options.onKernelBus = values.choice("bus", "uhid", "layer");
    if (options.onKernelBus)
        checkKernelBus(options);
    return options;
}
