#include "windowserror.h"

#include <algorithm>
#include <cerrno>
#include <iterator>

namespace {

// Codes of the Windows documentation that nothing else here needs.
constexpr DWORD tooManyOpenFiles = 4;
constexpr DWORD timedOut = 121; // ERROR_SEM_TIMEOUT, with which a transfer ends to which nobody answers

struct Pair
{
    int errnoValue;
    DWORD error;
};

constexpr Pair pairs[] = {
    {ENODEV, ERROR_DEVICE_NOT_CONNECTED},
    {ENXIO, ERROR_DEVICE_NOT_CONNECTED},
    {ESHUTDOWN, ERROR_DEVICE_NOT_CONNECTED}, // the USB host controller has lost the device
    {EACCES, ERROR_ACCESS_DENIED},
    {EPERM, ERROR_ACCESS_DENIED},
    {EBUSY, ERROR_SHARING_VIOLATION},
    {EWOULDBLOCK, ERROR_SHARING_VIOLATION}, // of flock
    {ENOENT, ERROR_FILE_NOT_FOUND},
    {EINVAL, ERROR_INVALID_PARAMETER},
    {ENOMEM, ERROR_NOT_ENOUGH_MEMORY},
    {EMFILE, tooManyOpenFiles},
    {ENFILE, tooManyOpenFiles},
    {ENOTTY, ERROR_INVALID_FUNCTION},
    {ENOSYS, ERROR_INVALID_FUNCTION},
    {EOPNOTSUPP, ERROR_NOT_SUPPORTED},
    {ETIMEDOUT, timedOut},
};

} // namespace

DWORD windowsError(int errnoValue)
{
    const auto* const known = std::find_if(std::begin(pairs), std::end(pairs),
                                           [&](const Pair& pair) { return pair.errnoValue == errnoValue; });
    return known == std::end(pairs) ? ERROR_GEN_FAILURE : known->error;
}
