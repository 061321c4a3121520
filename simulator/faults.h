#pragma once

#include <map>
#include <optional>
#include <string>
#include <vector>

#include "simulatedchip.h"

/// What can go wrong with a simulated device. A fault strikes once, at a feature-report transfer counted from
/// 1, or at what it is about when that next happens from that transfer on.
enum class Fault {
    None,
    Vanish,        ///< the cable is pulled; the device stays away until it is plugged in
    PowerLost,     ///< it loses power and RAM, and comes back by itself
    NoData,        ///< the next answer tells that nothing is prepared
    TransferFails, ///< the transfer fails and does not reach the chip
    ShortAnswer,   ///< the next answer is cut short
    WrongIdentity, ///< from then on the chip's identifier is none that is known
    RefuseOpen,    ///< it restarts and can then not be opened until it is plugged in anew
    NeverBack,     ///< it restarts and stays away until it is plugged in
    OtherPort,     ///< it restarts and comes back on another port
};

struct FaultDescription
{
    Fault fault;
    const char* name; ///< as on the command line
    const char* explanation;
};

const std::vector<FaultDescription>& faultDescriptions();

std::optional<Fault> faultByName(const std::string& name);

/// Feature-report transfers since a fault was armed or cleared.
struct Transfers
{
    int count = 0;
    Phase phase = Phase::Leave;   ///< of the last
    std::map<Phase, int> inPhase; ///< how many of them, for each phase that was reached
};

/// Counts a device's transfers and tells when its armed fault strikes. Not thread-safe: its device guards it.
class FaultPlan
{
public:
    FaultPlan() = default;
    /// @param transfer  at which the fault is to strike; 1 is the next.
    FaultPlan(Fault fault, int transfer);

    /// Counts a transfer. @p phase is nothing where it belongs to that of the last.
    /// @return the fault that strikes at it.
    Fault countTransfer(std::optional<Phase> phase, bool isAnswer);

    /// @return the fault that strikes at a restart that begins now.
    Fault restart();

    const Transfers& transfers() const { return made; }
    /// The transfers up to the one at which the fault struck.
    const std::optional<Transfers>& struckAt() const { return struck; }

private:
    Fault strike(bool isTime);

    Fault armed = Fault::None;
    int atTransfer = 0;
    Transfers made;
    std::optional<Transfers> struck;
};
