#pragma once

#include <functional>
#include <map>
#include <mutex>
#include <string>
#include <thread>

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

    EXECUTION_STATE setExecutionState(EXECUTION_STATE state) override;
    bool setBlockReason(HWND window, const std::wstring& reason) override;
    bool removeBlockReason(HWND window) override;

private:
    FileDescriptor inhibit(const char* what, const std::string& why) const;

    const std::function<void(const std::string&)> log;
    std::mutex mutex; ///< guards what follows
    std::map<std::thread::id, EXECUTION_STATE> states;
    FileDescriptor wakefulness; ///< held while a thread requires the system or the display
    std::map<HWND, FileDescriptor> blocks;
};
