#pragma once

#include <string>

#include <QByteArray>

/// Decodes the images in firmware archives. The images are hexadecimal text, one byte per line.
///
///     // a comment
///     0x12
///     34 anything else on the line is a remark
///
/// Lines end with '\n'. White space around a line (Latin-1 white space, which includes '\r') is ignored. A
/// line that is then empty or starts with "//" is skipped. In other lines, the text before the first blank
/// (U+0020 only) is a signed hexadecimal number of 32 bits, with an optional sign and an optional "0x" or
/// "0X". The low 8 bits of the number are the image's next byte.
namespace ImageText {

/// Decodes an image's text piece by piece. Keeps only the unfinished line of the text. Use the decoder on one
/// thread at a time.
class Decoder
{
public:
    /// Decodes the next piece of the text. A piece may end anywhere in the text.
    /// @return false if any complete line so far is malformed.
    [[nodiscard]] bool feed(const char* text, int bytes);

    /// Decodes the last line if it has no line end. Call this once, after the last piece.
    /// @return the image; empty if a line is malformed or no line has a number.
    [[nodiscard]] QByteArray takeImage();

private:
    void decodeLines(const char* position, const char* end);

    QByteArray image;
    std::string unfinished; ///< the line that has not ended yet
    bool isMalformed = false;
};

} // namespace ImageText
