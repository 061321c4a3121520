// Compares loading a firmware archive with inflating its entries.

#include <cctype>
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

/// @return the text of @p image, with "0x" before every byte or with bare digits.
QByteArray textOf(const std::vector<std::uint8_t>& image, bool hasPrefix)
{
    QByteArray text;
    for (QByteArray line : ArchiveBuilder::imageText(image).split('\n')) {
        if (line.startsWith("0x"))
            line.remove(0, 2);
        if (hasPrefix && !line.isEmpty() && std::isxdigit(static_cast<unsigned char>(line[0])))
            line.prepend("0x");
        text += line + '\n';
    }
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

/// An archive of two images, and the entries of these images without the archive.
struct Sample
{
    explicit Sample(bool hasPrefix)
        : transmitter(ImageBuilder::build(ImageBuilder::transmitter(1, imageBytes)))
        , headset(ImageBuilder::build(ImageBuilder::headset(imageBytes)))
        , entries{PackedEntry(textOf(transmitter, hasPrefix)), PackedEntry(textOf(headset, hasPrefix))}
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

Pair archivePair(Sample& sample)
{
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

bool addArchive(const char* what, bool hasPrefix)
{
    return add(what, 2, 21, [hasPrefix] {
        static Sample samples[] = {Sample(false), Sample(true)};
        return archivePair(samples[hasPrefix ? 1 : 0]);
    });
}

[[maybe_unused]] const bool added =
    addArchive("archive of two 2 MiB images, bare digits, s, against inflating it", false) &&
    addArchive("archive of two 2 MiB images, prefix 0x, s, against inflating it", true);

} // namespace
