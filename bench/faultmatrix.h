#pragma once

struct BenchOptions;

/// Every fault at every transfer of an update, through the real windows: the update must end as the protocol
/// prescribes, and the next one must repair the device.
///
/// A family is one device on one chip and revision, such as "transmitter-12-2"; the transmitters' families
/// have firmware of the first generation, the headsets' that of the second.
namespace FaultMatrix {

/// Prints a line for each family, the total, and how many outcomes were true of both devices. The log of a
/// failed run is printed before them. With a sample each drawn fault has a line too.
/// @param options  family, sample and seed choose the faults; on the kernel's bus the clock's speed counts,
///                 elsewhere time is virtual.
/// @return the exit code: 0 if all faults were survived, otherwise 1.
int run(const BenchOptions& options);

} // namespace FaultMatrix
