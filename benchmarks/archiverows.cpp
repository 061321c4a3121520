// Compares loading a firmware archive with inflating its entries.

#include <ctime>
#include <functional>
#include <vector>

#include <QTemporaryDir>

#include <zlib.h>

#include "archivebuilder.h"
#include "comparison.h"
#include "firmwarecontroller.h"
#include "imagebuilder.h"

using namespace Comparison;

namespace {

/// @return the text of @p image with bare digits.
QByteArray bareText(const std::vector<std::uint8_t>& image)
{
    return ArchiveBuilder::imageText(image).replace("0x", "");
}

/// @return the text of @p image with "0x" before every byte.
QByteArray prefixedText(const std::vector<std::uint8_t>& image)
{
    QByteArray text = bareText(image).replace("\r\n", "\r\n0x").replace("0x//", "//");
    text.chop(2);
    return text;
}

/// The packed bytes of an archive's entry, and the memory into which they are unpacked.
struct PackedEntry
{
    explicit PackedEntry(const QByteArray& text)
        : unpacked(text)
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
    require(result == Z_STREAM_END && stream.avail_out == 0, "cannot unpack an entry");
}

/// An archive of two images, one for each spelling of a byte, and the same entries without the archive.
struct Sample
{
    Sample()
        : transmitter(ImageBuilder::build(ImageBuilder::transmitter(1, imageBytes)))
        , headset(ImageBuilder::build(ImageBuilder::headset(imageBytes)))
        , entries{PackedEntry(bareText(transmitter)), PackedEntry(prefixedText(headset))}
        , path(folder.filePath(QStringLiteral("sample.zip")))
    {
        const bool isWritten = ArchiveBuilder::write(path, {{QStringLiteral("t.ff"), entries[0].unpacked},
                                                            {QStringLiteral("h.ef"), entries[1].unpacked}});
        require(isWritten, "cannot write the archive");
    }

    static constexpr std::size_t imageBytes = 0x200000;
    const std::vector<std::uint8_t> transmitter;
    const std::vector<std::uint8_t> headset;
    PackedEntry entries[2];
    const QTemporaryDir folder;
    const QString path;
};

/// @return the processor time of @p work, which other programs do not change. It is the whole cost of
/// @p work, because one thread does the work and never waits.
double processorSeconds(const std::function<void()>& work)
{
    const std::clock_t start = std::clock();
    work();
    return static_cast<double>(std::clock() - start) / CLOCKS_PER_SEC;
}

Pair archivePair()
{
    static Sample sample;
    FirmwareController controller;
    const double loading = processorSeconds([&] { controller.setFilePath(sample.path); });
    require(controller.firmware(DeviceType::Transmitter) == toByteArray(sample.transmitter) &&
                controller.firmware(DeviceType::Headset) == toByteArray(sample.headset),
            "the images are wrong");
    const double inflating = processorSeconds([&] {
        for (PackedEntry& entry : sample.entries)
            inflateEntry(entry);
    });
    return {loading, inflating};
}

[[maybe_unused]] const bool added =
    add("archive of two 2 MiB images, s, against inflating it", 2, 21, archivePair);

} // namespace
