#include "faults.h"

#include <algorithm>
#include <utility>

const std::vector<FaultDescription>& faultDescriptions()
{
    using D = FaultDescription;
    static const std::vector<FaultDescription> descriptions{
        {Fault::Vanish, D::Transfer, false, "vanish", "the cable is pulled at transfer K"},
        {Fault::PowerLost, D::Transfer, false, "power-lost", "power is lost at transfer K, and comes back"},
        {Fault::NoData, D::Answer, false, "no-data", "the first answer from transfer K on says \"no data\""},
        {Fault::TransferFails, D::Transfer, false, "transfer-fails", "transfer K fails"},
        {Fault::ShortAnswer, D::Answer, false, "short-answer",
         "the first answer from transfer K on is too short"},
        {Fault::WrongIdentity, D::Transfer, false, "wrong-identity",
         "from transfer K on, the chip reports an unknown identifier"},
        {Fault::RefuseOpen, D::Restart, true, "refuse-open",
         "from the first restart after transfer K on, the device cannot be opened"},
        {Fault::NeverBack, D::Restart, false, "never-back",
         "at the first restart after transfer K the device does not come back"},
        {Fault::OtherPort, D::Restart, false, "other-port",
         "at the first restart after transfer K the device comes back on another port"},
        {Fault::Removed, D::Transfer, true, "removed",
         "the computer removes the device in an orderly way at transfer K"},
        {Fault::RemovalRefused, D::Transfer, true, "removal-refused",
         "the same, but another program refuses the removal"},
    };
    return descriptions;
}

const FaultDescription& descriptionOf(Fault fault)
{
    const auto& all = faultDescriptions();
    return *std::find_if(all.begin(), all.end(), [&](const auto& one) { return one.fault == fault; });
}

Fault faultByName(const std::string& name)
{
    const auto& all = faultDescriptions();
    const auto found =
        std::find_if(all.begin(), all.end(), [&](const auto& fault) { return fault.name == name; });
    return found == all.end() ? Fault::None : found->fault;
}

FaultPlan::FaultPlan(Fault fault, int transfer)
    : armed(fault)
    , atTransfer(transfer)
{
}

Fault FaultPlan::countTransfer(std::optional<Phase> phase, bool isAnswer)
{
    ++made.count;
    made.phase = phase.value_or(made.phase);
    ++made.inPhase[made.phase];
    const Fault striking = strike(FaultDescription::Transfer);
    return striking == Fault::None && isAnswer ? strike(FaultDescription::Answer) : striking;
}

/// Call it when @p event happens. @return the armed fault if it strikes now, otherwise `None`.
Fault FaultPlan::strike(FaultDescription::Event event)
{
    if (armed == Fault::None || descriptionOf(armed).strikesAt != event || made.count < atTransfer)
        return Fault::None;
    struck = made;
    return std::exchange(armed, Fault::None);
}
