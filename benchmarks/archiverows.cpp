// Loading a firmware archive, beside inflating what it holds.

#include <algorithm>
#include <vector>

#include <QTemporaryDir>

#include <zlib.h>

#include "archivebuilder.h"
#include "comparison.h"
#include "firmwarecontroller.h"
#include "imagebuilder.h"

using namespace Comparison;

namespace {

constexpr std::size_t kib = 1024;

/// An entry as it stands in an archive, and the room for what it unpacks to.
struct PackedEntry
{
    explicit PackedEntry(const std::vector<std::uint8_t>& image)
        : unpacked(ArchiveBuilder::imageText(image))
    {
        constexpr int headerBytes = 6; // Qt's length and zlib's header
        packed = qCompress(unpacked).mid(headerBytes);
    }

    QByteArray unpacked;
    QByteArray packed;
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

template <std::size_t imageBytes>
Pair archivePair()
{
    static const auto transmitter = ImageBuilder::build(ImageBuilder::transmitter(1, imageBytes));
    static const auto headset = ImageBuilder::build(ImageBuilder::headset(imageBytes));
    static const QTemporaryDir folder;
    static const QString path = folder.filePath(QStringLiteral("sample.zip"));
    static const bool isWritten =
        ArchiveBuilder::write(path, ArchiveBuilder::release(transmitter, headset, "Notes"));
    require(isWritten, "cannot write the archive");
    static PackedEntry entries[] = {PackedEntry(transmitter), PackedEntry(headset)};
    FirmwareController controller;
    const double loading = seconds([&] { controller.setFilePath(path); });
    require(controller.firmware(DeviceType::Transmitter) == toByteArray(transmitter) &&
                controller.firmware(DeviceType::Headset) == toByteArray(headset),
            "the images are wrong");
    return {loading, seconds([] { std::for_each(std::begin(entries), std::end(entries), inflateEntry); })};
}

[[maybe_unused]] const bool added =
    add("archive of two 128 KiB images, s, beside inflating it", 2, 101, archivePair<128 * kib>) &&
    add("archive of two 2 MiB images, s, beside inflating it", 2, 21, archivePair<2048 * kib>);

} // namespace
