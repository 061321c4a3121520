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
    bool fast = false;         ///< uses virtual time, in which a wait takes no real time
    int speed = 1;             ///< factor by which time runs faster than real time; unused if time is virtual
    bool onKernelBus = false;  ///< plugs the devices into the real kernel, not into the simulated computer
    bool dark = false;         ///< shows light text on a dark background in the windows
    bool drivesItself = false; ///< operates the updater without a user
    bool takesTour = false;    ///< visits all screens before the update
    QString screenshotsFolder; ///< folder for a picture of each screen
    bool faultMatrix = false;  ///< tries every fault at every transfer instead of making one update
    QString family;            ///< family of the fault matrix to try; if empty, all families
    int sample = 0;            ///< number of faults that the matrix draws at random; if 0, it tries all
    int seed = 0;              ///< seed of the random draw; if 0, the bench takes a random one
};

/// Parses @p arguments, of which the first is the program's name. If --help is among them, prints the help
/// and ends the program. If an argument is wrong, prints the mistake on the standard error and ends the
/// program with exit code 2. The application object must exist.
BenchOptions parseBenchOptions(const QStringList& arguments);
