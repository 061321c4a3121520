#pragma once

#include <cstdint>
#include <map>
#include <mutex>
#include <optional>
#include <thread>

#include "simulatedchip.h"

/// In virtual time, how long the updater waited while it programmed each device: from the configuration of
/// its chip to the end-of-programming request. All operations may be called on any thread.
class ProgrammingTimes
{
public:
    void clear();

    /// The calling thread has begun a phase of the device's update.
    void enter(DeviceType type, Phase phase);
    /// The calling thread sleeps.
    void sleep(std::uint32_t ms);

    /// In milliseconds; nothing where the request did not get through.
    std::optional<std::int64_t> of(DeviceType type) const;

private:
    mutable std::mutex mutex; ///< guards what follows
    std::map<std::thread::id, DeviceType> programming;
    std::map<DeviceType, std::int64_t> slept;
    std::map<DeviceType, std::int64_t> complete;
};
