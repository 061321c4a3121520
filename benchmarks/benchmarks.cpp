// Compares the cost of each of the updater's tasks with the lowest possible cost of that task. Each row of
// the output is a task. Exit status 1 means that a task failed or exceeds its bound.

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <functional>
#include <map>
#include <string>
#include <vector>

#include <QCoreApplication>
#include <QProcess>
#include <QTemporaryDir>
#include <QTextStream>

#include <benchmark/benchmark.h>
#include <zlib.h>

#include "archivebuilder.h"
#include "firmwarecontroller.h"
#include "imagebuilder.h"

namespace {

constexpr std::size_t kib = 1024;

/// The cost of a task and of its reference, in the same unit and measured right after each other.
struct Pair
{
    double work;
    double reference;
};

/// If @p condition is false, prints @p failure and ends the program with exit status 1.
void require(bool condition, const char* failure)
{
    if (condition)
        return;
    std::fprintf(stderr, "%s\n", failure);
    std::exit(EXIT_FAILURE);
}

/// The firmware for both devices: the images, and an archive that contains them.
struct Firmware
{
    explicit Firmware(std::size_t imageBytes)
        : transmitter(ImageBuilder::build(ImageBuilder::transmitter(1, imageBytes)))
        , headset(ImageBuilder::build(ImageBuilder::headset(imageBytes)))
    {
        require(ArchiveBuilder::write(path, entries), "cannot write the archive");
    }

    const std::vector<std::uint8_t> transmitter;
    const std::vector<std::uint8_t> headset;
    const std::vector<ArchiveEntry> entries = ArchiveBuilder::release(transmitter, headset, "Notes");
    const QTemporaryDir folder;
    const QString path = folder.filePath(QStringLiteral("sample.zip"));
};

/// The contents of an archive entry, and the same bytes compressed by zlib.
class PackedEntry
{
public:
    explicit PackedEntry(const ArchiveEntry& entry)
        : contents(entry.contents.constData(), entry.contents.size()) // a deep copy
        , packed(qCompress(contents))
    {
    }

    /// Unpacks `packed` into `contents`. Allocates no memory, because `contents` already has the right size.
    void unpack()
    {
        constexpr int sizeBytes = 4; // qCompress() puts the unpacked size before the compressed bytes
        auto bytes = static_cast<uLongf>(contents.size());
        const int result = uncompress(reinterpret_cast<Bytef*>(contents.data()), &bytes,
                                      reinterpret_cast<const Bytef*>(packed.constData() + sizeBytes),
                                      static_cast<uLong>(packed.size() - sizeBytes));
        require(result == Z_OK && bytes == static_cast<uLongf>(contents.size()), "cannot unpack an entry");
    }

private:
    QByteArray contents;
    const QByteArray packed;
};

/// @return the processor time of @p work, in seconds. Other programs do not change this time. @p work must
/// not wait, because a wait takes no processor time.
double processorSeconds(const std::function<void()>& work)
{
    const std::clock_t start = std::clock();
    work();
    return static_cast<double>(std::clock() - start) / CLOCKS_PER_SEC;
}

Pair archivePair()
{
    static const Firmware firmware(2048 * kib);
    static std::vector<PackedEntry> packed(firmware.entries.begin(), firmware.entries.end());
    FirmwareController controller;
    const double loading = processorSeconds([&] { controller.setFilePath(firmware.path); });
    require(controller.firmware(DeviceType::Transmitter) == toByteArray(firmware.transmitter) &&
                controller.firmware(DeviceType::Headset) == toByteArray(firmware.headset),
            "the images are wrong");
    const double inflating = processorSeconds([&] {
        for (PackedEntry& entry : packed)
            entry.unpack();
    });
    return {loading, inflating};
}

using Figures = std::map<std::string, double>;

/// Runs updaterun. @return the figures that it prints, keyed by their names.
Figures figuresOf(const QStringList& arguments, const char* platform)
{
    qputenv("QT_QPA_PLATFORM", platform);
    QProcess process;
    process.start(QStringLiteral(UPDATERUN), arguments, QIODevice::ReadOnly);
    const bool isOver = process.waitForFinished(-1);
    require(isOver && process.exitStatus() == QProcess::NormalExit && process.exitCode() == 0,
            "updaterun failed");
    Figures result;
    QTextStream lines(process.readAllStandardOutput());
    QString name;
    for (double figure = 0; lines >> name >> figure, !name.isEmpty();)
        result[name.toStdString()] = figure;
    return result;
}

/// Runs the program updaterun, which updates both devices. The program's clock runs @p speed times as fast as
/// real time.
Figures update(std::size_t imageBytes, int speed, int idleSeconds)
{
    const Firmware firmware(imageBytes);
    return figuresOf({QStringLiteral("update"), QString::number(imageBytes), firmware.path,
                      QString::number(speed), QString::number(idleSeconds)},
                     "offscreen");
}

Figures showEmptyWindow(std::size_t imageBytes, const char* platform)
{
    return figuresOf({QStringLiteral("empty"), QString::number(imageBytes)}, platform);
}

double seconds(const std::function<void()>& work)
{
    const auto start = std::chrono::steady_clock::now();
    work();
    return std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
}

Pair startPair()
{
    static const Firmware firmware(128 * kib);
    const double updater = seconds([] { figuresOf({QStringLiteral("start"), firmware.path}, "xcb"); });
    return {updater, seconds([] { showEmptyWindow(0, "xcb"); })};
}

Pair memoryPair()
{
    constexpr std::size_t imageBytes = 2048 * kib;
    constexpr int speed = 1000;
    const char* const peak = "peak-kib";
    const double empty = showEmptyWindow(imageBytes, "offscreen").at(peak);
    return {update(imageBytes, speed, 0).at(peak), empty};
}

/// @return the figures of one update in real time. Two rows share this update, because it takes minutes.
const Figures& update64()
{
    constexpr int idleSeconds = 80; // about as long as an update
    static const Figures figures = update(64 * kib, 1, idleSeconds);
    return figures;
}

Pair updatePair()
{
    return {update64().at("programming-ms"), update64().at("delays-ms")};
}

Pair stallPair()
{
    constexpr double frameMs = 1000.0 / 60; // length of a frame; a user does not see shorter stalls
    return {update64().at("stall-ms"), update64().at("idle-ms") + frameMs};
}

/// Adds a row that shows three medians over all pairs: of the work, of the reference, and of their ratio.
/// With many pairs, short disturbances of the machine hardly change the medians.
/// @param what   names the work and the reference; must not contain '/'.
/// @param bound  the greatest allowed ratio of work to reference.
/// @param pairs  the number of pairs to measure.
void add(const char* what, double bound, int pairs, Pair (*makePair)())
{
    const auto run = [bound, makePair](benchmark::State& state) {
        for ([[maybe_unused]] auto once : state) {
            const Pair pair = makePair();
            state.SetIterationTime(pair.work);
            state.counters = {{"work", pair.work},
                              {"reference", pair.reference},
                              {"ratio", pair.work / pair.reference},
                              {"bound", bound}};
        }
    };
    auto* const registered = benchmark::RegisterBenchmark(what, run);
    registered->Iterations(1)->Repetitions(pairs)->ReportAggregatesOnly()->UseManualTime();
}

class Judge : public benchmark::ConsoleReporter
{
public:
    void ReportRuns(const std::vector<Run>& runs) override
    {
        for (const Run& run : runs) {
            if (run.run_type == Run::RT_Aggregate && run.aggregate_name != "median")
                continue;
            ConsoleReporter::ReportRuns({run});
            const bool isWithin = run.counters.at("ratio").value <= run.counters.at("bound").value;
            hasMiss = hasMiss || !isWithin;
        }
    }

    bool hasMiss = false;
};

} // namespace

int main(int argc, char* argv[])
{
    const QCoreApplication application(argc, argv);
    qInstallMessageHandler([](QtMsgType, const QMessageLogContext&, const QString&) {});
    benchmark::Initialize(&argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv))
        return 2;
    add("archive of two 2 MiB images, s, against inflating it", 1.8, 21, archivePair);
    add("start to the first painted window, s, against an empty window", 1.5, 31, startPair);
    add("peak memory of updating two 2 MiB images, KiB, against the images", 1.3, 1, memoryPair);
    add("update of both devices, 64 KiB images, ms, against the transmitter's delays", 1.01, 1, updatePair);
    add("longest stall of the window in that update, ms, against the idle window's and a frame", 1, 1,
        stallPair);
    Judge judge;
    benchmark::RunSpecifiedBenchmarks(&judge);
    return judge.hasMiss ? 1 : 0;
}
