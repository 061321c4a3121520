#pragma once

#include <string>

#include <QByteArray>

/// The form in which a firmware archive carries an image: hexadecimal text, one byte per line.
///
///     // a comment
///     0x12
///     34 anything else on the line is a remark
///
/// Lines end with '\n'. White space around a line (Latin-1 white space, which includes '\r') is ignored. A
/// line that is then empty or starts with "//" is skipped. Otherwise the text before the first blank (U+0020
/// only) is a signed hexadecimal number of 32 bits, with an optional sign and an optional "0x" or "0X". Its
/// low 8 bits are the next byte.
namespace ImageText {

/// Decodes an image's text piece by piece. It keeps no more of the text than a line that has not ended yet.
/// Use it on one thread at a time.
class Decoder
{
public:
    /// Takes the next piece of the text, which may be cut anywhere.
    /// @return false from the first malformed line on.
    [[nodiscard]] bool feed(const char* text, int bytes);

    /// Ends the text. Call it once.
    /// @return the image; empty if a line is malformed or there is no byte at all.
    [[nodiscard]] QByteArray takeImage();

private:
    void decodeLines(const char* position, const char* end);

    QByteArray image;
    std::string unfinished; ///< the line that has not ended yet
    bool isMalformed = false;
};

} // namespace ImageText
