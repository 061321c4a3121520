// The whole program: its start, its memory, and updates in real time. Measured by program "updaterun".

#include <map>
#include <memory>

#include <QProcess>
#include <QTemporaryDir>
#include <QTextStream>

#include "archivebuilder.h"
#include "comparison.h"
#include "imagebuilder.h"

using namespace Comparison;

namespace {

constexpr int kib = 1024;
using Figures = std::map<QString, double>;

/// A run of updaterun.
class Run
{
public:
    Run(const QStringList& arguments, const char* platform)
    {
        QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
        environment.insert(QStringLiteral("QT_QPA_PLATFORM"), QLatin1String(platform));
        process.setProcessEnvironment(environment);
        process.start(QStringLiteral(UPDATERUN), arguments, QIODevice::ReadOnly);
    }

    /// Waits for the end, and takes what was printed: lines of a name and a figure.
    Figures figures()
    {
        const bool isOver = process.waitForFinished(-1);
        require(isOver && process.exitStatus() == QProcess::NormalExit && process.exitCode() == 0,
                "updaterun failed");
        Figures result;
        QTextStream lines(process.readAllStandardOutput());
        QString name;
        for (double figure = 0; lines >> name >> figure, !name.isEmpty();)
            result[name] = figure;
        return result;
    }

private:
    QProcess process;
};

/// A folder with an archive of one or both images.
class ArchiveFolder
{
public:
    enum Images { Transmitter, Headset, Both };

    ArchiveFolder(int bytes, Images images)
        : imageBytes(QString::number(bytes))
    {
        ImageOptions transmitter = ImageBuilder::transmitter();
        ImageOptions headset = ImageBuilder::headset();
        transmitter.size = headset.size = bytes;
        auto entries =
            ArchiveBuilder::release(ImageBuilder::build(transmitter), ImageBuilder::build(headset), "Notes");
        if (images != Both)
            entries.erase(entries.begin() + (images == Transmitter ? 1 : 0));
        require(ArchiveBuilder::write(path(), entries), "cannot write the archive");
    }

    QString path() const { return folder.filePath(QStringLiteral("sample.zip")); }

    /// Updates what the archive has an image for; the time runs @p speed times as fast as on the wall.
    std::unique_ptr<Run> update(int speed, int idleSeconds) const
    {
        return std::make_unique<Run>(QStringList{QStringLiteral("update"), imageBytes, path(),
                                                 QString::number(speed), QString::number(idleSeconds)},
                                     "offscreen");
    }

private:
    const QString imageBytes;
    const QTemporaryDir folder;
};

double secondsToWindow(const QStringList& arguments)
{
    return seconds([&] { Run(arguments, "xcb").figures(); });
}

MakePair startPairs()
{
    const auto folder = std::make_shared<ArchiveFolder>(128 * kib, ArchiveFolder::Both);
    return [folder] {
        return Pair{secondsToWindow({QStringLiteral("start"), folder->path()}),
                    secondsToWindow({QStringLiteral("start")})};
    };
}

MakePair memoryPairs()
{
    constexpr int imageBytes = 2048 * kib;
    constexpr int speed = 1000;
    const auto folder = std::make_shared<ArchiveFolder>(imageBytes, ArchiveFolder::Both);
    return [folder] {
        Run empty({QStringLiteral("empty"), QString::number(imageBytes)}, "offscreen");
        const QString peak = QStringLiteral("peak-kib");
        return Pair{folder->update(speed, 0)->figures().at(peak), empty.figures().at(peak)};
    };
}

/// Updates in real time, which the rows share because they take minutes.
struct Updates
{
    Updates()
    {
        constexpr int imageBytes = 64 * kib;
        constexpr int idleSeconds = 80; // about as long as the update
        both = ArchiveFolder(imageBytes, ArchiveFolder::Both).update(1, idleSeconds)->figures();
        // Nearly all of it is waiting, in which they do not disturb each other.
        const ArchiveFolder transmitters(imageBytes, ArchiveFolder::Transmitter);
        const ArchiveFolder headsets(imageBytes, ArchiveFolder::Headset);
        const auto first = transmitters.update(1, 0);
        const auto second = headsets.update(1, 0);
        transmitter = first->figures();
        headset = second->figures();
    }

    Figures both;
    Figures transmitter;
    Figures headset;
};

/// A row of two figures that such updates printed.
bool addUpdate(const char* what, double bound, Figures Updates::*work, const char* figure,
               Figures Updates::*reference, const char* referenceFigure)
{
    return add({what, bound, 1}, [=] {
        return [=] {
            static const Updates updates;
            return Pair{(updates.*work).at(QLatin1String(figure)),
                        (updates.*reference).at(QLatin1String(referenceFigure))};
        };
    });
}

[[maybe_unused]] const bool added =
    add({"start to the first painted window, s, beside an empty window", 1.5, 31}, startPairs) &&
    add({"peak memory of updating two 2 MiB images, KiB, beside the images", 1.3, 1}, memoryPairs) &&
    addUpdate("update of a 64 KiB transmitter image, ms, beside its delays", 1.01, &Updates::transmitter,
              "transmitter-ms", &Updates::transmitter, "transmitter-delays-ms") &&
    addUpdate("update of a 64 KiB headset image, ms, beside its delays", 1.01, &Updates::headset,
              "headset-ms", &Updates::headset, "headset-delays-ms") &&
    addUpdate("update of both at once, ms, beside the transmitter alone", 1.01, &Updates::both, "run-ms",
              &Updates::transmitter, "transmitter-ms") &&
    addUpdate("longest stall of the window in it, ms, beside the idle window", 1.5, &Updates::both,
              "stall-ms", &Updates::both, "idle-ms");

} // namespace
