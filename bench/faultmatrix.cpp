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

/// @return a run of each, without a fault.
std::vector<BenchOptions> families()
{
    std::vector<BenchOptions> all;
    BenchOptions family;
    family.fast = true;
    family.imageBytes = imageBytes;
    for (const DeviceType device : {DeviceType::Transmitter, DeviceType::Headset}) {
        family.faultDevice = device;
        family.generation = device == DeviceType::Transmitter ? 1 : 2;
        for (family.chipId = 12; family.chipId <= 13; ++family.chipId) {
            for (family.revision = 2; family.revision <= 3; ++family.revision)
                all.push_back(family);
        }
    }
    return all;
}

QString familyName(const BenchOptions& family)
{
    return QStringLiteral("%1-%2-%3").arg(nameOf(family.faultDevice)).arg(family.chipId).arg(family.revision);
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

/// Runs one update, and its repair where a fault is asked for. Its log is printed, below @p name, where not
/// all goes as it should.
/// @return how many transfers the device with the fault has seen in the last update; nothing then.
std::optional<int> transfersSurvived(const BenchOptions& options, const QString& name)
{
    EventLog log(EventLog::Output::Kept);
    BenchRun run(options, log);
    QEventLoop loop;
    QObject::connect(&run, &BenchRun::finished, &loop, &QEventLoop::exit, Qt::QueuedConnection);
    if (run.prepare()) {
        run.drive();
        if (loop.exec() == 0)
            return run.device(options.faultDevice).transfers().count;
    }
    std::puts(qUtf8Printable(name + QLatin1Char('\n') + log.lines().join(QLatin1Char('\n'))));
    return std::nullopt;
}

/// @param number  of the family; the samples of each are others.
Count runFamily(const BenchOptions& family, int number, int sample)
{
    const std::optional<int> transfers = transfersSurvived(family, familyName(family));
    if (!transfers)
        return {0, 1};
    Count count;
    int place = number;
    for (const FaultDescription& fault : faultDescriptions()) {
        for (int transfer = 1; transfer <= *transfers; ++transfer) {
            if (++place % sample != 0)
                continue;
            BenchOptions options = family;
            options.fault = fault.fault;
            options.faultTransfer = transfer;
            ++count.faults;
            const QString name =
                QStringLiteral("%1: %2@%3").arg(familyName(family), QLatin1String(fault.name)).arg(transfer);
            count.survived += transfersSurvived(options, name) ? 1 : 0;
        }
    }
    const auto line = QStringLiteral("%1: %2 transfers, %3 kinds of faults: survived %4 of %5")
                          .arg(familyName(family))
                          .arg(*transfers)
                          .arg(faultDescriptions().size())
                          .arg(count.survived)
                          .arg(count.faults);
    std::puts(qUtf8Printable(line));
    return count;
}

} // namespace

int FaultMatrix::run(const QString& family, int sample)
{
    constexpr double msPerSecond = 1000;
    QElapsedTimer timer;
    timer.start();
    const Unpainted unpainted;
    Count total;
    int number = 0;
    for (const BenchOptions& one : families()) {
        ++number;
        if (!family.isEmpty() && familyName(one) != family)
            continue;
        const Count count = runFamily(one, number, sample);
        total.survived += count.survived;
        total.faults += count.faults;
    }
    const auto line = QStringLiteral("faults survived %1 of %2 (%3 s)")
                          .arg(total.survived)
                          .arg(total.faults)
                          .arg(static_cast<double>(timer.elapsed()) / msPerSecond, 0, 'f', 1);
    std::puts(qUtf8Printable(line));
    return total.faults > 0 && total.survived == total.faults ? 0 : 1;
}
