#include "faultmatrix.h"

#include <cstdio>

#include <QCoreApplication>
#include <QElapsedTimer>
#include <QEventLoop>

#include "benchrun.h"
#include "eventlog.h"

namespace {

constexpr int imageBytes = 5000; // two chunks, the second one short

struct Count
{
    int survived = 0;
    int faults = 0;
};

struct Family
{
    DeviceType device;
    int chipId;
    int revision;

    QString name() const { return QStringLiteral("%1-%2-%3").arg(nameOf(device)).arg(chipId).arg(revision); }
};

std::vector<Family> families()
{
    std::vector<Family> all;
    for (const DeviceType device : {DeviceType::Transmitter, DeviceType::Headset}) {
        for (const int chipId : {12, 13}) {
            for (const int revision : {2, 3})
                all.push_back({device, chipId, revision});
        }
    }
    return all;
}

/// Nobody looks at the windows, so they need not be painted.
class Unpainted : public QObject
{
public:
    Unpainted() { QCoreApplication::instance()->installEventFilter(this); }

protected:
    bool eventFilter(QObject*, QEvent* event) override
    {
        return event->type() == QEvent::Expose || event->type() == QEvent::UpdateRequest;
    }
};

void print(const QString& line)
{
    std::puts(line.toUtf8().constData());
    std::fflush(stdout);
}

/// Runs one update, and its repair where a fault is asked for. @return whether all went as it should.
/// @param transfers  gets how many the device with the fault has seen in the last update.
bool survives(const BenchOptions& options, EventLog& log, int& transfers)
{
    static_cast<void>(log.takeLines());
    BenchRun run(options, log);
    if (!run.prepare())
        return false;
    QEventLoop loop;
    QObject::connect(&run, &BenchRun::finished, &loop, &QEventLoop::exit, Qt::QueuedConnection);
    run.drive();
    const bool isSurvived = loop.exec() == 0;
    transfers = run.device(options.faultDevice).transfers().count;
    return isSurvived;
}

/// @param number  of the family; the samples of each are others.
Count runFamily(const Family& family, int number, int sample, EventLog& log)
{
    BenchOptions options;
    options.fast = true;
    options.generation = family.device == DeviceType::Transmitter ? 1 : 2;
    options.faultDevice = family.device;
    options.chipId = family.chipId;
    options.revision = family.revision;
    options.imageBytes = imageBytes;
    int transfers = 0;
    if (!survives(options, log, transfers)) {
        print(log.takeLines().join(QLatin1Char('\n')));
        return {0, 1};
    }
    Count count;
    int place = number;
    for (const FaultDescription& fault : faultDescriptions()) {
        for (int transfer = 1; transfer <= transfers; ++transfer) {
            if (++place % sample != 0)
                continue;
            options.fault = fault.fault;
            options.faultTransfer = transfer;
            ++count.faults;
            int ignored = 0;
            if (survives(options, log, ignored))
                ++count.survived;
            else
                print(QStringLiteral("%1: %2@%3\n")
                          .arg(family.name(), QLatin1String(fault.name))
                          .arg(transfer) +
                      log.takeLines().join(QLatin1Char('\n')));
        }
    }
    print(QStringLiteral("%1: %2 transfers, %3 kinds of faults: survived %4 of %5")
              .arg(family.name())
              .arg(transfers)
              .arg(faultDescriptions().size())
              .arg(count.survived)
              .arg(count.faults));
    return count;
}

} // namespace

int FaultMatrix::run(const QString& family, int sample, EventLog& log)
{
    constexpr double msPerSecond = 1000;
    QElapsedTimer timer;
    timer.start();
    const Unpainted unpainted;
    log.setQuiet(true);
    Count total;
    int number = 0;
    for (const Family& one : families()) {
        ++number;
        if (!family.isEmpty() && one.name() != family)
            continue;
        const Count count = runFamily(one, number, sample, log);
        total.survived += count.survived;
        total.faults += count.faults;
    }
    print(QStringLiteral("faults survived %1 of %2 (%3 s)")
              .arg(total.survived)
              .arg(total.faults)
              .arg(static_cast<double>(timer.elapsed()) / msPerSecond, 0, 'f', 1));
    return total.faults > 0 && total.survived == total.faults ? 0 : 1;
}
