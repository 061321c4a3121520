#pragma once

#include <QByteArray>
#include <QMap>
#include <QObject>
#include <QString>

#include "deviceinstance.h"

class FirmwareController;

/// An archive's firmware for one kind of device; default-constructed if the archive has none.
struct FirmwareData
{
    QByteArray image; ///< from address 0 on
    QString version;
    unsigned short pid = 0; ///< USB product identifier of the device that runs the image
};

/// Loads archives for the FirmwareController that owns this object.
class FirmwareControllerPrivate : public QObject
{
    Q_OBJECT

public:
    explicit FirmwareControllerPrivate(FirmwareController* controller);

    /// Loads the archive at @p path and makes the controller emit the outcome.
    void setFilePath(const QString& path);

    FirmwareController* q;
    QString filePath;                         ///< empty if no archive is loaded
    QMap<DeviceType, FirmwareData> firmwares; ///< DeviceType::Unknown is never a key
    QString releaseNotes;

private:
    void clear();
    bool load(const QString& path);
};
