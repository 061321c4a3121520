// Rows about firmware archives and images.

#include <cstring>
#include <memory>
#include <vector>

#include <QTemporaryDir>

#include <quazip.h>
#include <quazipfile.h>
#include <zlib.h>

#include "archivebuilder.h"
#include "comparison.h"
#include "firmwarecontroller.h"
#include "firmwareutilities.h"
#include "imagebuilder.h"
#include "imagetext.h"

using namespace Comparison;

namespace {

constexpr int kib = 1024;

QByteArray imageOf(ImageOptions options, int bytes)
{
    options.size = bytes;
    return toByteArray(ImageBuilder::build(options));
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
        require(ArchiveBuilder::write(
                    path, ArchiveBuilder::release(bytesOf(transmitter), bytesOf(headset), "Notes")),
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

    const QByteArray transmitter;
    const QByteArray headset;
    QTemporaryDir folder;
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

void ignoreMessage(QtMsgType, const QMessageLogContext&, const QString&) {}

MakePair archivePairs(int imageBytes)
{
    qInstallMessageHandler(ignoreMessage);
    const auto sample = std::make_shared<SampleArchive>(imageBytes);
    const auto controller = std::make_shared<FirmwareController>();
    controller->setFilePath(sample->path);
    require(controller->firmware(DeviceType::Transmitter) == sample->transmitter &&
                controller->firmware(DeviceType::Headset) == sample->headset,
            "the images are wrong");
    return alternately([sample, controller] { controller->setFilePath(sample->path); },
                       [sample] {
                           for (PackedEntry& entry : sample->entries)
                               inflateEntry(entry);
                       });
}

/// As decoding cannot do without.
int countLines(const QByteArray& text)
{
    int lines = 0;
    const char* const end = text.constData() + text.size();
    for (const char* next = text.constData(); next != end; ++lines) {
        const void* const found = std::memchr(next, '\n', static_cast<std::size_t>(end - next));
        next = found ? static_cast<const char*>(found) + 1 : end;
    }
    return lines;
}

MakePair decodePairs()
{
    const QByteArray image = imageOf(ImageBuilder::transmitter(), 128 * kib);
    const QByteArray text = ArchiveBuilder::imageText(bytesOf(image));
    require(ImageText::decode(text) == image, "the image is wrong");
    const int lines = countLines(text);
    return alternately([text] { static_cast<void>(ImageText::decode(text)); },
                       [text, lines] { require(countLines(text) == lines, "the lines are wrong"); });
}

[[maybe_unused]] const bool added =
    add({"archive of two 128 KiB images", "inflating the entries", "s", 2, 101},
        [] { return archivePairs(128 * kib); }) &&
    add({"archive of two 2 MiB images", "inflating the entries", "s", 2, 21},
        [] { return archivePairs(2048 * kib); }) &&
    add({"decoding one image text", "memchr for its line ends", "s", 6, 301}, decodePairs);

} // namespace
