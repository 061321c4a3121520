#pragma once

#include <vector>

#include "userdriver.h"

class SimulatedPair;

/// Returns the stops of a tour of the screens that an update does not show: start screen, system menu,
/// message boxes, questions, and the main page with missing, unknown or incompatible devices. Both devices
/// must be unplugged at the start. The tour plugs them in one after the other.
/// @param user          the driver that takes the tour; @p user and @p pair must outlive the stops.
/// @param archivePath   path of the archive that the updater has loaded.
/// @param otherArchive  path of an archive for a transmitter of the other generation.
std::vector<Stop> screenTour(UserDriver& user, SimulatedPair& pair, const QString& archivePath,
                             const QString& otherArchive);
