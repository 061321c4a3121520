#pragma once

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
    Fault fault = Fault::None;
    int faultTransfer = 1; ///< earliest transfer at which the fault can strike; transfers count from 1
    DeviceType faultDevice = DeviceType::Headset;
    bool fast = false;         ///< whether the clock is virtual
    int speed = 1;             ///< factor by which time runs faster than real time; unused if time is virtual
    bool onKernelBus = false;  ///< the devices are plugged into the kernel, not into the simulated computer
    bool dark = false;         ///< the windows show light text on a dark background
    bool drivesItself = false; ///< works without a user
    bool takesTour = false;    ///< visits all screens before the update
    QString screenshotsFolder; ///< folder for a picture of each screen
    bool faultMatrix = false;  ///< tries every fault at every transfer instead of running one update
    QString family;            ///< family of the fault matrix to try; empty: all families
    int sample = 0;            ///< number of faults that the matrix draws at random; 0: it tries all faults
    int seed = 0;              ///< seed of the random draw; 0: a random seed
};

/// Parses the program's arguments; the first one is the program's name. After --help it prints the help and
/// ends the program. If an argument is wrong, it prints the mistake on the standard error and ends the
/// program with exit code 2. Call it after the application object is created.
BenchOptions parseBenchOptions(const QStringList& arguments);
