#include "expectation.h"

#include "flashingerror.h"

namespace {

constexpr Expectation success{0, true, 0};
constexpr Expectation lost{FlashingError::DeviceLost, false, 0};
constexpr Expectation unknownChip{FlashingError::UnknownChip, false, 0};

Expectation whenTransferFails(Phase phase)
{
    switch (phase) {
    case Phase::Leave:
        return lost; // it never comes back in programming mode
    case Phase::Identify:
        return {FlashingError::UnknownChip, false, 1};
    case Phase::FinalWait:
        return {0, true, 1};
    default:
        return {0, false, 1};
    }
}

// Chip identifier and revision, a request and its answer each; all are made, whatever becomes of one.
constexpr int identificationTransfers = 4;

Expectation whenDeviceVanishes(const Transfers& at, int commits)
{
    switch (at.phase) {
    case Phase::Leave:
        return lost;
    case Phase::Identify:
        return {FlashingError::UnknownChip, false, identificationTransfers + 1 - at.in(Phase::Identify)};
    case Phase::FinalWait:
        return {0, true, 1};
    case Phase::Commit:
        if (at.in(Phase::Commit) == commits)
            return {0, false, 2}; // the end of programming is announced all the same
        return {FlashingError::DeviceLost, false, 1};
    default:
        return {FlashingError::DeviceLost, false, 1};
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
    case Fault::ShortAnswer: // counts as a transfer that failed; answers are asked for in identification only
        return {FlashingError::UnknownChip, false, 1};
    default:
        return unknownChip;
    }
}
