#include "benchoptions.h"

#include <cstdio>

#include <QCommandLineParser>

#include "clock.h"

namespace {

constexpr int usageError = 2;
constexpr int minImageBytes = 1024; // room for the headers and the descriptors
constexpr int maxImageBytes =
    16 * 1024 * 1024; // the loader's addresses would carry more; nobody's flash does

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

/// Takes the options from what was parsed, and keeps the first mistake.
class Reader
{
public:
    explicit Reader(const QCommandLineParser& commandLine)
        : parser(commandLine)
    {
    }

    BenchOptions read()
    {
        if (!parser.positionalArguments().isEmpty())
            complain(QStringLiteral("unexpected argument %1").arg(parser.positionalArguments().first()));
        BenchOptions options;
        options.archivePath = text("archive");
        options.generation = number("generation", 1, 2);
        options.chipId = number("chip", 12, 13);
        options.revision = number("revision", 2, 3);
        options.imageBytes = number("image-size", minImageBytes, maxImageBytes);
        options.fast = isSet("fast");
        options.speed = number("speed", 1, static_cast<int>(ScaledClock::atOnce));
        options.dark = isSet("dark");
        options.screenshotsFolder = text("screenshots");
        options.drivesItself = isSet("drive") || isSet("screenshots");
        options.faultMatrix = isSet("fault-matrix");
        options.family = text("family");
        options.sample = number("sample", 1, maxImageBytes);
        const bool isTransmitters = choice("fault-device", "transmitter", "headset");
        options.faultDevice = isTransmitters ? DeviceType::Transmitter : DeviceType::Headset;
        readFault(options);
        readBus(options);
        return options;
    }

    QString mistake;

private:
    bool isSet(const char* name) const { return parser.isSet(QLatin1String(name)); }
    QString text(const char* name) const { return parser.value(QLatin1String(name)); }

    void complain(const QString& what)
    {
        if (mistake.isEmpty())
            mistake = what;
    }

    int number(const char* name, int min, int max)
    {
        bool isNumber = false;
        const int value = text(name).toInt(&isNumber);
        if (!isNumber || value < min || value > max)
            complain(QStringLiteral("--%1 takes %2 to %3").arg(QLatin1String(name)).arg(min).arg(max));
        return value;
    }

    /// @return whether it is the first one.
    bool choice(const char* name, const char* first, const char* second)
    {
        if (text(name) != QLatin1String(first) && text(name) != QLatin1String(second))
            complain(QStringLiteral("--%1 is %2 or %3")
                         .arg(QLatin1String(name), QLatin1String(first), QLatin1String(second)));
        return text(name) == QLatin1String(first);
    }

    /// Reads "NAME[@K]", K a transfer's number.
    void readFault(BenchOptions& options)
    {
        if (!isSet("fault"))
            return;
        const QStringList parts = text("fault").split(QLatin1Char('@'));
        bool isNumber = true;
        options.fault = faultByName(parts.first().toStdString());
        if (parts.size() == 2)
            options.faultTransfer = parts.last().toInt(&isNumber);
        if (parts.size() > 2 || !isNumber || options.faultTransfer < 1 || !options.fault)
            complain(QStringLiteral("no such fault: %1").arg(text("fault")));
    }

    /// After the other options.
    void readBus(BenchOptions& options)
    {
        options.onKernelBus = choice("bus", "uhid", "layer");
        if (!options.onKernelBus)
            return;
        if (options.fast || options.faultMatrix)
            complain(QStringLiteral("the kernel's time is neither virtual nor repeatable"));
        if (!options.screenshotsFolder.isEmpty())
            complain(QStringLiteral("the tour of the screens needs the simulated computer"));
        if (options.fault == Fault::RefuseOpen)
            complain(QStringLiteral("the kernel refuses root nothing"));
    }

    const QCommandLineParser& parser;
};

} // namespace

std::optional<BenchOptions> parseBenchOptions(const QStringList& arguments, int& exitCode)
{
    QCommandLineParser parser;
    parser.setApplicationDescription(description());
    const QCommandLineOption help = parser.addHelpOption();
    for (const Switch& one : switches)
        parser.addOption({QLatin1String(one.name), QLatin1String(one.description), QLatin1String(one.value),
                          QLatin1String(one.byDefault)});
    Reader reader(parser);
    if (!parser.parse(arguments))
        reader.mistake = parser.errorText();
    if (parser.isSet(help)) {
        std::puts(qPrintable(parser.helpText()));
        exitCode = 0;
        return std::nullopt;
    }
    const BenchOptions options = reader.read();
    if (reader.mistake.isEmpty())
        return options;
    std::fprintf(stderr, "bench: %s; see --help\n", qPrintable(reader.mistake));
    exitCode = usageError;
    return std::nullopt;
}
