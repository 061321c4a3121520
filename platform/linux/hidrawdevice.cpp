#include "hidrawdevice.h"

#include <cerrno>

#include <fcntl.h>
#include <linux/hidraw.h>
#include <poll.h>
#include <sys/file.h>
#include <sys/ioctl.h>

namespace {

/// If a transfer fails because the cable was pulled, the kernel may remove the device up to this much later.
constexpr int removalDelayMs = 100;

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

DWORD windowsError(int errnoValue)
{
    switch (errnoValue) {
    case ENODEV:
    case ENXIO:
    case ESHUTDOWN: // the USB host controller has lost the device
        return ERROR_DEVICE_NOT_CONNECTED;
    case EACCES:
    case EPERM:
        return ERROR_ACCESS_DENIED;
    case EBUSY:
    case EWOULDBLOCK: // from flock()
        return ERROR_SHARING_VIOLATION;
    case ENOENT:
        return ERROR_FILE_NOT_FOUND;
    case ENOTTY:
        return ERROR_INVALID_FUNCTION;
    default:
        return ERROR_GEN_FAILURE;
    }
}

} // namespace

HidrawDevice::HidrawDevice(std::string devicePath)
    : path(std::move(devicePath))
{
}

DWORD HidrawDevice::acquire(bool isLocking)
{
    if (users == 0)
        file = FileDescriptor(uninterrupted([this] { return ::open(path.c_str(), O_RDWR | O_CLOEXEC); }));
    if (file.isOpen() && (!isLocking || ::flock(file.get(), LOCK_EX | LOCK_NB) == 0)) {
        ++users;
        return ERROR_SUCCESS;
    }
    const DWORD error = windowsError(errno);
    if (users == 0)
        file = FileDescriptor();
    return error;
}

void HidrawDevice::release()
{
    if (--users == 0)
        file = FileDescriptor();
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

bool HidrawDevice::isGoneWithin(int timeoutMs) const
{
    pollfd polled{file.get(), 0, 0}; // poll() reports POLLERR and POLLHUP even if no event is requested
    return uninterrupted([&] { return ::poll(&polled, 1, timeoutMs); }) > 0;
}

DWORD HidrawDevice::failure(int errnoValue) const
{
    const DWORD error = windowsError(errnoValue);
    return error == ERROR_GEN_FAILURE && isGoneWithin(removalDelayMs) ? ERROR_DEVICE_NOT_CONNECTED : error;
}
