#pragma once

struct BenchOptions;

/// Tries every fault at every transfer of an update, with the updater's real windows. The outcome of a
/// fault is as expected if the update ends as the protocol prescribes and the next update repairs the device.
///
/// A family is a device with a certain chip and chip revision, such as "transmitter-12-2". The product
/// generation is 1 in the transmitter's families and 2 in the headset's families.
namespace FaultMatrix {

/// Prints the log of each failed run, the result of each family, and the totals. If @p options ask for a
/// sample, also prints the result of each fault.
/// @param options  `family`, `sample` and `seed` choose the faults. `onKernelBus` chooses the bus. `speed`
///                 has an effect only on the kernel's bus, because time on the other bus is virtual.
/// @return the exit code: 0 if all outcomes were as expected, otherwise 1.
int run(const BenchOptions& options);

} // namespace FaultMatrix
