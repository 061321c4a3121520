#pragma once

#include <QThreadPool>

#include "gate.h"
#include "logcapture.h"
#include "simulatedmachine.h"

/// A bare simulated computer under virtual time. While it exists, the Windows functions act on it, and log
/// messages are captured. Destroy all objects that use it first. Tasks of the global thread pool may still
/// run: the destructor waits for them.
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

    Gate gate;
    Gate second;        ///< for another thread while `gate` holds one
    VirtualClock clock; ///< a test that replaces onSleep disables the gates
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
