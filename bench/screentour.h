#pragma once

#include <vector>

#include "userdriver.h"

class SimulatedPair;

/// The stops at the screens that an update does not show: start screen, system menu, message boxes,
/// questions, and the main page with devices that the archive does not fit. Both devices must be unplugged at
/// the start, so that the main page is shown in every state; both are plugged in at the end.
/// @param user          takes the tour; it and @p pair must outlive the stops.
/// @param archivePath   path of the archive that the updater has loaded.
/// @param otherArchive  path of an archive for a transmitter of the other generation.
std::vector<Stop> screenTour(UserDriver& user, SimulatedPair& pair, const QString& archivePath,
                             const QString& otherArchive);
