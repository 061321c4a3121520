#include "imagetext.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <cstring>
#include <iterator>
#include <limits>

namespace {

constexpr char lineEnd = '\n';
constexpr char separator = ' ';
constexpr int base = 16;
constexpr int bitsPerDigit = 4;
constexpr int digitsPerByte = 2;

// What a byte is to the decoder: a digit's value, or one of these.
constexpr std::uint8_t whiteSpace = 0x10; // but for the blank and the end of a line
constexpr std::uint8_t other = 0x20;

constexpr std::array<std::uint8_t, 256> makeByteClasses()
{
    std::array<std::uint8_t, 256> classes{};
    for (auto& byteClass : classes)
        byteClass = other;
    for (unsigned int i = 0; i < 10; ++i)
        classes['0' + i] = static_cast<std::uint8_t>(i);
    for (unsigned int i = 10; i < base; ++i) {
        classes['A' + i - 10] = static_cast<std::uint8_t>(i);
        classes['a' + i - 10] = static_cast<std::uint8_t>(i);
    }
    // QChar::isSpace() of the Latin-1 characters; the last two are NEXT LINE and NO-BREAK SPACE.
    for (const unsigned char space : {'\t', '\v', '\f', '\r', '\x85', '\xA0'})
        classes[space] = whiteSpace;
    return classes;
}

constexpr std::array<std::uint8_t, 256> byteClasses = makeByteClasses();

std::uint8_t classOf(char byte)
{
    return byteClasses[static_cast<unsigned char>(byte)];
}

/// The place after the next end of a line; @p end where there is none.
const char* afterLine(const char* position, const char* end)
{
    const void* const found = std::memchr(position, lineEnd, static_cast<std::size_t>(end - position));
    return found ? static_cast<const char*>(found) + 1 : end;
}

/// Walks over the text, always within it.
class Cursor
{
public:
    Cursor(const char* textBegin, const char* textEnd)
        : position(textBegin)
        , end(textEnd)
    {
    }

    bool atEnd() const { return position == end; }
    bool atLineEnd() const { return atEnd() || *position == lineEnd; }
    bool at(char byte) const { return position != end && *position == byte; }
    bool atComment() const { return end - position >= 2 && position[0] == '/' && position[1] == '/'; }

    bool skip(char byte)
    {
        if (!at(byte))
            return false;
        ++position;
        return true;
    }

    void skipWhiteSpace()
    {
        while (position != end && (classOf(*position) == whiteSpace || *position == separator))
            ++position;
    }

    void skipWhiteSpaceWithinToken()
    {
        while (position != end && classOf(*position) == whiteSpace)
            ++position;
    }

    void skipLine()
    {
        if (skip(lineEnd) || atEnd())
            return;
        position = afterLine(position, end);
    }

    /// Passes a line of two digits and nothing else, as nearly all are; other lines are left alone.
    bool readPlainLine(char& byte)
    {
        if (end - position < digitsPerByte + 2)
            return false;
        const unsigned int high = classOf(position[0]);
        const unsigned int low = classOf(position[1]);
        const char* const tail = position + digitsPerByte;
        if ((high | low) >= base)
            return false;
        if (tail[0] == lineEnd) // branches, so that the next line need not wait for this one's length
            position = tail + 1;
        else if (tail[0] == '\r' && tail[1] == lineEnd)
            position = tail + 2;
        else
            return false;
        byte = static_cast<char>(high << bitsPerDigit | low);
        return true;
    }

    void skipHexPrefix()
    {
        if (end - position >= 2 && position[0] == '0' && (position[1] == 'x' || position[1] == 'X'))
            position += 2;
    }

    /// Reads the digits, of which there has to be one, of a number up to @p max.
    bool readDigits(std::uint32_t max, std::uint32_t& number)
    {
        const char* const begin = position;
        std::uint64_t value = 0;
        for (std::uint8_t digit = 0; position != end && (digit = classOf(*position)) < base; ++position) {
            value = value << bitsPerDigit | digit;
            if (value > max)
                return false;
        }
        number = static_cast<std::uint32_t>(value);
        return position != begin;
    }

private:
    const char* position;
    const char* end;
};

/// Reads the number at the cursor, which stands at the first character of a line, as QString::toInt() would.
bool readNumber(Cursor& cursor, std::uint32_t& number)
{
    constexpr std::uint32_t maxPositive = std::numeric_limits<std::int32_t>::max();
    const bool negative = cursor.skip('-');
    if (!negative)
        cursor.skip('+');
    cursor.skipHexPrefix();
    if (!cursor.readDigits(maxPositive + (negative ? 1 : 0), number))
        return false;
    if (negative)
        number = 0 - number;
    cursor.skipWhiteSpaceWithinToken(); // the conversion passes over it at the end of a token
    return cursor.atLineEnd() || cursor.at(separator);
}

} // namespace

namespace ImageText {

bool Decoder::feed(const char* text, int bytes)
{
    const char* const end = text + bytes;
    if (!unfinishedLine.empty()) {
        const char* const begin = text;
        text = afterLine(begin, end);
        unfinishedLine.append(begin, text);
        if (unfinishedLine.back() != lineEnd)
            return !isMalformed;
        decodeLines(unfinishedLine.data(), unfinishedLine.data() + unfinishedLine.size());
        unfinishedLine.clear();
    }
    const auto lastLine = std::find(std::reverse_iterator(end), std::reverse_iterator(text), lineEnd).base();
    decodeLines(text, lastLine);
    unfinishedLine.assign(lastLine, end);
    return !isMalformed;
}

QByteArray Decoder::takeImage()
{
    decodeLines(unfinishedLine.data(), unfinishedLine.data() + unfinishedLine.size());
    if (isMalformed)
        return QByteArray();
    image.resize(imageBytes);
    image.squeeze();
    return image;
}

void Decoder::decodeLines(const char* begin, const char* end)
{
    const int room =
        imageBytes + static_cast<int>(end - begin) / 2 + 1; // a byte takes a digit and an end of line
    if (image.size() < room)
        image.resize(room);
    char* next = image.data() + imageBytes;
    for (Cursor cursor(begin, end); !cursor.atEnd(); cursor.skipLine()) {
        while (cursor.readPlainLine(*next))
            ++next;
        cursor.skipWhiteSpace();
        if (cursor.atLineEnd() || cursor.atComment())
            continue;
        std::uint32_t number = 0;
        if (!readNumber(cursor, number)) {
            isMalformed = true;
            return;
        }
        *next++ = static_cast<char>(number & 0xFF);
    }
    imageBytes = static_cast<int>(next - image.constData());
}

QByteArray decode(const QByteArray& text)
{
    Decoder decoder;
    return decoder.feed(text.constData(), text.size()) ? decoder.takeImage() : QByteArray();
}

} // namespace ImageText
