#pragma once

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

/// Decodes an image's text in one pass over its bytes.
/// @return the image; empty where a line is malformed or there is no byte at all.
/// Memory: half the text's size while it runs, the image's afterwards. Any thread.
QByteArray decode(const QByteArray& text);

} // namespace ImageText
