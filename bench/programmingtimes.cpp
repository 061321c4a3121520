#include "programmingtimes.h"

void ProgrammingTimes::clear()
{
    const std::lock_guard<std::mutex> guard(mutex);
    programming.clear();
    complete.clear();
}

void ProgrammingTimes::enter(DeviceType type, Phase phase)
{
    const std::lock_guard<std::mutex> guard(mutex);
    const std::thread::id thread = std::this_thread::get_id();
    if (phase == Phase::Configure) {
        programming[thread] = type;
        slept[type] = 0;
    } else if (phase == Phase::FinalWait && programming.erase(thread) > 0) {
        complete[type] = slept[type];
    }
}

void ProgrammingTimes::sleep(std::uint32_t ms)
{
    const std::lock_guard<std::mutex> guard(mutex);
    const auto device = programming.find(std::this_thread::get_id());
    if (device != programming.end())
        slept[device->second] += ms;
}

std::optional<std::int64_t> ProgrammingTimes::of(DeviceType type) const
{
    const std::lock_guard<std::mutex> guard(mutex);
    const auto time = complete.find(type);
    return time == complete.end() ? std::nullopt : std::optional<std::int64_t>(time->second);
}
