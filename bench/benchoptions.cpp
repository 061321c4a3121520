#include "benchoptions.h"

#include <cstdio>

#include <QCommandLineParser>

#include "clock.h"
#include "faults.h"

namespace {

constexpr int usageError = 2;
constexpr int minImageBytes = 1024; // room for the headers and the descriptors
constexpr int maxImageBytes =
    16 * 1024 * 1024; // the loader's addresses would carry more; nobody's flash does

/// A number option with a set of choices or a range.
class NumberOption
{
public:
    NumberOption(const QString& name, const QString& description, const QString& valueName, int defaultValue)
        : option(name, description, valueName, QString::number(defaultValue))
    {
    }

    /// The value given, if it lies within @p min and @p max.
    std::optional<int> value(const QCommandLineParser& parser, int min, int max) const
    {
        bool isNumber = false;
        const int number = parser.value(option).toInt(&isNumber);
        return isNumber && number >= min && number <= max ? std::optional<int>(number) : std::nullopt;
    }

    const QCommandLineOption option;
};

QString faultList()
{
    QString text;
    for (const FaultDescription& fault : faultDescriptions())
        text += QStringLiteral("\n  %1  %2")
                    .arg(QLatin1String(fault.name), -16)
                    .arg(QLatin1String(fault.explanation));
    return text;
}

std::nullopt_t mistake(const QString& text, int& exitCode)
{
    std::fprintf(stderr, "bench: %s; see --help\n", qPrintable(text));
    exitCode = usageError;
    return std::nullopt;
}

/// Reads "NAME[@K]", K a transfer's number.
bool parseFault(const QString& text, BenchOptions& options)
{
    const QStringList parts = text.split(QLatin1Char('@'));
    bool isNumber = true;
    options.fault = faultByName(parts.first().toStdString());
    if (parts.size() == 2)
        options.faultTransfer = parts.last().toInt(&isNumber);
    return parts.size() <= 2 && isNumber && options.faultTransfer >= 1 && options.fault;
}

/// Reads the bus, after the other options. @return what is wrong with it; empty where nothing is.
QString readBus(const QString& name, BenchOptions& options)
{
    options.onKernelBus = name == QLatin1String("uhid");
    if (!options.onKernelBus)
        return name == QLatin1String("layer") ? QString() : QStringLiteral("no such bus: %1").arg(name);
    if (options.fast || options.faultMatrix)
        return QStringLiteral("the kernel's time is neither virtual nor repeatable");
    if (!options.screenshotsFolder.isEmpty())
        return QStringLiteral("the tour of the screens needs the simulated computer");
    if (options.faultName == QLatin1String("refuse-open"))
        return QStringLiteral("the kernel refuses root nothing");
    return QString();
}

} // namespace

std::optional<BenchOptions> parseBenchOptions(const QStringList& arguments, int& exitCode)
{
    QCommandLineParser parser;
    parser.setApplicationDescription(
        QStringLiteral(
            "The updater on a simulated computer with a simulated transmitter and headset. Without a "
            "display it drives itself through an update and ends with a verdict per device.\n\n"
            "Exit status: 0 the outcome is the expected one, 1 it is not, 2 wrong arguments.\n\n"
            "Faults:") +
        faultList());
    const auto help = parser.addHelpOption();
    const QCommandLineOption archive(QStringLiteral("archive"),
                                     QStringLiteral("The firmware archive to load; "
                                                    "without it a sample archive is built."),
                                     QStringLiteral("FILE"));
    const NumberOption generation(QStringLiteral("generation"),
                                  QStringLiteral("The product generation, 1 or 2."), QStringLiteral("N"), 1);
    const NumberOption chip(QStringLiteral("chip"), QStringLiteral("The chip's identifier, 12 or 13."),
                            QStringLiteral("ID"), 12);
    const NumberOption revision(QStringLiteral("revision"), QStringLiteral("The chip's revision, 2 or 3."),
                                QStringLiteral("N"), 2);
    const NumberOption imageSize(QStringLiteral("image-size"),
                                 QStringLiteral("The size of each sample image."), QStringLiteral("BYTES"),
                                 BenchOptions().imageBytes);
    const QCommandLineOption fault(QStringLiteral("fault"),
                                   QStringLiteral("A fault, at the device's K-th transfer (default 1)."),
                                   QStringLiteral("NAME[@K]"));
    const QCommandLineOption faultDevice(QStringLiteral("fault-device"),
                                         QStringLiteral("The device with the fault, transmitter or headset."),
                                         QStringLiteral("DEVICE"), QStringLiteral("headset"));
    const QCommandLineOption fast(QStringLiteral("fast"),
                                  QStringLiteral("Virtual time: no delay is waited for."));
    const NumberOption speed(QStringLiteral("speed"),
                             QStringLiteral("Time that runs N times as fast as on the wall."),
                             QStringLiteral("N"), BenchOptions().speed);
    const QCommandLineOption bus(
        QStringLiteral("bus"),
        QStringLiteral("What the devices are plugged into: layer, the simulated computer, or "
                       "uhid, this computer's kernel, which takes root."),
        QStringLiteral("NAME"), QStringLiteral("layer"));
    const QCommandLineOption dark(QStringLiteral("dark"), QStringLiteral("Light text on dark ground."));
    const QCommandLineOption drive(QStringLiteral("drive"),
                                   QStringLiteral("Drive itself although there is a display."));
    const QCommandLineOption screenshots(QStringLiteral("screenshots"),
                                         QStringLiteral("Save a picture of every screen."),
                                         QStringLiteral("FOLDER"));
    const QCommandLineOption faultMatrix(
        QStringLiteral("fault-matrix"),
        QStringLiteral("Every fault at every transfer of every device, chip and revision."));
    const QCommandLineOption family(
        QStringLiteral("family"),
        QStringLiteral("Of the fault matrix, only this family, such as headset-12-2."),
        QStringLiteral("NAME"));
    const NumberOption sample(QStringLiteral("sample"),
                              QStringLiteral("Of the fault matrix, only every N-th fault."),
                              QStringLiteral("N"), 1);
    parser.addOptions({archive, generation.option, chip.option, revision.option, imageSize.option, fault,
                       faultDevice, fast, speed.option, bus, dark, drive, screenshots, faultMatrix, family,
                       sample.option});
    if (!parser.parse(arguments))
        return mistake(parser.errorText(), exitCode);
    if (parser.isSet(help)) {
        std::puts(qPrintable(parser.helpText()));
        exitCode = 0;
        return std::nullopt;
    }

    BenchOptions options;
    options.archivePath = parser.value(archive);
    options.fast = parser.isSet(fast);
    options.dark = parser.isSet(dark);
    options.screenshotsFolder = parser.value(screenshots);
    options.drivesItself = parser.isSet(drive) || parser.isSet(screenshots);
    const QString device = parser.value(faultDevice);
    options.faultMatrix = parser.isSet(faultMatrix);
    options.family = parser.value(family);
    const auto sampleValue = sample.value(parser, 1, maxImageBytes);
    const auto generationValue = generation.value(parser, 1, 2);
    const auto chipValue = chip.value(parser, 12, 13);
    const auto revisionValue = revision.value(parser, 2, 3);
    const auto speedValue = speed.value(parser, 1, static_cast<int>(ScaledClock::atOnce));
    const auto sizeValue = imageSize.value(parser, minImageBytes, maxImageBytes);
    if (!parser.positionalArguments().isEmpty())
        return mistake(QStringLiteral("unexpected argument %1").arg(parser.positionalArguments().first()),
                       exitCode);
    if (!generationValue || !chipValue || !revisionValue)
        return mistake(QStringLiteral("no such generation, chip or revision"), exitCode);
    if (!sampleValue || !speedValue)
        return mistake(QStringLiteral("no such sample or speed"), exitCode);
    if (!sizeValue)
        return mistake(QStringLiteral("images have %1 to %2 bytes").arg(minImageBytes).arg(maxImageBytes),
                       exitCode);
    if (device != QLatin1String("transmitter") && device != QLatin1String("headset"))
        return mistake(QStringLiteral("no such device: %1").arg(device), exitCode);
    if (device == QLatin1String("transmitter"))
        options.faultDevice = DeviceType::Transmitter;
    if (parser.isSet(fault) && !parseFault(parser.value(fault), options))
        return mistake(QStringLiteral("no such fault: %1").arg(parser.value(fault)), exitCode);
    const QString complaint = readBus(parser.value(bus), options);
    if (!complaint.isEmpty())
        return mistake(complaint, exitCode);
    options.generation = *generationValue;
    options.chipId = *chipValue;
    options.revision = *revisionValue;
    options.imageBytes = *sizeValue;
    options.speed = *speedValue;
    options.sample = *sampleValue;
    return options;
}
