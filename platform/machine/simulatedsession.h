#pragma once

#include <atomic>

#include "session.h"

/// A session that records what programs require of it.
class SimulatedSession : public Session
{
public:
    // What it recorded.

    /// What is kept awake now: ES_SYSTEM_REQUIRED, ES_DISPLAY_REQUIRED, both, or 0.
    EXECUTION_STATE required() const { return awake; }

    std::wstring blockReason(HWND window) const ///< empty if there is none
    {
        const std::lock_guard<std::mutex> guard(mutex);
        const auto reason = reasons.find(window);
        return reason == reasons.end() ? std::wstring() : reason->second;
    }

    // What it serves.

    bool setBlockReason(HWND window, const std::wstring& reason) override
    {
        const std::lock_guard<std::mutex> guard(mutex);
        reasons[window] = reason;
        return true;
    }

    bool removeBlockReason(HWND window) override
    {
        const std::lock_guard<std::mutex> guard(mutex);
        return reasons.erase(window) > 0;
    }

private:
    bool require(EXECUTION_STATE required) override
    {
        awake = required;
        return true;
    }

    std::atomic<EXECUTION_STATE> awake{0};
    mutable std::mutex mutex; ///< guards what follows
    std::map<HWND, std::wstring> reasons;
};
