#include "faults.h"

#include <algorithm>

const std::vector<FaultDescription>& faultDescriptions()
{
    static const std::vector<FaultDescription> descriptions{
        {Fault::Vanish, QStringLiteral("vanish"), QStringLiteral("the cable is pulled at transfer K")},
        {Fault::PowerLost, QStringLiteral("power-lost"),
         QStringLiteral("power is lost at transfer K, and comes back")},
        {Fault::NoData, QStringLiteral("no-data"),
         QStringLiteral("from transfer K, one answer says \"no data\"")},
        {Fault::TransferFails, QStringLiteral("transfer-fails"), QStringLiteral("transfer K fails")},
        {Fault::ShortAnswer, QStringLiteral("short-answer"),
         QStringLiteral("from transfer K, one answer is too short")},
        {Fault::WrongIdentity, QStringLiteral("wrong-identity"),
         QStringLiteral("from transfer K the chip identifies itself wrongly")},
        {Fault::RefuseOpen, QStringLiteral("refuse-open"),
         QStringLiteral("after the next restart from transfer K the device cannot be opened")},
        {Fault::NeverBack, QStringLiteral("never-back"),
         QStringLiteral("from the next restart from transfer K the device does not come back")},
        {Fault::OtherPort, QStringLiteral("other-port"),
         QStringLiteral("from the next restart from transfer K the device comes back on another port")},
    };
    return descriptions;
}

std::optional<Fault> faultByName(const QString& name)
{
    const auto& all = faultDescriptions();
    const auto found =
        std::find_if(all.begin(), all.end(), [&](const auto& fault) { return fault.name == name; });
    return found == all.end() ? std::nullopt : std::optional<Fault>(found->fault);
}
