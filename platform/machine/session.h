#pragma once

#include <map>
#include <mutex>
#include <string>
#include <thread>

#include <windows.h>

/// What programs ask of the computer's sleep and of the end of the user's session; here neither is in the
/// computer's power. Every operation may be called on any thread.
class Session
{
public:
    virtual ~Session() = default;

    /// Makes the given state, of which ES_CONTINUOUS is a part, the calling thread's, until it sets another.
    /// @return the previous one; 0 where that is not possible.
    EXECUTION_STATE setExecutionState(EXECUTION_STATE state);

    /// Sets what the system tells a user who wants to end the session, in place of an earlier reason of
    /// the window. @return whether that is possible.
    virtual bool setBlockReason(HWND /*window*/, const std::wstring& /*reason*/) { return false; }

    /// @return whether the window had a reason.
    virtual bool removeBlockReason(HWND /*window*/) { return false; }

protected:
    /// Keeps awake what any thread requires: ES_SYSTEM_REQUIRED, ES_DISPLAY_REQUIRED, both, or 0. Called by
    /// one thread at a time. @return whether that is possible.
    virtual bool require(EXECUTION_STATE /*required*/) { return false; }

private:
    std::mutex mutex; ///< guards what follows
    std::map<std::thread::id, EXECUTION_STATE> states;
};
