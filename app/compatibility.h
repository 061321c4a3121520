#pragma once

#include <set>

#include "deviceinstance.h"

/// What is known about one device (the transmitter or the headset) and about the archive's image for that
/// device. These facts decide whether the image may be written to the device.
struct UpdateCandidate
{
    bool isConnected = false;
    unsigned short devicePid = 0; ///< 0 if the device's identity is unknown
    unsigned short imagePid = 0;  ///< 0 if there is no image or the image's identity is unknown
    bool hasImage = false;

    /// Whether the connected device and the image both have a known identity, and the two identities differ.
    [[nodiscard]] bool isIncompatible() const
    {
        return isConnected && imagePid != 0 && devicePid != 0 && devicePid != imagePid;
    }

    /// Whether the device is connected and the archive has an image that may be written to it. If the
    /// device's identity is known, the image must have the same identity.
    [[nodiscard]] bool canBeUpdated() const
    {
        return isConnected && (devicePid == 0 || devicePid == imagePid) && hasImage;
    }

    /// Whether the device is connected but its identity is unknown. The user must then confirm the update.
    [[nodiscard]] bool isIdentityUnknown() const { return isConnected && devicePid == 0; }
};

/// Holds what is known about both devices and their images, and decides whether the window offers an update.
struct Compatibility
{
    UpdateCandidate transmitter;
    UpdateCandidate headset;

    /// Any type other than DeviceType::Transmitter selects the headset.
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

    /// Whether at least one device can be updated and neither device is incompatible.
    [[nodiscard]] bool isUpdateOffered() const
    {
        return !isAnyIncompatible() && (transmitter.canBeUpdated() || headset.canBeUpdated());
    }
};
