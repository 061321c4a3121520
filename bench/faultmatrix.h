#pragma once

struct BenchOptions;

/// Tries every fault at every transfer of an update, with the updater's real windows. A fault counts as
/// survived if the update ends as the protocol prescribes and the next update repairs the device.
///
/// A family is one device on one chip and revision, such as "transmitter-12-2". The transmitter's families
/// use the first product generation, the headset's families the second.
namespace FaultMatrix {

/// Prints the log of each failed run, a line for each family, the totals, and how many of the outcomes shown
/// to the user were true of both devices. With a sample it also prints a line for each drawn fault.
/// @param options  `family`, `sample` and `seed` choose the faults. `speed` has an effect only on the
///                 kernel's bus, because without that bus time is virtual.
/// @return the exit code: 0 if all faults were survived, otherwise 1.
int run(const BenchOptions& options);

} // namespace FaultMatrix
