#pragma once

#include <set>

#include "deviceinstance.h"

/// What decides whether the archive's image for one kind of device may be written into it.
struct UpdateCandidate
{
    bool isConnected = false;
    unsigned short devicePid = 0; ///< 0 where the device's identity is unknown
    unsigned short imagePid = 0;  ///< 0 where the image's identity is unknown or there is no image
    bool hasImage = false;
};

/// The rules by which an update is offered, for a transmitter and a headset and the images that an archive
/// holds for them. A device type that is neither stands for the headset.
class Compatibility
{
public:
    Compatibility(const UpdateCandidate& transmitterCandidate, const UpdateCandidate& headsetCandidate);

    /// Whether device and image are known to be of different kinds.
    [[nodiscard]] bool isIncompatible(DeviceType type) const;
    /// Whether there is an image for the device that is not known to be for another one. A device of known
    /// identity is not given an image of unknown identity.
    [[nodiscard]] bool canBeUpdated(DeviceType type) const;
    /// Whether the user has to be asked before the device is updated.
    [[nodiscard]] bool isIdentityUnknown(DeviceType type) const;

    [[nodiscard]] std::set<DeviceType> unknownIdentities() const;
    [[nodiscard]] bool isAnyIncompatible() const;
    [[nodiscard]] bool isAnyConnected() const;
    [[nodiscard]] bool areBothConnected() const;
    [[nodiscard]] bool canBothBeUpdated() const;
    /// Whether an update is offered: one incompatible device forbids it for both.
    [[nodiscard]] bool isUpdateOffered() const;

private:
    const UpdateCandidate& candidate(DeviceType type) const;

    UpdateCandidate transmitter;
    UpdateCandidate headset;
};
