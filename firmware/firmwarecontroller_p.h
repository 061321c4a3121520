#pragma once

#include <QMap>

#include "firmwarecontroller.h"
#include "firmwaredata.h"

class QuaZip;

class FirmwareControllerPrivate : public QObject
{
    Q_OBJECT

public:
    explicit FirmwareControllerPrivate(FirmwareController* controller);

    void setFilePath(const QString& path);

    FirmwareController* q;
    QString filePath; ///< empty unless the last load succeeded
    QMap<DeviceType, FirmwareData> firmwares;
    QString releaseNotes;

private:
    bool load(const QString& path);
    bool loadReleaseNotes(QuaZip& archive);
    bool loadImages(QuaZip& archive);
    void clear();
};
