#pragma once

#include <functional>
#include <string>

#include "linuxdevicetree.h"
#include "loginsession.h"
#include "simulatedmachine.h"
#include "uhidbus.h"

/// A simulated computer with the devices and the user's session of the Linux system that the program runs on.
/// bus() plugs devices into the kernel of that system.
class KernelComputer
{
public:
    /// @param base  provides everything but the devices and the session; must outlive this object.
    /// @param log   called on any thread with a sentence for each unusable device and each refused lock.
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
