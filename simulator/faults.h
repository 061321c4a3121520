#pragma once

#include <optional>
#include <string>
#include <vector>

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
