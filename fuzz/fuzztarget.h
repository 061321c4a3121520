#pragma once

#include <cstddef>
#include <cstdint>

#include <QByteArray>
#include <QtGlobal>

/// Runs a fuzz target on one input. Ends the process if the input reveals a fault.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);

namespace FuzzTarget {

/// If @p isRight is false, ends the process with the message @p what.
inline void require(bool isRight, const char* what)
{
    if (!isRight)
        qFatal("%s", what);
}

/// @return an array that uses the input's memory instead of a copy, so that the sanitizer sees overruns.
inline QByteArray lend(const std::uint8_t* data, std::size_t size)
{
    return QByteArray::fromRawData(reinterpret_cast<const char*>(data), static_cast<int>(size));
}

} // namespace FuzzTarget
