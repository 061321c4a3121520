#pragma once

#include <optional>

#include "faults.h"

/// How the update of a device must end.
struct Expectation
{
    int errorCode = 0; ///< 0 if the updater must report success
    /// Least number of transfers that fail while the device is programmed, including the transfer at which
    /// the fault strikes. The updater's log names each failed transfer.
    int lostTransfers = 0;
    /// Largest number of transfers that may fail; exceeds the least number if the fault races with the
    /// transfers.
    int mostLostTransfers = lostTransfers;
    /// Why the updater may report success although the memory differs from the image; null if such a success
    /// is wrong.
    const char* exception = nullptr;
    bool maySucceed = errorCode == 0; ///< whether success is accepted, even if `errorCode` is not 0
};

/// @return the outcome that the protocol prescribes if @p fault was armed for an update and struck at
/// @p struckAt. There are two exceptions, in which the updater reports success although the memory may be
/// wrong, and the next update repairs the memory. In the first exception, a single transfer fails and the
/// device remains connected; the protocol ignores the failure. In the second exception, the device is lost at
/// the last commit, whose number is @p commits; the protocol checks nothing after that commit.
/// @param isNoticedLate  whether the updater may try more transfers before it notices that a device is lost.
Expectation expectationFor(Fault fault, const std::optional<Transfers>& struckAt, int commits,
                           bool isNoticedLate);
