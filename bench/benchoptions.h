#pragma once

#include <optional>

#include <QString>
#include <QStringList>

#include "deviceinstance.h"
#include "faults.h"

/// What the bench's command line asks for.
struct BenchOptions
{
    QString archivePath; ///< empty: the bench builds a sample archive
    int generation = 1;
    int chipId = 12;
    int revision = 2;
    int imageBytes = 8192; ///< of each sample image
    std::optional<Fault> fault;
    int faultTransfer = 1; ///< the transfer from which on the fault strikes, counted from 1
    DeviceType faultDevice = DeviceType::Headset;
    bool fast = false;         ///< virtual clock
    int speed = 1;             ///< how many times as fast as real time the clock runs, if it is not virtual
    bool onKernelBus = false;  ///< the devices are plugged into the kernel, not into the simulated computer
    bool dark = false;         ///< light text on a dark background
    bool drivesItself = false; ///< even if there is a display
    bool takesTour = false;    ///< of all screens, before the update
    QString screenshotsFolder; ///< for a picture of each
    bool faultMatrix = false;  ///< every fault at every transfer, instead of one update
    QString family;            ///< of the fault matrix, only this family; empty: all
    int sample = 0;            ///< of the fault matrix, only so many faults, drawn at random; 0: all
    quint32 seed = 0;          ///< of the draw
};

/// Parses the program's arguments (its name first). Ends the program after --help, and with exit code 2 and a
/// message on the standard error after a mistake.
BenchOptions parseBenchOptions(const QStringList& arguments);

/// Ends the program with exit code 2, and a message on the standard error.
[[noreturn]] void rejectArguments(const QString& mistake);
