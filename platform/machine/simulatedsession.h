#pragma once

#include <map>
#include <mutex>
#include <thread>

#include "session.h"

/// A session that a test asks whether it could end.
class SimulatedSession : public Session
{
public:
    // What it recorded.

    /// What must not go to sleep now: ES_SYSTEM_REQUIRED, ES_DISPLAY_REQUIRED, both, or 0.
    EXECUTION_STATE required() const;
    std::wstring blockReason(HWND window) const; ///< empty where there is none

    // What it serves.

    EXECUTION_STATE setExecutionState(EXECUTION_STATE state) override;
    bool setBlockReason(HWND window, const std::wstring& reason) override;
    bool removeBlockReason(HWND window) override;

private:
    mutable std::mutex mutex; ///< guards everything below
    std::map<std::thread::id, EXECUTION_STATE> states;
    std::map<HWND, std::wstring> reasons;
};
