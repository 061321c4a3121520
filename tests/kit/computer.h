#pragma once

#include <QThreadPool>

#include "gate.h"
#include "logcapture.h"
#include "simulatedmachine.h"

/// A bare computer under virtual time, the current machine while it lives, and what is logged meanwhile. Who
/// uses it has to be gone before; threads of the global pool may still end.
class Computer
{
public:
    explicit Computer(std::uint32_t startTick = 0)
        : clock(startTick)
    {
        clock.onSleep = [this](std::uint32_t ms) { gate.pass(ms); };
    }
    ~Computer() { letThreadsEnd(); }

    Gate gate;
    VirtualClock clock; ///< a test that sets its onSleep has no gate
    SimulatedMachine machine{&clock};
    SimulatedDeviceTree& tree = machine.deviceTree();
    const LogCapture log;

protected:
    void letThreadsEnd()
    {
        gate.open();
        QThreadPool::globalInstance()->waitForDone();
    }

private:
    ScopedMachine scope{machine};
};
