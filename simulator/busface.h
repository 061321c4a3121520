#pragma once

#include "bus.h"
#include "simulatedchip.h"

/// How a transmitter or headset shows itself to a computer: in programming mode as its chip's loader,
/// otherwise under the identity of the firmware in its memory, or its usual one where that is not valid.
/// @param serves  takes the reports of the vendor-defined interface.
BusDevice busFace(const SimulatedChip& chip, bool isProgramming, std::shared_ptr<FeatureReports> serves);
