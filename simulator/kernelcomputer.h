#pragma once

#include <functional>
#include <string>

#include "linuxdevicetree.h"
#include "loginsession.h"
#include "simulatedmachine.h"
#include "uhidbus.h"

/// A computer that is simulated except for the devices and the user's session: they are those of the Linux
/// system that the program runs on. Its bus plugs devices into the kernel.
class KernelComputer
{
public:
    /// @param otherwise  provides everything but the devices and the session; must outlive this object.
    /// @param log        see LinuxDeviceTree and LoginSession.
    KernelComputer(SimulatedMachine& otherwise, const std::function<void(const std::string&)>& log)
        : devices(log)
        , userSession(log)
        , machine(otherwise)
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
