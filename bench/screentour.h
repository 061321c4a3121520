#pragma once

#include <vector>

#include "userdriver.h"

class SimulatedPair;

/// The way to the screens that an update does not show: from the start screen by the system menu, the boxes
/// and the questions to the main page with devices that do not fit. Both devices must be unplugged at the
/// start, and are plugged in at the end. The updater then shows the main page in every state.
/// @param user          takes the tour; it and @p pair must outlive the stops.
/// @param archivePath   of the archive that the updater has loaded.
/// @param otherArchive  one for a transmitter of the other generation.
std::vector<Stop> screenTour(UserDriver& user, SimulatedPair& pair, const QString& archivePath,
                             const QString& otherArchive);
