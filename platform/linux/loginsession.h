#pragma once

#include <functional>
#include <map>
#include <string>

#include "filedescriptor.h"
#include "session.h"

/// Uses inhibitor locks of systemd-logind (org.freedesktop.login1(5)) to keep the user's session open and the
/// computer awake. require() and setBlockReason() fail if logind is missing or refuses a lock. The lock for
/// the laptop's lid is an exception: require() succeeds without it. Each request for a lock blocks for at
/// most 5 s.
class LoginSession : public Session
{
public:
    /// @param log  called on the GUI thread with a sentence for each refused lock.
    explicit LoginSession(std::function<void(const std::string&)> log);

    bool require(EXECUTION_STATE state) override;
    bool setBlockReason(HWND window, const std::wstring& reason) override;
    bool removeBlockReason(HWND window) override;

private:
    FileDescriptor inhibit(const char* what, const std::string& why) const;

    const std::function<void(const std::string&)> log;
    FileDescriptor wakefulness; ///< held while the system or the display must stay awake
    FileDescriptor lid;         ///< prevents a suspend when the laptop's lid closes; held with `wakefulness`
    std::map<HWND, FileDescriptor> blocks;
};
