#include "loginsession.h"

#include <cerrno>
#include <filesystem>
#include <memory>

#include <fcntl.h>
#include <systemd/sd-bus.h>

namespace {

constexpr std::uint64_t callTimeoutUs = 5'000'000; // logind may have to wait until polkit has started

struct Release
{
    void operator()(sd_bus* bus) const { sd_bus_flush_close_unref(bus); }
    void operator()(sd_bus_message* message) const { sd_bus_message_unref(message); }
    void operator()(sd_bus_error* error) const { sd_bus_error_free(error); }
};

} // namespace

LoginSession::LoginSession(std::function<void(const std::string&)> sessionLog)
    : log(std::move(sessionLog))
{
}

bool LoginSession::require(EXECUTION_STATE state)
{
    if (state == 0) {
        wakefulness = FileDescriptor();
        lid = FileDescriptor();
    } else if (!wakefulness.isOpen()) {
        const char* const reason = "Work that must not be interrupted";
        wakefulness = inhibit("sleep:idle", reason);
        // The lid has its own lock, because a user may have the permission for the sleep lock but not for the
        // lid lock. If logind refuses the sleep lock, the lid lock is not requested.
        if (wakefulness.isOpen())
            lid = inhibit("handle-lid-switch", reason);
    }
    return (state == 0 || wakefulness.isOpen()) && Session::require(state);
}

bool LoginSession::setBlockReason(HWND window, const std::wstring& reason)
{
    FileDescriptor block = inhibit("shutdown", std::filesystem::path(reason).string());
    if (!block.isOpen())
        return false;
    blocks[window] = std::move(block);
    return Session::setBlockReason(window, reason);
}

bool LoginSession::removeBlockReason(HWND window)
{
    blocks.erase(window);
    return Session::removeBlockReason(window);
}

/// Requests a lock from logind. The lock lasts until the returned descriptor is closed. If logind refuses,
/// returns an empty FileDescriptor.
FileDescriptor LoginSession::inhibit(const char* what, const std::string& why) const
{
    sd_bus* openedBus = nullptr;
    sd_bus_message* receivedReply = nullptr;
    sd_bus_error error = SD_BUS_ERROR_NULL;
    const std::unique_ptr<sd_bus_error, Release> errorOwner(&error);
    int result = sd_bus_open_system(&openedBus);
    const std::unique_ptr<sd_bus, Release> bus(openedBus);
    if (result >= 0) {
        sd_bus_set_method_call_timeout(bus.get(), callTimeoutUs);
        result = sd_bus_call_method(bus.get(), "org.freedesktop.login1", "/org/freedesktop/login1",
                                    "org.freedesktop.login1.Manager", "Inhibit", &error, &receivedReply,
                                    "ssss", what, program_invocation_short_name, why.c_str(), "block");
    }
    const std::unique_ptr<sd_bus_message, Release> reply(receivedReply);
    int lock = -1;
    if (result >= 0)
        result = sd_bus_message_read(reply.get(), "h", &lock);
    if (result < 0) {
        log(std::string("logind refused to inhibit ") + what + ": " +
            (error.message ? error.message : std::generic_category().message(-result)));
        return FileDescriptor();
    }
    // The reply closes its own descriptor, so this function returns a copy.
    return FileDescriptor(::fcntl(lock, F_DUPFD_CLOEXEC, 0));
}
