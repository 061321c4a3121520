#pragma once

#include <string>

#include <windows.h>

/// What programs ask of the computer's sleep and of the end of the user's session; here neither is in the
/// computer's power. Every operation may be called on any thread.
class Session
{
public:
    virtual ~Session() = default;

    /// Makes the given state the calling thread's, until it sets another one.
    /// @return the previous one; 0 where that is not possible.
    virtual EXECUTION_STATE setExecutionState(EXECUTION_STATE /*state*/) { return 0; }

    /// Sets what the system tells a user who wants to end the session, in place of an earlier reason of
    /// the window. @return whether that is possible.
    virtual bool setBlockReason(HWND /*window*/, const std::wstring& /*reason*/) { return false; }

    /// @return whether the window had a reason.
    virtual bool removeBlockReason(HWND /*window*/) { return false; }
};
