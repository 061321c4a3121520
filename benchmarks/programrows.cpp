// Measures the whole program by running "updaterun": its start, its memory, and an update in real time.

#include <chrono>
#include <functional>
#include <map>
#include <string>

#include <QProcess>
#include <QTemporaryDir>
#include <QTextStream>

#include "archivebuilder.h"
#include "comparison.h"
#include "imagebuilder.h"

using namespace Comparison;

namespace {

constexpr std::size_t kib = 1024;
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

/// Writes an archive. @return its path.
QString archiveIn(const QTemporaryDir& folder, std::size_t imageBytes)
{
    const auto entries =
        ArchiveBuilder::release(ImageBuilder::build(ImageBuilder::transmitter(1, imageBytes)),
                                ImageBuilder::build(ImageBuilder::headset(imageBytes)), "Notes");
    QString path = folder.filePath(QStringLiteral("sample.zip"));
    require(ArchiveBuilder::write(path, entries), "cannot write the archive");
    return path;
}

/// Updates both devices. The program's clock runs @p speed times as fast as real time.
Figures update(std::size_t imageBytes, int speed, int idleSeconds)
{
    const QTemporaryDir folder;
    return figuresOf({QStringLiteral("update"), QString::number(imageBytes), archiveIn(folder, imageBytes),
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
    static const QTemporaryDir folder;
    static const QString archive = archiveIn(folder, 128 * kib);
    const double updater = seconds([] { figuresOf({QStringLiteral("start"), archive}, "xcb"); });
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

/// @return the figures of one update in real time. All rows share it, because it takes minutes.
const Figures& update64()
{
    constexpr int idleSeconds = 80; // about as long as an update
    static const Figures figures = update(64 * kib, 1, idleSeconds);
    return figures;
}

[[maybe_unused]] const bool added =
    add("start to the first painted window, s, against an empty window", 1.5, 31, startPair) &&
    add("peak memory of updating two 2 MiB images, KiB, against the images", 1.3, 1, memoryPair) &&
    add("update of both devices, 64 KiB images, ms, against the transmitter's delays", 1.01, 1,
        [] {
            return Pair{update64().at("programming-ms"), update64().at("delays-ms")};
        }) &&
    add("longest stall of the window in that update, ms, against the idle window's and a frame", 1, 1, [] {
        constexpr double frameMs = 1000.0 / 60; // a user can see a longer stall
        return Pair{update64().at("stall-ms"), update64().at("idle-ms") + frameMs};
    });

} // namespace
