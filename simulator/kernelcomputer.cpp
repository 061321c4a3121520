#include "kernelcomputer.h"

std::function<std::unique_ptr<PairComputer>(SimulatedMachine&)>
KernelComputer::maker(std::function<void(const std::string&)> log)
{
    return [log = std::move(log)](SimulatedMachine& otherwise) {
        return std::make_unique<KernelComputer>(otherwise, log);
    };
}

KernelComputer::KernelComputer(SimulatedMachine& otherwise,
                               const std::function<void(const std::string&)>& log)
    : model(otherwise)
    , devices(log)
    , userSession(log)
{
}
