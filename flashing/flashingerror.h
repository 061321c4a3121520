#pragma once

#include <stdexcept>

/// The flasher throws this error to end a programming sequence, and catches it itself.
class FlashingError : public std::runtime_error
{
public:
    enum Code {
        DeviceLost = 1, ///< device gone, not openable or not back in time; or update aborted
        EmptyImage = 2,
        UnknownChip = 3,     ///< chip identifier or revision could not be read, or identifier unknown
        ImageDoesNotFit = 4, ///< image larger than the memory size in its header, or header unusable
        UnsupportedChip = 5, ///< no loader is known for the chip and revision, or device takes no image data
    };

    explicit FlashingError(int errorCode)
        : std::runtime_error("FlashingError")
        , code(errorCode)
    {
    }

    int code;
};

/// Whether reconnecting the device can help after error @p code.
constexpr bool isConnectionFailure(int code)
{
    return code == FlashingError::DeviceLost || code == FlashingError::UnknownChip;
}
