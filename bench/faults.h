#pragma once

#include <optional>
#include <vector>

#include <QString>

/// What can go wrong with a simulated device. A fault strikes at a feature-report transfer, counted from 1.
enum class Fault {
    None,
    Vanish,        ///< the cable is pulled; the device stays away until it is plugged in
    PowerLost,     ///< it loses power and RAM, and comes back by itself
    NoData,        ///< the next answer tells that nothing is prepared
    TransferFails, ///< the transfer fails and does not reach the chip
    ShortAnswer,   ///< the next answer is cut short
    WrongIdentity, ///< from then on the chip's identifier is none that is known
    RefuseOpen,    ///< in programming mode the device cannot be opened; whatever the transfer
    NeverBack,     ///< told to leave its application it does not come back; whatever the transfer
    OtherPort,     ///< told to leave its application it comes back on another port; whatever the transfer
};

struct FaultDescription
{
    Fault fault;
    QString name; ///< as on the command line
    QString explanation;
};

const std::vector<FaultDescription>& faultDescriptions();

std::optional<Fault> faultByName(const QString& name);
