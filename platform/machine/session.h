#pragma once

#include <string>

#include <windows.h>

/// What programs ask of the computer's sleep and of the end of the user's session. Every operation may be
/// called on any thread.
class Session
{
public:
    virtual ~Session() = default;

    /// Makes @p state the calling thread's, until it sets another one.
    /// @return the previous one; 0 where that is not possible.
    virtual EXECUTION_STATE setExecutionState(EXECUTION_STATE state) = 0;

    /// Sets what the system tells a user who wants to end the session, in place of an earlier reason of
    /// @p window. @return whether that is possible.
    virtual bool setBlockReason(HWND window, const std::wstring& reason) = 0;

    /// @return whether @p window had a reason.
    virtual bool removeBlockReason(HWND window) = 0;
};

/// A computer whose sleep and session are the business of others.
class NoSession : public Session
{
public:
    EXECUTION_STATE setExecutionState(EXECUTION_STATE) override { return 0; }
    bool setBlockReason(HWND, const std::wstring&) override { return false; }
    bool removeBlockReason(HWND) override { return false; }
};
