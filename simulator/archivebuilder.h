#pragma once

#include <vector>

#include <QByteArray>
#include <QString>

#include "imagebuilder.h"

/// A file of an archive.
struct ArchiveEntry
{
    QString name; ///< with '/' between folders; '/' at the end: a folder
    QByteArray contents;
};

/// Writes firmware archives as releases have them.
///
///     const auto entries = ArchiveBuilder::release(ImageBuilder::build(ImageBuilder::transmitter(1)),
///                                                  ImageBuilder::build(ImageBuilder::headset()), "Notes");
///     if (!ArchiveBuilder::write(path, entries)) ...
namespace ArchiveBuilder {

/// The image as hexadecimal text: a byte per line in different spellings, with comment lines and remarks.
QByteArray imageText(const QByteArray& image);

/// Both images and the release notes, under the names that a release gives them.
std::vector<ArchiveEntry> release(const QByteArray& transmitterImage, const QByteArray& headsetImage,
                                  const QByteArray& releaseNotes);

/// Writes a ZIP archive; the same entries give the same bytes.
/// @param isPacked  false: the entries are stored as they are.
/// @return false where the file could not be written whole.
[[nodiscard]] bool write(const QString& path, const std::vector<ArchiveEntry>& entries, bool isPacked = true);

} // namespace ArchiveBuilder
