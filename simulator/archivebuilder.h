#pragma once

#include <vector>

#include <QByteArray>
#include <QString>

#include "imagebuilder.h"

inline QByteArray toByteArray(const std::vector<std::uint8_t>& bytes)
{
    return QByteArray(reinterpret_cast<const char*>(bytes.data()), static_cast<int>(bytes.size()));
}

inline std::vector<std::uint8_t> bytesOf(const QByteArray& bytes)
{
    return {bytes.begin(), bytes.end()};
}

/// A file or folder of an archive.
struct ArchiveEntry
{
    QString name; ///< path in the archive, with '/' between folders; the path of a folder ends with '/'
    QByteArray contents;
};

/// Writes firmware archives like those that users get.
///
///     const auto entries = ArchiveBuilder::release(ImageBuilder::build(ImageBuilder::transmitter(1)),
///                                                  ImageBuilder::build(ImageBuilder::headset()), "Notes");
///     if (!ArchiveBuilder::write(path, entries)) ...
namespace ArchiveBuilder {

/// @return the image as hexadecimal text with one byte per line. Some lines start with 0x, some end with a
/// remark, and some are only a comment.
QByteArray imageText(const std::vector<std::uint8_t>& image);

/// @return the entries of a release: both images as text, and the release notes, under their usual file
/// names.
std::vector<ArchiveEntry> release(const std::vector<std::uint8_t>& transmitterImage,
                                  const std::vector<std::uint8_t>& headsetImage,
                                  const QByteArray& releaseNotes);

/// Writes a ZIP archive.
/// @return false if the file could not be written completely.
[[nodiscard]] bool write(const QString& path, const std::vector<ArchiveEntry>& entries);

} // namespace ArchiveBuilder
