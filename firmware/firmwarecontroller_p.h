#pragma once

#include <QByteArray>
#include <QMap>
#include <QObject>
#include <QString>

#include "deviceinstance.h"

class FirmwareController;

/// One device kind's firmware out of an archive; a default one stands for "the archive has none".
struct FirmwareData
{
    QByteArray image; ///< address 0 first
    QString version;
    unsigned short pid = 0; ///< USB product identifier of the device that runs the image
};

/// Loads archives for a FirmwareController, which owns it.
class FirmwareControllerPrivate : public QObject
{
    Q_OBJECT

public:
    explicit FirmwareControllerPrivate(FirmwareController* controller);

    /// Loads the archive at @p path and has the controller tell the outcome.
    void setFilePath(const QString& path);

    FirmwareController* q;
    QString filePath;                         ///< empty unless the last load succeeded
    QMap<DeviceType, FirmwareData> firmwares; ///< never of DeviceType::Unknown
    QString releaseNotes;

private:
    void clear();
    bool load(const QString& path);
};
