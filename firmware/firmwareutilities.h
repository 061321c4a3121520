#pragma once

#include <functional>

#include <QByteArray>
#include <QString>

/// Delivers a range of a firmware image: (buffer, address, size), address 0 being the image's first byte.
///
/// On success it replaces the buffer's whole content by the @c size bytes at @c address and returns true. A
/// reader over a device may deliver fewer than were asked for where a request passes what one exchange
/// carries. On failure it returns false and leaves the buffer in any state. It is called synchronously, and
/// every call gets the same buffer.
using ReadDataFunction = std::function<bool(QByteArray&, unsigned int, unsigned short)>;

/// Reader over an image in memory. It copies nothing: the buffer becomes a view into the image, so the image
/// must outlive the buffer and stay as it is meanwhile.
class ReadVersionDataHelper_FromFile
{
public:
    explicit ReadVersionDataHelper_FromFile(const QByteArray* firmwareImage)
        : image(firmwareImage)
    {
    }

    /// @return false, with an empty @p buffer, where the range ends beyond the image.
    bool operator()(QByteArray& buffer, unsigned int address, unsigned short size) const;

private:
    const QByteArray* image; // not owned
};

/// Reads what identifies a firmware image out of its table of typed files. All numbers are little-endian.
///
///     image   offset  size
///             3       2     H, length of the block that follows; the file table begins at 5 + H
///     file    0       1     bits 0 to 6 identifier; the whole byte 0x55 ends the table
///             1       2     L; the next file begins at L + 4
///             4             contents
///
///     version file (identifier 5): text from offset 4 to a ',' or to L - 1
///     USB descriptor file (0x0C, 0x35, 0x0D)
///             4       1     N; (N - 9) / 6 records
///             14      6     per record: descriptor type (1 device), -, offset counted from 14, length
///
/// Both functions are reentrant, run the reader on the calling thread, throw nothing and use memory that does
/// not depend on the image's size. Whatever cannot be read gives the neutral result.
namespace FirmwareUtilities {

/// The product identifier of the first USB device descriptor (USB 2.0, table 9-8) that has the product line's
/// vendor identifier; 0 where there is none.
unsigned short getPid(ReadDataFunction reader);

/// The version text; empty, not null, if there is none. A text with control characters (Latin-1's) or of more
/// than 64 characters counts as none.
QString getVersion(ReadDataFunction reader);

} // namespace FirmwareUtilities
