#pragma once

#include <optional>

#include "faults.h"

/// How the update of a device must end.
struct Expectation
{
    int errorCode = 0; ///< 0: the updater reports success
    /// Transfers that fail while the device is programmed, the one at which the fault struck included. The
    /// updater's log names them.
    int lostTransfers = 0;
    int mostLostTransfers = lostTransfers; ///< if the fault races with the transfers
    /// Why the updater may report success over a memory that differs from the image; null if it must not.
    const char* exception = nullptr;
    bool maySucceed = errorCode == 0; ///< whether the updater may report success too, by that exception
};

/// The outcome that the protocol prescribes when @p fault was armed for an update and struck at @p struckAt.
/// The protocol ignores a single failed transfer if the device stays, and checks nothing after the last of
/// @p commits commits. These are the two exceptions: the updater reports success, and the next update repairs
/// the memory.
/// @param isNoticedLate  whether the updater may go on for a while with a device that is lost.
Expectation expectationFor(std::optional<Fault> fault, const std::optional<Transfers>& struckAt, int commits,
                           bool isNoticedLate);
