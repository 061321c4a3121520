// Rows about the whole program: its start, its memory, and updates in real time.

#include <future>
#include <memory>
#include <sstream>

#include <QFile>
#include <QTemporaryDir>

#include "archivebuilder.h"
#include "comparison.h"
#include "imagebuilder.h"
#include "program.h"

using namespace Comparison;

namespace {

constexpr int kib = 1024;

std::string built(const char* name)
{
    return std::string(BENCHMARK_FOLDER "/") + name;
}

std::map<std::string, double> updaterun(std::vector<std::string> arguments)
{
    arguments.insert(arguments.begin(), built("updaterun"));
    return Program::figures(Program::run(arguments, {{"QT_QPA_PLATFORM", "offscreen"}}).output);
}

/// A folder with an archive of one or both images, and room beside it.
class ArchiveFolder
{
public:
    enum Images { Transmitter, Headset, Both };

    ArchiveFolder(int bytes, Images images)
        : imageBytes(bytes)
    {
        ImageOptions transmitter = ImageBuilder::transmitter();
        ImageOptions headset = ImageBuilder::headset();
        transmitter.size = headset.size = bytes;
        auto entries =
            ArchiveBuilder::release(ImageBuilder::build(transmitter), ImageBuilder::build(headset), "Notes");
        if (images != Both)
            entries.erase(entries.begin() + (images == Transmitter ? 1 : 0));
        require(ArchiveBuilder::write(folder.filePath(QStringLiteral("sample.zip")), entries),
                "cannot write the archive");
    }

    std::string path(const char* name) const { return folder.filePath(QLatin1String(name)).toStdString(); }

    /// Updates what the archive has an image for; the time runs @p speed times as fast as on the wall.
    std::map<std::string, double> update(int speed, int idleSeconds) const
    {
        auto figures = updaterun({"update", std::to_string(imageBytes), path("sample.zip"),
                                  std::to_string(speed), std::to_string(idleSeconds)});
        for (const auto& [name, figure] : figures)
            require(name.find("-equal") == std::string::npos || figure == 1, "a device holds something else");
        return figures;
    }

private:
    const int imageBytes;
    QTemporaryDir folder;
};

// ---- Start

/// Pairs of starts with the given Qt platform plugin.
MakePair startPairs(const std::string& platform)
{
    const auto folder = std::make_shared<ArchiveFolder>(128 * kib, ArchiveFolder::Both);
    const std::string program = folder->path("updater"); // looks for the archive in its own folder
    require(QFile::copy(QStringLiteral(UPDATER_PROGRAM), QString::fromStdString(program)),
            "cannot copy the updater");
    const Program::Variables variables{{"QT_QPA_PLATFORM", platform},
                                       {"LD_PRELOAD", built("libstartprobe.so")}};
    std::string width;
    std::string height;
    std::istringstream(Program::run({program}, variables).output) >> width >> height;
    return [folder, program, variables, width, height] {
        return Pair{Program::run({program}, variables).secondsToOutput,
                    Program::run({built("emptywindow"), width, height}, variables).secondsToOutput};
    };
}

// ---- Memory

MakePair memoryPairs()
{
    constexpr int imageBytes = 2048 * kib;
    constexpr int speed = 1000;
    const auto folder = std::make_shared<ArchiveFolder>(imageBytes, ArchiveFolder::Both);
    return [folder] {
        const auto empty = updaterun({"empty", std::to_string(imageBytes)});
        return Pair{folder->update(speed, 0).at("peak-kib"), empty.at("peak-kib")};
    };
}

// ---- Updates in real time, which the rows share because they take minutes

struct Updates
{
    std::map<std::string, double> both;
    std::map<std::string, double> transmitter;
    std::map<std::string, double> headset;
};

const Updates& realUpdates()
{
    static const Updates updates = [] {
        constexpr int imageBytes = 64 * kib;
        constexpr int idleSeconds = 80; // about as long as the update
        const ArchiveFolder both(imageBytes, ArchiveFolder::Both);
        const ArchiveFolder transmitter(imageBytes, ArchiveFolder::Transmitter);
        const ArchiveFolder headset(imageBytes, ArchiveFolder::Headset);
        Updates measured;
        measured.both = both.update(1, idleSeconds);
        // Nearly all of it is waiting, in which they do not disturb each other.
        auto other = std::async(std::launch::async, [&] { return headset.update(1, 0); });
        measured.transmitter = transmitter.update(1, 0);
        measured.headset = other.get();
        return measured;
    }();
    return updates;
}

Pair inSeconds(double workMs, double referenceMs)
{
    constexpr double msPerSecond = 1000;
    return {workMs / msPerSecond, referenceMs / msPerSecond};
}

Pair transmitterPair()
{
    const auto& alone = realUpdates().transmitter;
    return inSeconds(alone.at("transmitter-ms"), alone.at("transmitter-prescribed-ms"));
}

Pair headsetPair()
{
    const auto& alone = realUpdates().headset;
    return inSeconds(alone.at("headset-ms"), alone.at("headset-prescribed-ms"));
}

Pair bothPair()
{
    return inSeconds(realUpdates().both.at("run-ms"), realUpdates().transmitter.at("transmitter-ms"));
}

Pair stallPair()
{
    return inSeconds(realUpdates().both.at("stall-ms"), realUpdates().both.at("idle-ms"));
}

Pair framePair()
{
    constexpr double frameMs = 16;
    return inSeconds(realUpdates().both.at("stall-ms"), frameMs);
}

bool addOnce(const char* what, const char* against, double bound, Pair (*pair)())
{
    return add({what, against, "s", bound, 1}, [pair] { return pair; });
}

[[maybe_unused]] const bool added =
    add({"start to the first painted window, on an X display", "an empty window", "s", 1.5, 31},
        [] { return startPairs("xcb"); }) &&
    add({"start to the first painted window, without a display", "an empty window", "s", 0, 31},
        [] { return startPairs("offscreen"); }) &&
    add({"peak memory of an update with two 2 MiB images", "an empty window and the images", "KiB", 1.3, 1},
        memoryPairs) &&
    addOnce("update of a 64 KiB transmitter image", "the sum of the prescribed delays", 1.01,
            transmitterPair) &&
    addOnce("update of a 64 KiB headset image", "the sum of the prescribed delays", 1.01, headsetPair) &&
    addOnce("update of both at once", "the transmitter alone", 1.01, bothPair) &&
    addOnce("longest stall of the GUI thread in an update", "the same in an idle window", 1.5, stallPair) &&
    addOnce("that stall", "one frame, 16 ms", 1, framePair);

} // namespace
