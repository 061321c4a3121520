#pragma once

#include <string>

#include <QByteArray>

/// The form in which a firmware archive carries an image: hexadecimal text, one byte per line.
///
///     // a comment
///     0x12
///     34 anything else on the line is a remark
///
/// Lines end with '\n'; white space around a line (Latin-1's, so a '\r' too) does not count. A line that is
/// then empty, or begins with "//", is skipped. Otherwise what stands before the first blank (U+0020 only) is
/// a hexadecimal number of 32 bits, signed, with an optional sign and "0x" or "0X"; its low 8 bits are the
/// next byte.
namespace ImageText {

/// Decodes an image's text that comes in pieces, in one pass over their bytes. Of the text no more than a
/// line that has not ended yet is kept. Any thread, one at a time.
class Decoder
{
public:
    /// Takes the next piece of the text, cut anywhere.
    /// @return false from the first malformed line on.
    [[nodiscard]] bool feed(const char* text, int bytes);

    /// Ends the text; to be called once.
    /// @return the image; empty where a line is malformed or there is no byte at all.
    [[nodiscard]] QByteArray takeImage();

private:
    void decodeLines(const char* position, const char* end);

    QByteArray image;
    std::string unfinished; ///< a line's begin
    bool isMalformed = false;
};

} // namespace ImageText
