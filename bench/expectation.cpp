#include "expectation.h"

#include "flashingerror.h"

namespace {

constexpr Expectation success{0, true, 0};
constexpr Expectation lost{FlashingError::DeviceLost, false, 0};
constexpr Expectation unknownChip{FlashingError::UnknownChip, false, 0};

// Chip identifier and revision, a request and its answer each; all are made, whatever becomes of one.
constexpr int identificationTransfers = 4;

/// @param isGone  whether the device is, and not only one transfer.
Expectation whenTransferFails(const Transfers& at, bool isGone, int commits)
{
    switch (at.phase) {
    case Phase::Leave:
        return lost; // it never comes back in programming mode
    case Phase::Identify: {
        const int later = identificationTransfers - at.inPhase.at(Phase::Identify);
        return {FlashingError::UnknownChip, false, isGone ? 1 + later : 1};
    }
    case Phase::FinalWait:
        return {0, true, 1};
    default:
        break;
    }
    if (!isGone)
        return {0, false, 1};
    if (at.phase == Phase::Commit && at.inPhase.at(Phase::Commit) == commits)
        return {0, false, 2}; // the end of programming is announced all the same
    return {FlashingError::DeviceLost, false, 1};
}

} // namespace

Expectation expectationFor(std::optional<Fault> fault, const std::optional<Transfers>& struckAt, int commits)
{
    if (!fault || !struckAt)
        return success;
    const bool isBeforeIdentification =
        struckAt->phase == Phase::Leave ||
        (struckAt->phase == Phase::Identify && struckAt->inPhase.at(Phase::Identify) == 1);
    switch (*fault) {
    case Fault::TransferFails:
        return whenTransferFails(*struckAt, false, commits);
    case Fault::Vanish:
    case Fault::PowerLost:
        return whenTransferFails(*struckAt, true, commits);
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
