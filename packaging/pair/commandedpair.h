#pragma once

#include <iosfwd>
#include <string>
#include <vector>

#include "imagebuilder.h"
#include "simulateddevice.h"

/// Prints the seconds since the first call of report(), and then @p text. Thread-safe.
void report(const std::string& text);

/// A simulated transmitter or headset, and the image for its update. At first the device is unplugged and
/// holds an older firmware. Prints each event of the device.
class CommandedDevice
{
public:
    CommandedDevice(Bus& bus, DeviceType deviceType, const ImageOptions& wanted, int chipId, int revision);

    /// Executes a command of CommandedPair for this device.
    /// @return false if the command or one of its operands is invalid.
    bool execute(const std::string& verb, std::istream& operands);

    const DeviceType type;
    const std::string name;
    const std::vector<std::uint8_t> image;
    SimulatedDevice device;

private:
    SimulatedDevice::Setup setup(const ImageOptions& wanted, int chipId, int revision) const;
    bool arm(std::istream& operands);
    void judge() const;
    void expect() const;

    const std::string versionBefore;
    Fault armed = Fault::None;
};

/// A transmitter and a headset that a check controls with lines of text:
///
///     plug [DEVICE]
///     unplug [DEVICE]
///     count [DEVICE]                disarms the fault, counts transfers from 1 again, and forgets which
///                                   phases were printed
///     fault DEVICE NAME TRANSFER    arms the bench's fault NAME, which strikes at transfer TRANSFER or later
///     storm COUNT                   plugs or unplugs a random device COUNT times, then plugs both in
///     expectation                   prints the results that the updater must log for the armed faults
///     verdict                       prints each device's versions, and whether its memory equals its image
///
/// DEVICE is "transmitter" or "headset". A command without DEVICE is for both devices.
class CommandedPair
{
public:
    CommandedPair(Bus& bus, int generation, int chipId, int revision, std::size_t imageBytes);

    /// @return false if the command or one of its operands is invalid.
    bool execute(const std::string& command);

    CommandedDevice transmitter;
    CommandedDevice headset;

private:
    void storm(int count);
};
