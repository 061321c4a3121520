#pragma once

#include <map>
#include <string>

#include <windows.h>

/// Keeps the computer awake and the user's session open. This base class only records what the program
/// requires. Every operation is called on the GUI thread.
class Session
{
public:
    virtual ~Session() = default;

    /// Keeps the system (ES_SYSTEM_REQUIRED), the display (ES_DISPLAY_REQUIRED) or both awake. If @p state is
    /// 0, both may sleep again.
    /// @return whether the request succeeded.
    virtual bool require(EXECUTION_STATE state)
    {
        awake = state;
        return true;
    }
    /// The state of the last require() that succeeded; 0 at first.
    EXECUTION_STATE required() const { return awake; }

    /// Sets the reason that the system shows to a user who wants to end the session. This reason replaces an
    /// earlier reason of the same window. @return whether the reason was set.
    virtual bool setBlockReason(HWND window, const std::wstring& reason)
    {
        reasons[window] = reason;
        return true;
    }
    /// @return whether the window had a reason.
    virtual bool removeBlockReason(HWND window) { return reasons.erase(window) > 0; }
    /// The window's reason; empty if there is none.
    std::wstring blockReason(HWND window) { return reasons.count(window) > 0 ? reasons[window] : L""; }

private:
    EXECUTION_STATE awake = 0;
    std::map<HWND, std::wstring> reasons;
};
