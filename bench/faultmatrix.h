#pragma once

struct BenchOptions;

/// Tries every fault at every transfer of an update, through the real windows. The update must end as the
/// protocol prescribes, and the next one must repair the device.
///
/// A family is one device on one chip and revision, such as "transmitter-12-2". The firmware is of the first
/// generation in the families of the transmitter, and of the second in those of the headset.
namespace FaultMatrix {

/// Prints the log of each failed run, a line for each family, the totals, and how many of the outcomes shown
/// to the user were true of both devices. With a sample it also prints a line for each drawn fault.
/// @param options  family, sample and seed choose the faults. The speed counts on the kernel's bus only;
///                 elsewhere time is virtual.
/// @return the exit code: 0 if all faults were survived, otherwise 1.
int run(const BenchOptions& options);

} // namespace FaultMatrix
