#include "faults.h"

#include <algorithm>
#include <utility>

namespace {

bool isOfRestarts(Fault fault)
{
    return fault == Fault::RefuseOpen || fault == Fault::NeverBack || fault == Fault::OtherPort;
}

bool isOfAnswers(Fault fault)
{
    return fault == Fault::NoData || fault == Fault::ShortAnswer;
}

} // namespace

const std::vector<FaultDescription>& faultDescriptions()
{
    static const std::vector<FaultDescription> descriptions{
        {Fault::Vanish, "vanish", "the cable is pulled at transfer K"},
        {Fault::PowerLost, "power-lost", "power is lost at transfer K, and comes back"},
        {Fault::NoData, "no-data", "from transfer K, one answer says \"no data\""},
        {Fault::TransferFails, "transfer-fails", "transfer K fails"},
        {Fault::ShortAnswer, "short-answer", "from transfer K, one answer is too short"},
        {Fault::WrongIdentity, "wrong-identity", "from transfer K the chip identifies itself wrongly"},
        {Fault::RefuseOpen, "refuse-open",
         "after the next restart from transfer K the device cannot be opened"},
        {Fault::NeverBack, "never-back",
         "from the next restart from transfer K the device does not come back"},
        {Fault::OtherPort, "other-port",
         "from the next restart from transfer K the device comes back on another port"},
    };
    return descriptions;
}

std::optional<Fault> faultByName(const std::string& name)
{
    const auto& all = faultDescriptions();
    const auto found =
        std::find_if(all.begin(), all.end(), [&](const auto& fault) { return fault.name == name; });
    return found == all.end() ? std::nullopt : std::optional<Fault>(found->fault);
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
    return strike(!isOfRestarts(armed) && (isAnswer || !isOfAnswers(armed)));
}

Fault FaultPlan::restart()
{
    return strike(isOfRestarts(armed));
}

/// @param isTime  whether what the armed fault is about happens now.
Fault FaultPlan::strike(bool isTime)
{
    if (armed == Fault::None || !isTime || made.count < atTransfer)
        return Fault::None;
    struck = made;
    return std::exchange(armed, Fault::None);
}
