#include "expectation.h"

#include "flashingerror.h"

namespace {

constexpr char failedTransfer[] = "a single transfer failed";
constexpr char lostAtLastCommit[] =
    "the device was lost, which the updater noticed only after the last commit";

// The updater reads the chip identifier and the revision, each with a request and an answer. It makes all
// four transfers even if one of them fails.
constexpr int identificationTransfers = 4;

constexpr Expectation failsWith(int code, int lostTransfers = 0)
{
    return {code, lostTransfers, lostTransfers};
}

constexpr Expectation succeeds(int lostTransfers = 0, const char* exception = nullptr)
{
    return {0, lostTransfers, lostTransfers, exception};
}

int transfersLeftToIdentify(const Transfers& at)
{
    return identificationTransfers - at.inPhase.at(Phase::Identify);
}

bool isAtLastCommit(const Transfers& at, int commits)
{
    return at.phase == Phase::Commit && at.inPhase.at(Phase::Commit) == commits;
}

Expectation whenTransferFails(const Transfers& at)
{
    switch (at.phase) {
    case Phase::Leave:
        return failsWith(FlashingError::DeviceLost); // the device never enters programming mode
    case Phase::Identify:
        return failsWith(FlashingError::UnknownChip, 1);
    case Phase::FinalWait:
        return succeeds(1);
    default:
        return succeeds(1, failedTransfer);
    }
}

Expectation whenLost(const Transfers& at, int commits, bool isNoticedLate)
{
    switch (at.phase) {
    case Phase::Leave:
        return failsWith(FlashingError::DeviceLost);
    case Phase::Identify:
        return failsWith(FlashingError::UnknownChip, 1 + transfersLeftToIdentify(at));
    case Phase::FinalWait:
        return succeeds(1);
    default:
        break;
    }
    if (isAtLastCommit(at, commits))
        return succeeds(2, lostAtLastCommit); // the commit and the end-of-programming request fail
    if (isNoticedLate)
        return {FlashingError::DeviceLost, 1, Expectation::anyNumber, lostAtLastCommit, true};
    return failsWith(FlashingError::DeviceLost, 1);
}

/// @return the expected outcome if the detector closes the device's handle during the update. @p at counts
/// the transfers before that moment.
Expectation whenWithdrawn(const Transfers& at, int commits)
{
    if (at.phase == Phase::Leave || at.phase == Phase::FinalWait)
        return succeeds(); // in these phases the updater does not use the device's handle
    if (at.phase == Phase::Identify && transfersLeftToIdentify(at) > 0)
        return failsWith(FlashingError::UnknownChip, transfersLeftToIdentify(at));
    if (isAtLastCommit(at, commits))
        return failsWith(FlashingError::DeviceLost, 1); // the end-of-programming request fails
    return {FlashingError::DeviceLost, 0, 1};
}

} // namespace

Expectation expectationFor(Fault fault, const std::optional<Transfers>& struckAt, int commits,
                           bool isNoticedLate)
{
    if (!struckAt)
        return succeeds();
    const bool isAtLeave = struckAt->phase == Phase::Leave;
    const bool isBeforeIdentification =
        isAtLeave || (struckAt->phase == Phase::Identify && struckAt->inPhase.at(Phase::Identify) == 1);
    switch (fault) {
    case Fault::TransferFails:
        return whenTransferFails(*struckAt);
    case Fault::Vanish:
    case Fault::PowerLost:
        return whenLost(*struckAt, commits, isNoticedLate);
    case Fault::WrongIdentity:
        return isBeforeIdentification ? failsWith(FlashingError::UnknownChip) : succeeds();
    case Fault::RefuseOpen:
    case Fault::NeverBack:
        return isAtLeave ? failsWith(FlashingError::DeviceLost)
                         : succeeds(); // the updater does not wait for the last restart
    case Fault::ShortAnswer:
        // It counts as a failed transfer. Only identification reads answers.
        return failsWith(FlashingError::UnknownChip, 1);
    case Fault::NoData:
        return failsWith(FlashingError::UnknownChip);
    case Fault::Removed:
    case Fault::RemovalRefused:
        return whenWithdrawn(*struckAt, commits);
    case Fault::OtherPort:
    case Fault::None:
        break;
    }
    return succeeds();
}
