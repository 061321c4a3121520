#pragma once

#include <cstddef>

#include <QString>

inline QString text(const char* ascii)
{
    return QString::fromLatin1(ascii);
}

inline QString operator""_s(const char* ascii, std::size_t)
{
    return text(ascii);
}
