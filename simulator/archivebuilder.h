#pragma once

#include <vector>

#include <QByteArray>
#include <QString>

#include "imagebuilder.h"

/// Converts bytes to Qt's type.
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
    QString name; ///< with '/' between folders; the name of a folder ends with '/'
    QByteArray contents;
};

/// Writes firmware archives like those that users get.
///
///     const auto entries = ArchiveBuilder::release(ImageBuilder::build(ImageBuilder::transmitter(1)),
///                                                  ImageBuilder::build(ImageBuilder::headset()), "Notes");
///     if (!ArchiveBuilder::write(path, entries)) ...
namespace ArchiveBuilder {

/// The image as hexadecimal text: one byte per line, in different spellings, with comment lines and remarks.
QByteArray imageText(const std::vector<std::uint8_t>& image);

/// Both images and the release notes, under the file names that a release uses.
std::vector<ArchiveEntry> release(const std::vector<std::uint8_t>& transmitterImage,
                                  const std::vector<std::uint8_t>& headsetImage,
                                  const QByteArray& releaseNotes);

/// Writes a ZIP archive.
/// @return false if the file could not be written completely.
[[nodiscard]] bool write(const QString& path, const std::vector<ArchiveEntry>& entries);

} // namespace ArchiveBuilder
