#include "imagetext.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cstdint>
#include <limits>
#include <string_view>

namespace {

constexpr char lineEnd = '\n';
constexpr char separator = ' ';
constexpr unsigned base = 16;

/// Tabulates QChar::isSpace() for Latin-1. 0x85 is NEXT LINE, and 0xA0 is NO-BREAK SPACE.
constexpr std::array<bool, 256> makeWhiteSpace()
{
    std::array<bool, 256> isWhite{};
    for (const char character : {' ', '\t', '\n', '\v', '\f', '\r', '\x85', '\xA0'})
        isWhite[static_cast<unsigned char>(character)] = true;
    return isWhite;
}

constexpr std::array<bool, 256> whiteSpace = makeWhiteSpace();

bool isWhiteSpace(char character)
{
    return whiteSpace[static_cast<unsigned char>(character)];
}

constexpr std::array<std::uint8_t, 256> makeDigitValues()
{
    std::array<std::uint8_t, 256> values{};
    for (auto& value : values)
        value = base; // means that the character is not a digit
    for (std::uint8_t digit = 0; digit < base; ++digit) {
        values[static_cast<unsigned char>("0123456789ABCDEF"[digit])] = digit;
        values[static_cast<unsigned char>("0123456789abcdef"[digit])] = digit;
    }
    return values;
}

constexpr std::array<std::uint8_t, 256> digitValues = makeDigitValues();

bool hasPrefix(const char* token)
{
    return token[0] == '0' && (token[1] == 'x' || token[1] == 'X');
}

/// Reads a line of two digits, with or without the prefix "0x", and moves @p line to the next line. Nearly
/// all lines have this form.
/// @return false, with @p line unchanged, if the line has another form or fewer than 6 bytes are left.
bool readPlainLine(const char*& line, const char* end, std::uint32_t& number)
{
    constexpr int longest = 6; // "0x12\r\n"
    if (end - line < longest)
        return false;
    const char* const digits = hasPrefix(line) ? line + 2 : line;
    const unsigned high = digitValues[static_cast<unsigned char>(digits[0])];
    const unsigned low = digitValues[static_cast<unsigned char>(digits[1])];
    if ((high | low) >= base)
        return false;
    number = high * base + low;
    const char* const tail = digits + 2;
    if (tail[0] == lineEnd) // predictable: nearly all lines of a text end alike
        line = tail + 1;
    else if (tail[0] == '\r' && tail[1] == lineEnd)
        line = tail + 2;
    else
        return false;
    return true;
}

/// Returns the text of the number in @p line; empty if the line has none.
std::string_view tokenOf(std::string_view line)
{
    while (!line.empty() && isWhiteSpace(line.front()))
        line.remove_prefix(1);
    if (line.substr(0, 2) == "//")
        return {};
    line = line.substr(0, line.find(separator));
    while (!line.empty() && isWhiteSpace(line.back())) // as QString::toInt() does
        line.remove_suffix(1);
    return line;
}

/// Reads the hexadecimal number @p token as QString::toInt() would.
bool readNumber(std::string_view token, std::uint32_t& number)
{
    constexpr std::uint32_t maxPositive = std::numeric_limits<std::int32_t>::max();
    const bool negative = token.front() == '-';
    if (negative || token.front() == '+')
        token.remove_prefix(1);
    if (token.size() >= 2 && hasPrefix(token.data()))
        token.remove_prefix(2);
    const char* const end = token.data() + token.size();
    const auto [digitsEnd, error] = std::from_chars(token.data(), end, number, int{base});
    if (error != std::errc() || digitsEnd != end || number > maxPositive + (negative ? 1 : 0))
        return false;
    if (negative)
        number = 0 - number;
    return true;
}

} // namespace

namespace ImageText {

bool Decoder::feed(const char* text, int bytes)
{
    unfinished.append(text, static_cast<std::size_t>(bytes));
    const auto pieceEnd = unfinished.crbegin() + bytes; // only this piece can have a line end
    const auto lastEnd = std::find(unfinished.crbegin(), pieceEnd, lineEnd);
    if (lastEnd != pieceEnd) {
        const auto decodable = static_cast<std::size_t>(unfinished.crend() - lastEnd);
        decodeLines(unfinished.data(), unfinished.data() + decodable);
        unfinished.erase(0, decodable);
    }
    return !isMalformed;
}

QByteArray Decoder::takeImage()
{
    decodeLines(unfinished.data(), unfinished.data() + unfinished.size());
    image.squeeze();
    return isMalformed ? QByteArray() : image;
}

void Decoder::decodeLines(const char* position, const char* end)
{
    const int decoded = image.size();
    // In the text, each byte of the image takes at least two characters: a digit and a line end.
    image.resize(decoded + static_cast<int>(end - position) / 2 + 1);
    char* next = image.data() + decoded;
    while (position != end && !isMalformed) {
        std::uint32_t number = 0;
        if (!readPlainLine(position, end, number)) {
            if (*position == lineEnd) { // a short cut for texts with many empty lines
                ++position;
                continue;
            }
            const std::string_view rest(position, static_cast<std::size_t>(end - position));
            const std::string_view line = rest.substr(0, rest.find(lineEnd));
            position += std::min(line.size() + 1, rest.size());
            const std::string_view token = tokenOf(line);
            if (token.empty())
                continue;
            isMalformed = !readNumber(token, number);
        }
        *next++ = static_cast<char>(number & 0xFF);
    }
    image.resize(static_cast<int>(next - image.constData()));
}

} // namespace ImageText
