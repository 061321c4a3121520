#pragma once

#include <QByteArray>
#include <QMap>
#include <QObject>
#include <QString>

#include "deviceinstance.h"

class FirmwareController;

/// An archive's firmware for one kind of device. Default-constructed if the archive has none for that kind.
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

    /// Loads the archive at @p path and makes the controller emit the outcome.
    void setFilePath(const QString& path);

    FirmwareController* q;
    QString filePath;                         ///< empty unless the last load succeeded
    QMap<DeviceType, FirmwareData> firmwares; ///< DeviceType::Unknown is never a key
    QString releaseNotes;

private:
    void clear();
    bool load(const QString& path);
};
