#pragma once

#include <condition_variable>
#include <deque>
#include <map>
#include <mutex>

#include "clock.h"
#include "devicetree.h"

/// A device tree made of nodes that a test or the bench plugs in and out.
class SimulatedDeviceTree : public DeviceTree
{
public:
    explicit SimulatedDeviceTree(Clock& machineClock);

    // How to script it. Events are reported one at a time, in the order in which they were made.

    /// Plugs a node in. A node whose path is present already is not taken a second time.
    void plug(DeviceNode node);
    /// What is ready when everybody who was told of an event has handled it.
    using Handled = std::vector<std::future<void>>;

    /// Pulls the node with the given interface path out, however many files are open on it.
    Handled unplug(const std::wstring& path);
    /// The same, but returns only when everybody who listens has handled the removal.
    void unplugAndWait(const std::wstring& path);
    /// Asks the users of the node, then removes it unless a file is still open on it.
    /// @return whether it was removed.
    bool requestRemoval(const std::wstring& path);
    /// While set, drivers are being installed.
    void setInstallationPending(bool pending);
    /// Makes the next @p count attempts to open @p path fail with @p error.
    void refuseOpen(const std::wstring& path, DWORD error, int count);
    /// What Windows leaves open about broadcasts.
    struct Broadcasts
    {
        bool filesFirst = false;   ///< a removal is told to those who watch a file first
        int removals = 1;          ///< times that each removal is told
        bool changesFirst = false; ///< DBT_DEVNODES_CHANGED precedes every other broadcast
    };
    void setBroadcasts(const Broadcasts& choice);
    /// Reports a node's arrival once more, as a hub that hiccups does.
    void repeatArrival(const std::wstring& path);

    // What it recorded.

    struct Opening
    {
        std::wstring path;
        DWORD access;
        DWORD share;
    };
    std::vector<Opening> openings() const;                                ///< the last attempts, in order
    std::size_t openFileCount() const { return countOpenFiles(nullptr); } ///< files not closed yet

    // What it serves.

    std::unique_ptr<DeviceFile> open(const std::wstring& path, DWORD access, DWORD share,
                                     DWORD& error) override;
    bool waitInstallationSettled(DWORD timeoutMs) override;

private:
    struct Refusal
    {
        DWORD error;
        int count;
    };

    Handled report(WPARAM event, const DeviceNode& node);

    Clock& clock;
    std::mutex events;        ///< held while an event is made and reported; taken before `mutex`
    Broadcasts broadcasts;    ///< guarded by `events`
    mutable std::mutex mutex; ///< guards everything below; taken before the tree's own
    std::condition_variable settled;
    bool installationPending = false;
    std::map<std::wstring, Refusal> refusals;
    std::deque<Opening> recorded;
};
