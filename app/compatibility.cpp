#include "compatibility.h"

Compatibility::Compatibility(const UpdateCandidate& transmitterCandidate,
                             const UpdateCandidate& headsetCandidate)
    : transmitter(transmitterCandidate)
    , headset(headsetCandidate)
{
}

bool Compatibility::isIncompatible(DeviceType type) const
{
    const UpdateCandidate& asked = candidate(type);
    return asked.isConnected && asked.imagePid != 0 && asked.devicePid != 0 &&
           asked.devicePid != asked.imagePid;
}

bool Compatibility::canBeUpdated(DeviceType type) const
{
    const UpdateCandidate& asked = candidate(type);
    return asked.isConnected && (asked.devicePid == 0 || asked.devicePid == asked.imagePid) && asked.hasImage;
}

bool Compatibility::isIdentityUnknown(DeviceType type) const
{
    const UpdateCandidate& asked = candidate(type);
    return asked.isConnected && asked.devicePid == 0;
}

std::set<DeviceType> Compatibility::unknownIdentities() const
{
    std::set<DeviceType> unknown;
    for (const DeviceType type : {DeviceType::Transmitter, DeviceType::Headset}) {
        if (isIdentityUnknown(type))
            unknown.insert(type);
    }
    return unknown;
}

bool Compatibility::isAnyIncompatible() const
{
    return isIncompatible(DeviceType::Transmitter) || isIncompatible(DeviceType::Headset);
}

bool Compatibility::isAnyConnected() const
{
    return transmitter.isConnected || headset.isConnected;
}

bool Compatibility::areBothConnected() const
{
    return transmitter.isConnected && headset.isConnected;
}

bool Compatibility::canBothBeUpdated() const
{
    return canBeUpdated(DeviceType::Transmitter) && canBeUpdated(DeviceType::Headset);
}

bool Compatibility::isUpdateOffered() const
{
    return !isAnyIncompatible() &&
           (canBeUpdated(DeviceType::Transmitter) || canBeUpdated(DeviceType::Headset));
}

const UpdateCandidate& Compatibility::candidate(DeviceType type) const
{
    return type == DeviceType::Transmitter ? transmitter : headset;
}
