#include "faultplan.h"

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

void FaultPlan::arm(Fault fault, int transfer)
{
    clear();
    armed = fault;
    atTransfer = transfer;
    struck.reset();
}

void FaultPlan::clear()
{
    armed = Fault::None;
    made = {};
}

Fault FaultPlan::countTransfer(std::optional<Phase> phase, bool isAnswer)
{
    ++made.count;
    made.phase = phase.value_or(made.phase);
    ++made.inPhase[static_cast<std::size_t>(made.phase)];
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
