#include "kernelcomputer.h"

KernelComputer::KernelComputer(SimulatedMachine& otherwise,
                               const std::function<void(const std::string&)>& log)
    : model(otherwise)
    , devices(log)
    , userSession(log)
{
}
