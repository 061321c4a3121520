#pragma once

#include <stdexcept>

/// Ends a programming sequence; thrown and caught within the flasher.
class FlashingError : public std::runtime_error
{
public:
    enum Code {
        DeviceLost = 1, ///< device gone, not openable or not back in time; or update aborted
        EmptyImage = 2,
        UnknownChip = 3,     ///< chip identifier or revision could not be read
        ImageDoesNotFit = 4, ///< image larger than the memory that its header gives, or header unusable
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
