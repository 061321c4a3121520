#include "hidrawdevice.h"

#include <algorithm>
#include <cerrno>
#include <iterator>

#include <fcntl.h>
#include <linux/hidraw.h>
#include <poll.h>
#include <sys/file.h>
#include <sys/ioctl.h>

namespace {

/// When the cable is pulled, a transfer may fail up to this long before the device is removed.
constexpr int removalDelayMs = 100;

// Windows error codes that are used here only.
constexpr DWORD tooManyOpenFiles = 4;
constexpr DWORD timedOut = 121; // ERROR_SEM_TIMEOUT: the device did not answer the transfer

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
    {EWOULDBLOCK, ERROR_SHARING_VIOLATION}, // from flock
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

/// Repeats a system call that a signal interrupted.
template <typename Call>
int uninterrupted(Call call)
{
    int result = -1;
    do {
        result = call();
    } while (result < 0 && errno == EINTR);
    return result;
}

} // namespace

HidrawDevice::HidrawDevice(std::string devicePath)
    : path(std::move(devicePath))
{
}

DWORD HidrawDevice::acquire(Lock wanted)
{
    const bool isFirst = users == 0;
    DWORD error = isFirst ? open() : ERROR_SUCCESS;
    if (error == ERROR_SUCCESS && wanted > held)
        error = tighten(wanted);
    if (error == ERROR_SUCCESS)
        ++users;
    else if (isFirst)
        close();
    return error;
}

void HidrawDevice::release()
{
    if (--users == 0)
        close();
}

bool HidrawDevice::isConnected() const
{
    return !isGoneWithin(0);
}

DWORD HidrawDevice::setFeature(const std::uint8_t* report, std::size_t size) const
{
    const auto transfer = [&] { return ::ioctl(file.get(), HIDIOCSFEATURE(size), report); };
    return uninterrupted(transfer) < 0 ? failure(errno) : ERROR_SUCCESS;
}

DWORD HidrawDevice::getFeature(std::uint8_t* report, std::size_t size, std::size_t& received) const
{
    const int bytes = uninterrupted([&] { return ::ioctl(file.get(), HIDIOCGFEATURE(size), report); });
    if (bytes < 0)
        return failure(errno);
    received = static_cast<std::size_t>(bytes);
    return ERROR_SUCCESS;
}

DWORD HidrawDevice::open()
{
    file = FileDescriptor(uninterrupted([this] { return ::open(path.c_str(), O_RDWR | O_CLOEXEC); }));
    return file.isOpen() ? ERROR_SUCCESS : windowsError(errno);
}

DWORD HidrawDevice::tighten(Lock wanted)
{
    if (::flock(file.get(), (wanted == Lock::Exclusive ? LOCK_EX : LOCK_SH) | LOCK_NB) == 0) {
        held = wanted;
        return ERROR_SUCCESS;
    }
    const DWORD error = windowsError(errno);
    // The failed attempt has released the lock that was held.
    if (held == Lock::Shared && ::flock(file.get(), LOCK_SH | LOCK_NB) != 0)
        held = Lock::None;
    return error;
}

void HidrawDevice::close()
{
    file = FileDescriptor();
    held = Lock::None;
}

bool HidrawDevice::isGoneWithin(int timeoutMs) const
{
    pollfd polled{file.get(), 0, 0}; // poll() always reports POLLERR and POLLHUP
    return uninterrupted([&] { return ::poll(&polled, 1, timeoutMs); }) > 0;
}

DWORD HidrawDevice::failure(int errnoValue) const
{
    const DWORD error = windowsError(errnoValue);
    return error == ERROR_GEN_FAILURE && isGoneWithin(removalDelayMs) ? ERROR_DEVICE_NOT_CONNECTED : error;
}

DWORD windowsError(int errnoValue)
{
    const auto* const known = std::find_if(std::begin(pairs), std::end(pairs),
                                           [&](const Pair& pair) { return pair.errnoValue == errnoValue; });
    return known == std::end(pairs) ? ERROR_GEN_FAILURE : known->error;
}
