#pragma once

#include <optional>

#include <QString>
#include <QStringList>

#include "deviceinstance.h"
#include "faults.h"

/// The options of the bench's command line.
struct BenchOptions
{
    int generation = 1;
    int chipId = 12;
    int revision = 2;
    int imageBytes = 8192; ///< size of each sample image
    std::optional<Fault> fault;
    int faultTransfer = 1; ///< the fault strikes from this transfer on; 1 is the first
    DeviceType faultDevice = DeviceType::Headset;
    bool fast = false;         ///< whether the clock is virtual
    int speed = 1;             ///< how many times as fast as real time the clock runs, if it is not virtual
    bool onKernelBus = false;  ///< the devices are plugged into the kernel, not into the simulated computer
    bool dark = false;         ///< light text on a dark background
    bool drivesItself = false; ///< works without a user even if there is a display
    bool takesTour = false;    ///< visits all screens before the update
    QString screenshotsFolder; ///< gets a picture of each screen
    bool faultMatrix = false;  ///< tries every fault at every transfer instead of one update
    QString family;            ///< the one family of the fault matrix to try; empty: all
    int sample = 0;            ///< number of faults that the matrix draws at random; 0: it tries all
    quint32 seed = 0;          ///< seed of that draw
};

/// Parses the program's arguments, the first of which is its name. Ends the program after --help. After a
/// mistake it ends the program with exit code 2 and a message on the standard error.
BenchOptions parseBenchOptions(const QStringList& arguments);

/// Ends the program with exit code 2, and a message on the standard error.
[[noreturn]] void rejectArguments(const QString& mistake);
