#pragma once

#include "archivebuilder.h"
#include "imagebuilder.h"

/// The text of an image of 600 bytes for the device with the product identifier @p pid.
inline QByteArray imageText(unsigned short pid)
{
    ImageOptions options;
    options.size = 600;
    options.productId = pid;
    return ArchiveBuilder::imageText(ImageBuilder::build(options));
}
