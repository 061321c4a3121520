#pragma once

#include <QMap>
#include <QObject>
#include <QString>

#include "deviceinstance.h"
#include "firmwaredata.h"

class FirmwareController;

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
