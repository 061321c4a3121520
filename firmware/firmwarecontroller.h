#pragma once

#include <QByteArray>
#include <QObject>
#include <QString>

#include "deviceinstance.h"

class FirmwareControllerPrivate;

/// Loads a firmware archive and holds its release notes and at most one image per kind of device.
///
/// An archive is a ZIP file. Entries with a name that ends in ".ff" or ".ef" are images in hexadecimal text.
/// At most one name ends in ".txt"; that entry is the release notes. Each image says which device it is for.
/// Call all functions on the GUI thread. They throw nothing. A query returns a copy, or an empty value if the
/// archive lacks the requested item.
///
/// Archives are untrusted, so limits keep a load short. An entry is not loaded if
/// - it is an image of more than 64 MiB of text, or release notes of more than 1 MiB;
/// - it is encrypted, is neither stored nor deflated, or has a wrong checksum;
/// - it and the entries read before it exceed 16 MiB packed or 65 MiB unpacked in total.
///
/// An entry with a name of more than 256 bytes is ignored. An archive is refused if its directory (the list
/// of its entries) has more than 1 MiB or if its path does not lead to a regular file.
class FirmwareController : public QObject
{
    Q_OBJECT

public:
    explicit FirmwareController(QObject* parent = nullptr);

    /// Drops the loaded archive and loads the archive at @p path. Emits loadedSuccessfully() or
    /// loadingFailed() before it returns.
    void setFilePath(const QString& path);

    QByteArray firmware(DeviceType type) const; ///< the image from address 0 on
    QString version(DeviceType type) const;     ///< the image's version text
    unsigned short pid(DeviceType type) const;  ///< the image's USB product identifier; 0 without an image
    QString deviceTypeName() const;             ///< "VYNT1" or "VYNT2", as the transmitter's image says
    QString fileBaseName() const;               ///< "fw.1.2" if the archive is "fw.1.2.zip"
    QString releaseNotes() const;

Q_SIGNALS:
    /// The archive cannot be read, has no usable image, has two images for one kind of device, or has two
    /// entries with names that end in ".txt". No archive is loaded now.
    void loadingFailed();
    /// The archive is loaded and has at least one image.
    void loadedSuccessfully();

private:
    FirmwareControllerPrivate* d;
};
