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

    /// Whether device and image are known to be of different kinds.
    [[nodiscard]] bool isIncompatible() const
    {
        return isConnected && imagePid != 0 && devicePid != 0 && devicePid != imagePid;
    }

    /// Whether there is an image for the device that is not known to be for another one. A device of known
    /// identity is not given an image of unknown identity.
    [[nodiscard]] bool canBeUpdated() const
    {
        return isConnected && (devicePid == 0 || devicePid == imagePid) && hasImage;
    }

    /// Whether the user has to be asked before the device is updated.
    [[nodiscard]] bool isIdentityUnknown() const { return isConnected && devicePid == 0; }
};

/// The rules by which an update is offered, for a transmitter and a headset and the images that an archive
/// holds for them.
struct Compatibility
{
    UpdateCandidate transmitter;
    UpdateCandidate headset;

    /// A device type that is neither stands for the headset.
    [[nodiscard]] const UpdateCandidate& of(DeviceType type) const
    {
        return type == DeviceType::Transmitter ? transmitter : headset;
    }

    [[nodiscard]] std::set<DeviceType> unknownIdentities() const
    {
        std::set<DeviceType> unknown;
        for (const DeviceType type : {DeviceType::Transmitter, DeviceType::Headset}) {
            if (of(type).isIdentityUnknown())
                unknown.insert(type);
        }
        return unknown;
    }

    [[nodiscard]] bool isAnyIncompatible() const
    {
        return transmitter.isIncompatible() || headset.isIncompatible();
    }
    [[nodiscard]] bool isAnyConnected() const { return transmitter.isConnected || headset.isConnected; }
    [[nodiscard]] bool areBothConnected() const { return transmitter.isConnected && headset.isConnected; }
    [[nodiscard]] bool canBothBeUpdated() const
    {
        return transmitter.canBeUpdated() && headset.canBeUpdated();
    }

    /// Whether an update is offered: one incompatible device forbids it for both.
    [[nodiscard]] bool isUpdateOffered() const
    {
        return !isAnyIncompatible() && (transmitter.canBeUpdated() || headset.canBeUpdated());
    }
};
