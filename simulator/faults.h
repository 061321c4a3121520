#pragma once

#include <map>
#include <optional>
#include <string>
#include <vector>

#include "simulatedchip.h"

/// What can go wrong with a simulated device. An armed fault strikes once. `None` never strikes.
enum class Fault {
    None,
    Vanish,         ///< the cable is pulled; the device remains away until it is plugged in
    PowerLost,      ///< the device loses power and its RAM contents, and comes back by itself
    NoData,         ///< the answer has the status "no data"
    TransferFails,  ///< the transfer fails and does not reach the chip
    ShortAnswer,    ///< the answer is cut short
    WrongIdentity,  ///< the chip reports an unknown identifier from this transfer on
    RefuseOpen,     ///< after a restart the device cannot be opened until it is plugged in again
    NeverBack,      ///< after a restart the device remains away until it is plugged in
    OtherPort,      ///< after a restart the device comes back on another port
    Removed,        ///< the computer removes the device in an orderly way, unless a program keeps it open
    RemovalRefused, ///< the computer is asked to remove the device, but another program keeps it open
};

struct FaultDescription
{
    /// The kind of event at which a fault strikes. FaultPlan knows the fault's earliest transfer. The fault
    /// strikes at the first such event at this transfer or later.
    enum Event { Transfer, Answer, Restart };

    Fault fault;
    Event strikesAt;
    bool needsLayer;  ///< whether only the simulated computer can produce the fault
    const char* name; ///< name on the command line
    const char* explanation;
};

const std::vector<FaultDescription>& faultDescriptions(); ///< describes every fault except `None`

const FaultDescription& descriptionOf(Fault fault); ///< @p fault must not be `None`

Fault faultByName(const std::string& name); ///< `None` if there is no such fault

/// Counts the feature-report transfers since a fault was last armed or cleared.
struct Transfers
{
    int count = 0;
    Phase phase = Phase::Leave;   ///< phase of the latest transfer
    std::map<Phase, int> inPhase; ///< number of transfers in each phase that was reached
};

/// Counts a device's transfers and decides when its armed fault strikes. Not thread-safe; the device guards
/// the plan with a lock.
class FaultPlan
{
public:
    FaultPlan() = default;
    /// @param transfer  earliest transfer at which the fault can strike; 1 is the next transfer.
    FaultPlan(Fault fault, int transfer);

    /// Counts a transfer. @p phase is empty if the transfer belongs to the phase of the previous transfer.
    /// @return the fault that strikes at this transfer, or `None`.
    Fault countTransfer(std::optional<Phase> phase, bool isAnswer);

    /// Call it when a restart starts. @return the fault that strikes at the restart, or `None`.
    Fault restart() { return strike(FaultDescription::Restart); }

    /// Call it when a fault that struck earlier takes effect. struckAt() then also includes the transfers
    /// in between.
    void noteEffect() { struck = made; }

    const Transfers& transfers() const { return made; }
    /// The transfers up to and including the transfer at which the fault struck; empty if the fault has not
    /// struck.
    const std::optional<Transfers>& struckAt() const { return struck; }

private:
    Fault strike(FaultDescription::Event event);

    Fault armed = Fault::None;
    int atTransfer = 0;
    Transfers made;
    std::optional<Transfers> struck;
};
