#pragma once

#include <QByteArray>
#include <QString>

/// One device kind's firmware out of an archive; a default one stands for "the archive has none".
struct FirmwareData
{
    QByteArray image; ///< address 0 first
    QString version;
    unsigned short pid = 0; ///< USB product identifier of the device that runs the image
};
