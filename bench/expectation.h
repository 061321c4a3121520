#pragma once

#include <limits>
#include <optional>

#include "faults.h"

/// How the update of a device must end.
struct Expectation
{
    int errorCode = 0; ///< 0 if the updater must report success
    /// Least number of transfers that fail in programming mode. The updater's log names
    /// every failed transfer.
    int lostTransfers = 0;
    /// Greatest number of transfers that fail in programming mode. It exceeds the least number if the exact
    /// number depends on timing.
    int mostLostTransfers = lostTransfers;
    static constexpr int anyNumber = std::numeric_limits<int>::max(); ///< mostLostTransfers without a limit
    /// The documented exception by which the updater may report success although the memory differs from the
    /// image; null if no exception applies.
    const char* exception = nullptr;
    bool maySucceed = errorCode == 0; ///< whether the updater may report success instead of `errorCode`
};

/// @return how the update of a device must end if @p fault was armed for the update.
///
/// In two cases the updater may report success although the memory is wrong. First, after the identification
/// a single transfer fails; such a failure does not end the update. Second, the device is lost at the last
/// commit; after that commit the updater checks nothing. Both cases are documented exceptions. The next
/// update repairs the memory.
/// @param struckAt       the transfers made when the fault struck; empty if the fault did not strike.
/// @param commits        the number of commits in the update.
/// @param isNoticedLate  whether the updater may try more transfers before it notices that a device is lost.
Expectation expectationFor(Fault fault, const std::optional<Transfers>& struckAt, int commits,
                           bool isNoticedLate);
