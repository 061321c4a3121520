#pragma once

#include <QByteArray>
#include <QObject>
#include <QString>

#include "deviceinstance.h"

class FirmwareControllerPrivate;

/// Holds the firmware archive in use: an image per device kind, and the release notes.
///
/// An archive is a ZIP file with images (entries ending in ".ff" or ".ef", hexadecimal text) and at most one
/// text (".txt"). The image itself says which device it is for. All functions run on the calling thread, the
/// GUI thread, and throw nothing. The queries return copies, or an empty value if there is nothing to return.
///
/// Archives are untrusted, so limits keep a load from blocking the window. An entry counts as unreadable if
/// - it is an image of more than 64 MiB of text, or release notes of more than 1 MiB;
/// - it is encrypted, is neither stored nor deflated, or has a wrong checksum;
/// - it and the entries read before it exceed 16 MiB packed or 65 MiB unpacked in total.
///
/// An entry with a name of more than 256 bytes is ignored. An archive is refused if its directory has more
/// than 1 MiB or if its path does not lead to a regular file.
class FirmwareController : public QObject
{
    Q_OBJECT

public:
    explicit FirmwareController(QObject* parent = nullptr);

    /// Loads the archive at @p path in place of the loaded one. Emits one of the signals before it returns.
    void setFilePath(const QString& path);

    QByteArray firmware(DeviceType type) const; ///< the image, address 0 first
    QString version(DeviceType type) const;     ///< the image's version text
    unsigned short pid(DeviceType type) const;  ///< the image's USB product identifier, or 0
    QString deviceTypeName() const;             ///< "VYNT1" or "VYNT2", by the transmitter's image
    QString fileBaseName() const;               ///< "fw.1.2" of "fw.1.2.zip"
    QString releaseNotes() const;

Q_SIGNALS:
    /// The archive cannot be read, has no usable image, or has two images for one kind of device. No archive
    /// is loaded now.
    void loadingFailed();
    /// The archive is loaded and has at least one image.
    void loadedSuccessfully();

private:
    FirmwareControllerPrivate* d;
};
