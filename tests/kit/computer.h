#pragma once

#include <condition_variable>
#include <mutex>

#include <QThreadPool>

#include "hidnode.h"
#include "logcapture.h"
#include "simulatedmachine.h"

/// Holds a thread in its sleep until a test opens the gate. The held thread is the first one that sleeps for
/// the number of milliseconds that was passed to close().
class Gate
{
public:
    /// Closes the gate for the next thread that sleeps for @p ms milliseconds. That thread waits for open().
    void close(std::uint32_t ms)
    {
        const std::lock_guard<std::mutex> guard(mutex);
        heldMs = ms;
        reached = false;
        closed = true;
    }
    void open()
    {
        {
            const std::lock_guard<std::mutex> guard(mutex);
            closed = false;
        }
        changed.notify_all();
    }
    bool isReached() const
    {
        const std::lock_guard<std::mutex> guard(mutex);
        return reached;
    }

    void pass(std::uint32_t ms)
    {
        std::unique_lock<std::mutex> lock(mutex);
        if (!closed || reached || ms != heldMs)
            return;
        reached = true;
        changed.wait(lock, [this] { return !closed; });
    }

private:
    mutable std::mutex mutex;
    std::condition_variable changed;
    std::uint32_t heldMs = 0;
    bool closed = false;
    bool reached = false;
};

/// A simulated computer without devices, in virtual time. While the computer exists, the Windows
/// functions act on it, and log messages are captured. Destroy all objects that use the computer before
/// the computer itself. Tasks of the global thread pool are an exception, because the computer's
/// destructor waits for them.
class Computer
{
public:
    explicit Computer(std::uint32_t startTick = 0)
        : clock(startTick)
    {
        clock.onSleep = [this](std::uint32_t ms) {
            gate.pass(ms);
            second.pass(ms);
        };
    }
    ~Computer() { letThreadsEnd(); }

    /// Plugs a device in. @return the device's interface path.
    std::wstring plug(const HidIdentity& identity, const std::shared_ptr<HidFunction>& function,
                      const std::wstring& location = L"7&1a2b3c&0&0000")
    {
        const DeviceNode node = hidNode(identity, location, function);
        tree.plug(node);
        return node.interfacePath;
    }

    Gate gate;
    Gate second;        ///< holds a second thread while `gate` holds the first
    VirtualClock clock; ///< a test that replaces clock.onSleep disables both gates
    SimulatedMachine machine{&clock};
    SimulatedDeviceTree& tree = machine.deviceTree();
    const LogCapture log;

protected:
    void letThreadsEnd()
    {
        gate.open();
        second.open();
        QThreadPool::globalInstance()->waitForDone();
    }

private:
    ScopedMachine scope{machine};
};
