#pragma once

#include <functional>
#include <string>

#include "linuxdevicetree.h"
#include "loginsession.h"
#include "simulatedmachine.h"
#include "uhidbus.h"

/// A simulated computer whose devices and user session are those of the Linux system on which the program
/// runs. bus() plugs devices into the kernel of that system.
class KernelComputer
{
public:
    /// @param base  provides everything but the devices and the session; must outlive this object.
    /// @param log   called on any thread with a sentence for each device that cannot be used and for each
    ///              refused lock (see LoginSession).
    KernelComputer(SimulatedMachine& base, const std::function<void(const std::string&)>& log)
        : devices(log)
        , userSession(log)
        , machine(base)
    {
        machine.devices = &devices;
        machine.session = &userSession;
    }
    KernelComputer(const KernelComputer&) = delete;
    KernelComputer& operator=(const KernelComputer&) = delete;

    operator Machine&() { return machine; }
    Bus& bus() { return kernelBus; }

private:
    LinuxDeviceTree devices;
    LoginSession userSession;
    Machine machine;
    UhidBus kernelBus;
};
