#pragma once

#include <condition_variable>
#include <deque>
#include <map>
#include <mutex>

#include "clock.h"
#include "devicetree.h"

/// A device tree whose nodes a test or the bench plugs in and pulls out.
class SimulatedDeviceTree : public DeviceTree
{
public:
    explicit SimulatedDeviceTree(Clock& machineClock);

    // How to script the tree. Events are reported one at a time, in the order in which they happen.

    /// Plugs a node in. Does nothing if a node with the same path is present already.
    void plug(DeviceNode node);
    /// One future for each report of an event to an observer. The future becomes ready when the observer has
    /// handled the report.
    using Handled = std::vector<std::future<void>>;

    /// Pulls out the node with the interface path @p path, even if files are open on it.
    Handled unplug(const std::wstring& path);
    /// Calls unplug() and waits until every observer has handled the removal.
    void unplugAndWait(const std::wstring& path);
    /// Asks the observers to close their files on the node, and waits for their answers. Then removes the
    /// node if no file is open on it. Do not call requestRemoval() during a transfer on the same thread: an
    /// observer closes its file only after the transfer, so the wait would never end.
    /// @return whether the node was removed.
    bool requestRemoval(const std::wstring& path);
    /// Sets whether a driver is being installed.
    void setInstallationPending(bool pending);
    /// Makes the next attempt to open @p path fail with @p error.
    void refuseOpen(const std::wstring& path, DWORD error);
    /// The order and the number of broadcasts. Windows does not define them.
    struct Broadcasts
    {
        bool filesFirst = false;   ///< observers of an open file receive each event first
        int removals = 1;          ///< how many times each removal is reported
        bool changesFirst = false; ///< DBT_DEVNODES_CHANGED is sent before every other broadcast
    };
    void setBroadcasts(const Broadcasts& choice);
    /// Reports the arrival of a present node again, as an unreliable hub does.
    void repeatArrival(const std::wstring& path);

    // What the tree recorded.

    struct Opening
    {
        std::wstring path;
        DWORD access;
        DWORD share;
    };
    std::vector<Opening> openings() const; ///< the latest attempts to open a path, in order
    std::size_t openFileCount() const { return countOpenFiles(nullptr); } ///< files not closed yet

    // The functions of DeviceTree.

    std::unique_ptr<DeviceFile> open(const std::wstring& path, DWORD access, DWORD share,
                                     DWORD& error) override;
    bool waitInstallationSettled(DWORD timeoutMs) override;

private:
    Handled report(WPARAM event, const DeviceNode& node);

    Clock& clock;
    std::mutex events;        ///< held while an event happens and is reported; locked before `mutex`
    Broadcasts broadcasts;    ///< guarded by `events`
    mutable std::mutex mutex; ///< guards the members below; locked before DeviceTree's own mutex
    std::condition_variable settled;
    bool installationPending = false;
    std::map<std::wstring, DWORD> refusals; ///< error of the next opening, by path
    std::deque<Opening> recorded;
};
