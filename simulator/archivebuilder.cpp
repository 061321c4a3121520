#include "archivebuilder.h"

#include <quazip.h>
#include <quazipfile.h>

namespace {

constexpr std::size_t bytesPerComment = 16;
constexpr std::size_t bytesPerRemark = 64;

bool writeEntry(QuaZip& archive, const ArchiveEntry& entry)
{
    QuaZipFile file(&archive);
    if (!file.open(QIODevice::WriteOnly, QuaZipNewInfo(entry.name)) ||
        file.write(entry.contents) != entry.contents.size())
        return false;
    file.close();
    return file.getZipError() == ZIP_OK;
}

} // namespace

namespace ArchiveBuilder {

QByteArray imageText(const std::vector<std::uint8_t>& image)
{
    const QByteArray digits = toByteArray(image).toHex().toUpper();
    QByteArray text("// Firmware image, one byte per line\r\n");
    text.reserve(static_cast<int>(image.size()) * 5);
    for (std::size_t i = 0; i < image.size(); ++i) {
        if (i % bytesPerComment == 0)
            text += "// " + QByteArray::number(static_cast<qulonglong>(i), 16) + "\r\n";
        if (i % bytesPerRemark == 1)
            text += "0x";
        text.append(digits.constData() + 2 * i, 2);
        if (i % bytesPerRemark == 0)
            text += " // page";
        text += "\r\n";
    }
    return text;
}

std::vector<ArchiveEntry> release(const std::vector<std::uint8_t>& transmitterImage,
                                  const std::vector<std::uint8_t>& headsetImage,
                                  const QByteArray& releaseNotes)
{
    return {
        {QStringLiteral("transmitter.ff"), imageText(transmitterImage)},
        {QStringLiteral("headset.ef"), imageText(headsetImage)},
        {QStringLiteral("ReleaseNotes.txt"), releaseNotes},
    };
}

bool write(const QString& path, const std::vector<ArchiveEntry>& entries)
{
    QuaZip archive(path);
    archive.setDataDescriptorWritingEnabled(false); // like most tools, put the sizes before the data
    if (!archive.open(QuaZip::mdCreate))
        return false;
    for (const ArchiveEntry& entry : entries) {
        if (!writeEntry(archive, entry))
            return false;
    }
    archive.close();
    return archive.getZipError() == ZIP_OK;
}

} // namespace ArchiveBuilder
