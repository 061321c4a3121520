// Loading a firmware archive, beside inflating what it holds.

#include <memory>
#include <vector>

#include <QTemporaryDir>

#include <quazip.h>
#include <quazipfile.h>
#include <zlib.h>

#include "archivebuilder.h"
#include "comparison.h"
#include "firmwarecontroller.h"
#include "imagebuilder.h"

using namespace Comparison;

namespace {

constexpr int kib = 1024;

std::vector<std::uint8_t> imageOf(ImageOptions options, int bytes)
{
    options.size = bytes;
    return ImageBuilder::build(options);
}

/// An entry as it stands in an archive, and the room for what it unpacks to.
struct PackedEntry
{
    QByteArray packed;
    QByteArray unpacked;
};

/// An archive with a transmitter and a headset image, and what its image entries hold.
class SampleArchive
{
public:
    explicit SampleArchive(int imageBytes)
        : transmitter(imageOf(ImageBuilder::transmitter(), imageBytes))
        , headset(imageOf(ImageBuilder::headset(), imageBytes))
        , path(folder.filePath(QStringLiteral("sample.zip")))
    {
        require(ArchiveBuilder::write(path, ArchiveBuilder::release(transmitter, headset, "Notes")),
                "cannot write the archive");
        QuaZip archive(path);
        require(archive.open(QuaZip::mdUnzip), "cannot read the archive");
        for (const char* const name : {"transmitter.ff", "headset.ef"}) {
            require(archive.setCurrentFile(QLatin1String(name)), "an entry is missing");
            QuaZipFileInfo64 info;
            require(archive.getCurrentFileInfo(&info), "an entry cannot be read");
            QuaZipFile file(&archive);
            int method = 0;
            int level = 0;
            require(file.open(QIODevice::ReadOnly, &method, &level, true), "an entry cannot be read");
            entries.push_back({file.readAll(), QByteArray(static_cast<int>(info.uncompressedSize), '\0')});
        }
    }

    const std::vector<std::uint8_t> transmitter;
    const std::vector<std::uint8_t> headset;
    const QTemporaryDir folder;
    const QString path;
    std::vector<PackedEntry> entries;
};

void inflateEntry(PackedEntry& entry)
{
    z_stream stream = {};
    stream.next_in = reinterpret_cast<Bytef*>(entry.packed.data());
    stream.avail_in = static_cast<uInt>(entry.packed.size());
    stream.next_out = reinterpret_cast<Bytef*>(entry.unpacked.data());
    stream.avail_out = static_cast<uInt>(entry.unpacked.size());
    inflateInit2(&stream, -MAX_WBITS);
    const int result = inflate(&stream, Z_FINISH);
    inflateEnd(&stream);
    require(result == Z_STREAM_END && stream.avail_out == 0, "an entry cannot be unpacked");
}

MakePair archivePairs(int imageBytes)
{
    const auto sample = std::make_shared<SampleArchive>(imageBytes);
    const auto controller = std::make_shared<FirmwareController>();
    controller->setFilePath(sample->path);
    require(controller->firmware(DeviceType::Transmitter) == toByteArray(sample->transmitter) &&
                controller->firmware(DeviceType::Headset) == toByteArray(sample->headset),
            "the images are wrong");
    return [sample, controller] {
        const double loading = seconds([&] { controller->setFilePath(sample->path); });
        const double inflating =
            seconds([&] { std::for_each(sample->entries.begin(), sample->entries.end(), inflateEntry); });
        return Pair{loading, inflating};
    };
}

[[maybe_unused]] const bool added = add({"archive of two 128 KiB images, s, beside inflating it", 2, 101},
                                        [] { return archivePairs(128 * kib); }) &&
                                    add({"archive of two 2 MiB images, s, beside inflating it", 2, 21},
                                        [] { return archivePairs(2048 * kib); });

} // namespace
