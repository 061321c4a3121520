#include "simulateddevicetree.h"

#include <algorithm>

#include <windows.h>

#include <dbt.h>

namespace {

constexpr std::size_t openingsKept = 256; // limits the memory that a long run needs

} // namespace

SimulatedDeviceTree::SimulatedDeviceTree(Clock& machineClock)
    : clock(machineClock)
{
}

void SimulatedDeviceTree::setBroadcasts(const Broadcasts& choice)
{
    const std::lock_guard<std::mutex> event(events);
    broadcasts = choice;
}

/// Reports @p event to all observers. The caller holds the mutex `events`.
SimulatedDeviceTree::Handled SimulatedDeviceTree::report(WPARAM event, const DeviceNode& node)
{
    Handled handled;
    for (int times = event == DBT_DEVICEREMOVECOMPLETE ? broadcasts.removals : 1; times > 0; --times) {
        auto observers = listening();
        std::stable_partition(observers.begin(), observers.end(),
                              [this](const auto& o) { return o->watchesFile() == broadcasts.filesFirst; });
        for (const auto& observer : observers) {
            if (broadcasts.changesFirst)
                static_cast<void>(observer->onEvent(DBT_DEVNODES_CHANGED, node));
            handled.push_back(observer->onEvent(event, node));
            if (event == DBT_DEVICEQUERYREMOVE || event == DBT_DEVICEQUERYREMOVEFAILED)
                handled.back().wait();
        }
    }
    return handled;
}

void SimulatedDeviceTree::plug(DeviceNode node)
{
    const std::lock_guard<std::mutex> event(events);
    if (const auto newcomer = add(std::move(node)))
        report(DBT_DEVICEARRIVAL, *newcomer);
}

void SimulatedDeviceTree::unplugAndWait(const std::wstring& path)
{
    for (const std::future<void>& handled : unplug(path))
        handled.wait();
}

SimulatedDeviceTree::Handled SimulatedDeviceTree::unplug(const std::wstring& path)
{
    const std::lock_guard<std::mutex> event(events);
    const auto gone = remove(path);
    return gone ? report(DBT_DEVICEREMOVECOMPLETE, *gone) : Handled();
}

bool SimulatedDeviceTree::requestRemoval(const std::wstring& path)
{
    {
        const std::lock_guard<std::mutex> event(events);
        const auto asked = find(path);
        if (!asked)
            return false;
        report(DBT_DEVICEQUERYREMOVE, *asked);
        if (countOpenFiles(asked.get()) > 0) {
            report(DBT_DEVICEQUERYREMOVEFAILED, *asked);
            return false;
        }
    }
    unplug(path);
    return true;
}

void SimulatedDeviceTree::setInstallationPending(bool pending)
{
    {
        const std::lock_guard<std::mutex> guard(mutex);
        installationPending = pending;
    }
    settled.notify_all();
}

void SimulatedDeviceTree::refuseOpen(const std::wstring& path, DWORD error)
{
    const std::lock_guard<std::mutex> guard(mutex);
    refusals[enumeratedPath(path)] = error;
}

void SimulatedDeviceTree::repeatArrival(const std::wstring& path)
{
    const std::lock_guard<std::mutex> event(events);
    if (const auto present = find(path))
        report(DBT_DEVICEARRIVAL, *present);
}

std::vector<SimulatedDeviceTree::Opening> SimulatedDeviceTree::openings() const
{
    const std::lock_guard<std::mutex> guard(mutex);
    return {recorded.begin(), recorded.end()};
}

std::unique_ptr<DeviceFile> SimulatedDeviceTree::open(const std::wstring& path, DWORD access, DWORD share,
                                                      DWORD& error)
{
    const std::lock_guard<std::mutex> guard(mutex);
    recorded.push_back({path, access, share});
    if (recorded.size() > openingsKept)
        recorded.pop_front();
    if (const auto refusal = refusals.extract(enumeratedPath(path))) {
        error = refusal.mapped();
        return nullptr;
    }
    return DeviceTree::open(path, access, share, error);
}

bool SimulatedDeviceTree::waitInstallationSettled(DWORD timeoutMs)
{
    std::unique_lock<std::mutex> lock(mutex);
    return clock.waitFor(lock, settled, timeoutMs, [this] { return !installationPending; });
}
