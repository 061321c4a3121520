#pragma once

#include <map>
#include <optional>
#include <string>
#include <vector>

#include "simulatedchip.h"

/// What can go wrong with a simulated device. A fault strikes once.
enum class Fault {
    None,
    Vanish,         ///< the cable is pulled; the device stays away until it is plugged in
    PowerLost,      ///< it loses power and RAM, and comes back by itself
    NoData,         ///< the answer says that nothing is prepared
    TransferFails,  ///< the transfer fails and does not reach the chip
    ShortAnswer,    ///< the answer is cut short
    WrongIdentity,  ///< from then on the chip's identifier is unknown
    RefuseOpen,     ///< it restarts and cannot be opened until it is plugged in again
    NeverBack,      ///< it restarts and stays away until it is plugged in
    OtherPort,      ///< it restarts and comes back on another port
    Removed,        ///< the computer removes it in an orderly way, unless a program keeps it open
    RemovalRefused, ///< the same, but another program keeps it open
};

struct FaultDescription
{
    /// A fault strikes at the first such event from the given transfer on.
    enum Event { Transfer, Answer, Restart };

    Fault fault;
    Event strikesAt;
    bool needsLayer;  ///< only the layer's model of a computer can do it
    const char* name; ///< on the command line
    const char* explanation;
};

const std::vector<FaultDescription>& faultDescriptions(); ///< of every fault but `None`

const FaultDescription& descriptionOf(Fault fault); ///< @p fault must not be `None`

std::optional<Fault> faultByName(const std::string& name);

/// Feature-report transfers since a fault was armed or cleared.
struct Transfers
{
    int count = 0;
    Phase phase = Phase::Leave;   ///< of the last
    std::map<Phase, int> inPhase; ///< how many of them, for each phase that was reached
};

/// Counts a device's transfers and decides when its armed fault strikes. Its device guards it with a lock.
class FaultPlan
{
public:
    FaultPlan() = default;
    /// @param transfer  from which on the fault strikes; 1 is the next.
    FaultPlan(Fault fault, int transfer);

    /// Counts a transfer. @p phase is empty if the transfer belongs to the phase of the last one.
    /// @return the fault that strikes at it.
    Fault countTransfer(std::optional<Phase> phase, bool isAnswer);

    /// @return the fault that strikes at a restart that starts now.
    Fault restart() { return strike(FaultDescription::Restart); }

    /// A fault that took its time has taken effect now.
    void noteEffect() { struck = made; }

    const Transfers& transfers() const { return made; }
    /// The transfers up to the one at which the fault struck.
    const std::optional<Transfers>& struckAt() const { return struck; }

private:
    Fault strike(FaultDescription::Event event);

    Fault armed = Fault::None;
    int atTransfer = 0;
    Transfers made;
    std::optional<Transfers> struck;
};
