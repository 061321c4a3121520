#pragma once

#include <optional>

#include "faults.h"

/// How the update of a device has to end.
struct Expectation
{
    int errorCode = 0;         ///< 0: the updater reports success
    bool isMemoryWhole = true; ///< whether a success means that the memory equals the image
    /// Transfers that do not get through while the device is programmed. They are told in the updater's log;
    /// each beyond the one at which the fault struck was sent to a device known to be lost.
    int lostTransfers = 0;
};

/// The outcome that the protocol prescribes when @p fault was armed for an update and struck at @p struckAt.
/// A single transfer's failure is not acted on while the device stays, and nothing is asked after the last of
/// @p commits commits, so there a success is reported over a memory that the next update has to put right.
Expectation expectationFor(std::optional<Fault> fault, const std::optional<Transfers>& struckAt, int commits);
