#pragma once

#include <optional>

#include "faults.h"

/// How the update of a device must end.
struct Expectation
{
    int errorCode = 0; ///< 0: the updater reports success
    /// Least number of transfers that fail while the device is programmed, including the one at which the
    /// fault strikes. The updater's log names each failed transfer.
    int lostTransfers = 0;
    int mostLostTransfers = lostTransfers; ///< largest number; higher if the fault races with the transfers
    /// Why the updater may report success although the memory differs from the image; null if it must not.
    const char* exception = nullptr;
    bool maySucceed = errorCode == 0; ///< whether success is accepted, even if `errorCode` is not 0
};

/// The outcome that the protocol prescribes when @p fault was armed for an update and struck at @p struckAt.
/// There are two exceptions, in which the updater reports success and the next update repairs the memory. In
/// the first, a single transfer fails and the device remains connected; the protocol ignores the failure. In
/// the second, the device is lost at the last of @p commits commits; the protocol checks nothing after that
/// commit.
/// @param isNoticedLate  whether the updater may try more transfers before it notices that a device is lost.
Expectation expectationFor(Fault fault, const std::optional<Transfers>& struckAt, int commits,
                           bool isNoticedLate);
