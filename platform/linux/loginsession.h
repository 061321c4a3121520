#pragma once

#include <functional>
#include <string>

#include "filedescriptor.h"
#include "session.h"

/// The user's session, kept from ending and the computer from sleeping by inhibitor locks of systemd-logind
/// (org.freedesktop.login1(5)). Without logind, or where it refuses, each request fails. A request blocks for
/// at most 2 s.
class LoginSession : public Session
{
public:
    /// @param log  gets why a lock was not to be had, on any thread.
    explicit LoginSession(std::function<void(const std::string&)> log);

    bool setBlockReason(HWND window, const std::wstring& reason) override;
    bool removeBlockReason(HWND window) override;

private:
    bool require(EXECUTION_STATE required) override;
    FileDescriptor inhibit(const char* what, const std::string& why) const;

    const std::function<void(const std::string&)> log;
    FileDescriptor wakefulness; ///< held while a thread requires the system or the display
    std::mutex mutex;           ///< guards what follows
    std::map<HWND, FileDescriptor> blocks;
};
