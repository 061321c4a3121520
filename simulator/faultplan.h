#pragma once

#include <array>
#include <optional>

#include "faults.h"
#include "simulatedchip.h"

/// Feature-report transfers since a fault was armed or cleared.
struct Transfers
{
    int count = 0;
    Phase phase = Phase::Leave; ///< of the last
    std::array<int, phaseCount> inPhase{};

    int in(Phase of) const { return inPhase[static_cast<std::size_t>(of)]; }
};

/// Counts a device's transfers and tells when its armed fault strikes. Not thread-safe: its device guards it.
class FaultPlan
{
public:
    /// Arms a fault, to strike at the @p transfer-th transfer from now (1 is the next), and begins to count
    /// anew.
    void arm(Fault fault, int transfer);
    /// Disarms and begins to count anew; struckAt() stays.
    void clear();

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
