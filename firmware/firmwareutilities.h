#pragma once

#include <functional>

#include <QByteArray>
#include <QString>

/// Reads a range of a firmware image. The arguments are buffer, address and size. Address 0 is the first
/// byte of the image.
///
/// On success the function replaces the buffer's whole content with the @c size bytes at @c address and
/// returns true. A function that reads from a device may deliver fewer bytes if the device cannot send them
/// all at once. On failure the function returns false, and the buffer's content is unspecified.
///
/// getPid() and getVersion() may pass the same buffer to several calls. They keep no copy of the function.
using ReadDataFunction = std::function<bool(QByteArray&, unsigned int, unsigned short)>;

/// Reads from an image in memory without copying bytes. The buffer becomes a view into the image. So the
/// image must neither change nor be destroyed while the buffer exists.
class ReadVersionDataHelper_FromFile
{
public:
    explicit ReadVersionDataHelper_FromFile(const QByteArray* firmwareImage)
        : image(firmwareImage)
    {
    }

    /// @return false, with an empty @p buffer, if the range ends beyond the image.
    bool operator()(QByteArray& buffer, unsigned int address, unsigned short size) const;

private:
    const QByteArray* image; // not owned
};

/// Reads version and product identifier from a firmware image's table of typed files. Numbers
/// are little-endian.
///
///     image   offset  size
///             3       2     H, length of the block that follows; the file table starts at 5 + H
///     file    0       1     identifier in bits 0 to 6; the byte 0x55 ends the table
///             1       2     L; the next file starts at L + 4
///             4             contents
///
///     version file (identifier 5): text from offset 4 on; ends before a ',' or before offset L
///     USB descriptor file (0x0C, 0x35, 0x0D)
///             4       1     N; (N - 9) / 6 records of 6 bytes follow from offset 14
///     record  0       1     descriptor type; 1 is the device descriptor
///             2       2     the descriptor's offset, counted from offset 14 of the file
///             4       2     the descriptor's length
///
/// getPid() and getVersion() are reentrant, call the reader on the calling thread and throw nothing. The
/// memory that they use does not depend on the image's size.
namespace FirmwareUtilities {

/// @return the product identifier in the first USB device descriptor (USB 2.0, table 9-8) whose vendor
///         identifier is Utilities::normalVendorId(); 0 if there is none.
unsigned short getPid(ReadDataFunction reader);

/// @return the version text; empty, not null, if the image has none. A version text with control characters
///         or more than 64 characters counts as none.
QString getVersion(ReadDataFunction reader);

} // namespace FirmwareUtilities
