#pragma once

class QString;

/// Every fault at every transfer of an update, in virtual time through the real windows: the update has to
/// end as the protocol prescribes, and the next one has to put the device right.
///
/// A family is one device on one chip and revision, such as "transmitter-12-2"; the transmitters' families
/// have firmware of the first generation, the headsets' that of the second.
namespace FaultMatrix {

/// Prints a line for each family and the total. A failed run's log is printed before them.
/// @param family  empty: all of them.
/// @param sample  1: every fault at every transfer; n: every n-th of these.
/// @return the exit code: 0 where all faults were survived, otherwise 1.
int run(const QString& family, int sample);

} // namespace FaultMatrix
