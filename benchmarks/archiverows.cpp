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

/// @return the text of @p image without "0x".
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

/// Unpacks @p packed into the memory of @p text, which must have the right size already.
void inflateEntry(const QByteArray& packed, QByteArray& text)
{
    constexpr int sizeBytes = 4; // qCompress() puts the unpacked size before the bytes of zlib
    auto bytes = static_cast<uLongf>(text.size());
    const int result = uncompress(reinterpret_cast<Bytef*>(text.data()), &bytes,
                                  reinterpret_cast<const Bytef*>(packed.constData() + sizeBytes),
                                  static_cast<uLong>(packed.size() - sizeBytes));
    require(result == Z_OK && bytes == static_cast<uLongf>(text.size()), "cannot unpack an entry");
}

/// An archive of two images, one in each spelling of the bytes, and the same two texts packed without an
/// archive.
struct Sample
{
    Sample()
    {
        const bool isWritten = ArchiveBuilder::write(
            path, {{QStringLiteral("t.ff"), texts[0]}, {QStringLiteral("h.ef"), texts[1]}});
        require(isWritten, "cannot write the archive");
    }

    static constexpr std::size_t imageBytes = 0x200000;
    const std::vector<std::uint8_t> transmitter =
        ImageBuilder::build(ImageBuilder::transmitter(1, imageBytes));
    const std::vector<std::uint8_t> headset = ImageBuilder::build(ImageBuilder::headset(imageBytes));
    QByteArray texts[2] = {bareText(transmitter), prefixedText(headset)};
    const QByteArray packed[2] = {qCompress(texts[0]), qCompress(texts[1])};
    const QTemporaryDir folder;
    const QString path = folder.filePath(QStringLiteral("sample.zip"));
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
        inflateEntry(sample.packed[0], sample.texts[0]);
        inflateEntry(sample.packed[1], sample.texts[1]);
    });
    return {loading, inflating};
}

[[maybe_unused]] const bool added =
    add("archive of two 2 MiB images, s, against inflating it", 1.8, 21, archivePair);

} // namespace
