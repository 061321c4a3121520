#pragma once

#include "archivebuilder.h"
#include "imagebuilder.h"

using FileEntry = std::vector<std::uint8_t>; ///< an entry of an image's file table

/// The smallest image whose file table has the entries @p files.
inline QByteArray imageOf(const std::vector<FileEntry>& files)
{
    ImageOptions options;
    options.size = 0;
    options.entries = files;
    return toByteArray(ImageBuilder::build(options));
}

/// The text of the image that imageOf() returns.
inline QByteArray imageTextOf(const std::vector<FileEntry>& files)
{
    return ArchiveBuilder::imageText(bytesOf(imageOf(files)));
}

/// The text of an image of 600 bytes for the device with the product identifier @p pid.
inline QByteArray imageText(unsigned short pid)
{
    ImageOptions options;
    options.size = 600;
    options.productId = pid;
    return ArchiveBuilder::imageText(ImageBuilder::build(options));
}
