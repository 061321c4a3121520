#pragma once

#include <QByteArray>
#include <QObject>
#include <QString>

#include "deviceinstance.h"

class FirmwareControllerPrivate;

/// The firmware archive: one image per device kind, and release notes. Everything runs on the calling thread.
///
/// An archive is a ZIP with images as hexadecimal text (names ending in ".ff" or ".ef") and at most one text
/// with release notes (".txt"). Which device an image is for follows from the product identifier stored in
/// it. After a failed load every query answers as for an empty archive: empty, or 0.
class FirmwareController : public QObject
{
    Q_OBJECT

public:
    explicit FirmwareController(QObject* parent);

    /// Loads the archive at @p path in place of the one before. Emits exactly one of the two signals before
    /// it returns.
    void setFilePath(const QString& path);

    QByteArray firmware(DeviceType type) const;
    QString version(DeviceType type) const;
    unsigned short pid(DeviceType type) const;

    /// The generation that the transmitter image is for, such as "VYNT1"; empty where there is none.
    QString deviceTypeName() const;

    /// The archive's file name without directory and last extension.
    QString fileBaseName() const;

    QString releaseNotes() const;

Q_SIGNALS:
    /// There is no usable archive at the path.
    void loadingFailed();
    /// At least one image was found.
    void loadedSuccessfully();

private:
    FirmwareControllerPrivate* d;
};
