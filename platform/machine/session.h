#pragma once

#include <map>
#include <mutex>
#include <string>
#include <thread>

#include <windows.h>

/// Keeps the computer awake and the user's session open for programs; this implementation can do neither.
/// Every operation may be called on any thread.
class Session
{
public:
    virtual ~Session() = default;

    /// Sets the calling thread's state; @p state must include ES_CONTINUOUS.
    /// @return the previous state; 0 if the state cannot be set.
    EXECUTION_STATE setExecutionState(EXECUTION_STATE state);

    /// Sets the reason that the system shows to a user who wants to end the session. It replaces the window's
    /// earlier reason. @return whether the reason was set.
    virtual bool setBlockReason(HWND /*window*/, const std::wstring& /*reason*/) { return false; }

    /// @return whether the window had a reason.
    virtual bool removeBlockReason(HWND /*window*/) { return false; }

protected:
    /// Keeps awake what @p required names. Called by one thread at a time.
    /// @param required  what any thread requires: ES_SYSTEM_REQUIRED, ES_DISPLAY_REQUIRED, both, or 0.
    /// @return whether that is possible.
    virtual bool require(EXECUTION_STATE /*required*/) { return false; }

private:
    std::mutex mutex; ///< guards what follows
    std::map<std::thread::id, EXECUTION_STATE> states;
};
