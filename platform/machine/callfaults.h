#pragma once

#include <map>
#include <mutex>
#include <optional>
#include <string>

#include <windows.h>

/// Counts calls of Windows functions, and makes chosen calls fail. The parameter `function` is the name of
/// the called function, such as "CreateEventW". For a call that creates a COM object, the parameter is the
/// name of the object's class. Every operation may be called on any thread.
class CallFaults
{
public:
    /// Makes the @p nth call of @p function fail. The first call has number 1.
    /// @param error  a Windows error code, or the HRESULT that a COM function returns.
    void fail(const std::string& function, int nth, DWORD error)
    {
        const std::lock_guard<std::mutex> guard(mutex);
        faults[{function, nth}] = error;
    }

    /// Counts a call. @return the error with which the call must fail; std::nullopt if the call may go on.
    std::optional<DWORD> count(const std::string& function)
    {
        const std::lock_guard<std::mutex> guard(mutex);
        const auto fault = faults.find({function, ++counts[function]});
        return fault == faults.end() ? std::nullopt : std::optional(fault->second);
    }

    int counted(const std::string& function)
    {
        const std::lock_guard<std::mutex> guard(mutex);
        return counts[function];
    }

private:
    std::mutex mutex; ///< guards the members below
    std::map<std::string, int> counts;
    std::map<std::pair<std::string, int>, DWORD> faults;
};
