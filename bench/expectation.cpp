#include "expectation.h"

#include "flashingerror.h"

namespace {

constexpr Expectation success{0, true};
constexpr Expectation unnoticed{0, false};
constexpr Expectation lost{FlashingError::DeviceLost, false};
constexpr Expectation unknownChip{FlashingError::UnknownChip, false};

Expectation whenTransferFails(Phase phase)
{
    switch (phase) {
    case Phase::Leave:
        return lost; // it never comes back in programming mode
    case Phase::Identify:
        return unknownChip;
    case Phase::FinalWait:
        return success;
    default:
        return unnoticed;
    }
}

Expectation whenDeviceVanishes(const Transfers& at, int commits)
{
    switch (at.phase) {
    case Phase::Identify:
        return unknownChip;
    case Phase::FinalWait:
        return success;
    case Phase::Commit:
        return at.in(Phase::Commit) < commits ? lost : unnoticed;
    default:
        return lost;
    }
}

} // namespace

Expectation expectationFor(std::optional<Fault> fault, const std::optional<Transfers>& struckAt, int commits)
{
    if (!fault || !struckAt)
        return success;
    const bool isBeforeIdentification =
        struckAt->phase == Phase::Leave ||
        (struckAt->phase == Phase::Identify && struckAt->in(Phase::Identify) == 1);
    switch (*fault) {
    case Fault::TransferFails:
        return whenTransferFails(struckAt->phase);
    case Fault::Vanish:
    case Fault::PowerLost:
        return whenDeviceVanishes(*struckAt, commits);
    case Fault::WrongIdentity:
        return isBeforeIdentification ? unknownChip : success;
    case Fault::RefuseOpen:
    case Fault::NeverBack:
        return struckAt->phase == Phase::Leave ? lost : success; // the last restart is nobody's business
    case Fault::OtherPort:
        return success;
    default:
        return unknownChip; // the two faults of an answer; answers are asked for in identification only
    }
}
