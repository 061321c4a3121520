#pragma once

#include <QString>
#include <QStringList>

struct BenchOptions;
class EventLog;

/// Every fault at every transfer of an update, in virtual time through the real windows: the update has to
/// end as the protocol prescribes, and the next one has to put the device right.
///
/// A family is one device on one chip and revision. Its runs share a process; the families are spread over as
/// many processes as there are processors.
namespace FaultMatrix {

/// Runs all families, prints a line for each and the total.
/// @param sample  1: every transfer; n: every n-th.
/// @return the exit code: 0 where all faults were survived, otherwise 1.
int run(int sample);

/// Runs one family, named as "transmitter-12-2", and prints its line. A failed run's log is printed before
/// it.
/// @return the exit code, as above.
int runFamily(const QString& family, int sample, EventLog& log);

} // namespace FaultMatrix
