#include "faultmatrix.h"

#include <algorithm>
#include <climits>
#include <cstdio>
#include <random>

#include <QCoreApplication>
#include <QElapsedTimer>
#include <QRandomGenerator>

#include "benchrun.h"
#include "eventlog.h"

namespace {

constexpr int imageBytes = 5000; // one full chunk and a part of a second one

/// A device, its chip, and the chip's revision.
struct Family
{
    BenchOptions options; ///< options of an update without a fault
    QString name;
    Transfers transfers = {}; ///< transfers of an update without a fault
    int asExpected = 0;       ///< number of faults with the expected outcome
    int faults = 0;
};

void print(const QString& text)
{
    std::puts(qUtf8Printable(text));
}

std::vector<Family> allFamilies()
{
    std::vector<Family> all;
    for (const DeviceType device : {DeviceType::Transmitter, DeviceType::Headset}) {
        for (const SimulatedChip::Model& model : SimulatedChip::models()) {
            BenchOptions options;
            options.fast = true;
            options.imageBytes = imageBytes;
            options.faultDevice = device;
            options.generation = device == DeviceType::Transmitter ? 1 : 2;
            options.chipId = model.chipId;
            options.revision = model.revision;
            const auto name =
                QStringLiteral("%1-%2-%3").arg(nameOf(device)).arg(model.chipId).arg(model.revision);
            all.push_back({options, name});
        }
    }
    return all;
}

/// Prevents the painting of all windows, to save time.
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

/// @return the last transfer for which it is useful to arm @p fault. The updater reads answers only during
/// identification. The device restarts when it leaves the application, and at the end. Restart faults for
/// transfers between the restarts all strike at the second restart, so one such transfer is enough.
int lastEffective(const FaultDescription& fault, const Transfers& transfers)
{
    const int leaving = transfers.inPhase.at(Phase::Leave);
    switch (fault.strikesAt) {
    case FaultDescription::Answer:
        return leaving + transfers.inPhase.at(Phase::Identify);
    case FaultDescription::Restart:
        return leaving + 1;
    default:
        return transfers.count;
    }
}

class Matrix
{
public:
    explicit Matrix(const BenchOptions& benchOptions);

    bool countTransfers();
    void runAll();
    void runSample();
    /// @return whether every fault had the expected outcome. If no fault was tried, returns false.
    bool printTotals() const;

private:
    struct Result
    {
        Transfers transfers; ///< transfers of the last update
        BenchRun::FaultOutcome fault;
    };
    static std::optional<Result> runOne(const BenchOptions& options, const QString& name);
    void runFault(Family& family, const FaultDescription& fault, int transfer);
    std::vector<const FaultDescription*> kinds() const;
    void printFamily(const Family& family) const;

    const BenchOptions options;
    std::vector<Family> families;
    QMap<QString, int> exceptions;
    QElapsedTimer timer;
    const Unpainted unpainted;
};

Matrix::Matrix(const BenchOptions& benchOptions)
    : options(benchOptions)
{
    timer.start();
    for (const Family& family : allFamilies()) {
        if (options.family.isEmpty() || options.family == family.name)
            families.push_back(family);
    }
}

/// Runs one update and, after a fault, the update that repairs the device. If anything is not as expected,
/// prints @p name and the log, and returns no result.
std::optional<Matrix::Result> Matrix::runOne(const BenchOptions& options, const QString& name)
{
    EventLog log(EventLog::Output::Kept);
    BenchRun run(options, log);
    if (run.prepare() && run.drive() == 0)
        return Result{run.device(options.faultDevice).transfers(), run.faultOutcome()};
    print(name + QLatin1Char('\n') + log.lines().join(QLatin1Char('\n')));
    return std::nullopt;
}

/// For each family, runs an update that has no fault and counts the update's transfers. @return false if the
/// options name an unknown family, or if one of these updates fails.
bool Matrix::countTransfers()
{
    if (families.empty())
        print(QStringLiteral("no such family: ") + options.family);
    for (Family& family : families) {
        const std::optional<Result> result = runOne(family.options, family.name);
        if (!result)
            return false;
        family.transfers = result->transfers;
    }
    return !families.empty();
}

void Matrix::runAll()
{
    for (Family& family : families) {
        for (const FaultDescription* fault : kinds()) {
            for (int transfer = 1; transfer <= family.transfers.count; ++transfer)
                runFault(family, *fault, transfer);
        }
        printFamily(family);
    }
}

/// Tries a random sample of the faults. All kinds of faults are drawn equally often, with a difference of at
/// most one. The same holds for the families.
void Matrix::runSample()
{
    const int seed = options.seed > 0 ? options.seed : QRandomGenerator::system()->bounded(1, INT_MAX);
    print(QStringLiteral("sample of %1, seed %2").arg(options.sample).arg(seed));
    std::mt19937 random(static_cast<unsigned>(seed));
    std::vector<const FaultDescription*> drawnKinds = kinds();
    std::vector<Family*> drawnFamilies;
    for (Family& family : families)
        drawnFamilies.push_back(&family);
    for (std::size_t i = 0; i < static_cast<std::size_t>(options.sample); ++i) {
        if (i % drawnKinds.size() == 0)
            std::shuffle(drawnKinds.begin(), drawnKinds.end(), random);
        if (i % drawnFamilies.size() == 0)
            std::shuffle(drawnFamilies.begin(), drawnFamilies.end(), random);
        const FaultDescription& fault = *drawnKinds[i % drawnKinds.size()];
        Family& family = *drawnFamilies[i % drawnFamilies.size()];
        const auto last = static_cast<unsigned>(lastEffective(fault, family.transfers));
        runFault(family, fault, static_cast<int>(random() % last) + 1);
    }
    for (const Family& family : families)
        printFamily(family);
}

void Matrix::runFault(Family& family, const FaultDescription& fault, int transfer)
{
    BenchOptions faulty = family.options;
    faulty.fast = !options.onKernelBus;
    faulty.speed = options.speed;
    faulty.onKernelBus = options.onKernelBus;
    faulty.fault = fault.fault;
    faulty.faultTransfer = transfer;
    const QString name =
        QStringLiteral("%1: %2@%3").arg(family.name, QLatin1String(fault.name)).arg(transfer);
    const std::optional<Result> result = runOne(faulty, name);
    ++family.faults;
    if (!result) {
        print(name + QStringLiteral(": wrong outcome"));
        return;
    }
    ++family.asExpected;
    const BenchRun::FaultOutcome& outcome = result->fault;
    if (!outcome.exception.isEmpty())
        ++exceptions[outcome.exception];
    if (options.sample > 0)
        print(QStringLiteral("%1: as expected (%2, error code %3)")
                  .arg(name, outcome.phase.isEmpty() ? QStringLiteral("did not strike") : outcome.phase)
                  .arg(outcome.errorCode));
}

std::vector<const FaultDescription*> Matrix::kinds() const
{
    std::vector<const FaultDescription*> all;
    for (const FaultDescription& fault : faultDescriptions()) {
        if (!options.onKernelBus || !fault.needsLayer)
            all.push_back(&fault);
    }
    return all;
}

void Matrix::printFamily(const Family& family) const
{
    print(QStringLiteral("%1: %2 transfers, %3 kinds of faults: %4 of %5 as expected")
              .arg(family.name)
              .arg(family.transfers.count)
              .arg(kinds().size())
              .arg(family.asExpected)
              .arg(family.faults));
}

bool Matrix::printTotals() const
{
    constexpr double msPerSecond = 1000;
    int asExpected = 0;
    int faults = 0;
    for (const Family& family : families) {
        asExpected += family.asExpected;
        faults += family.faults;
    }
    int excepted = 0;
    for (auto exception = exceptions.begin(); exception != exceptions.end(); ++exception) {
        print(QStringLiteral("success shown although %1: %2 (documented)")
                  .arg(exception.key())
                  .arg(*exception));
        excepted += *exception;
    }
    print(QStringLiteral("the window was right about both devices: %1 of %2; "
                         "success shown although a memory differs: %3 (documented); wrong outcome: %4")
              .arg(asExpected - excepted)
              .arg(faults)
              .arg(excepted)
              .arg(faults - asExpected));
    print(QStringLiteral("faults: %1 of %2 as expected (%3 s)")
              .arg(asExpected)
              .arg(faults)
              .arg(static_cast<double>(timer.elapsed()) / msPerSecond, 0, 'f', 1));
    return faults > 0 && asExpected == faults;
}

} // namespace

int FaultMatrix::run(const BenchOptions& options)
{
    Matrix matrix(options);
    if (!matrix.countTransfers())
        return 1;
    if (options.sample > 0)
        matrix.runSample();
    else
        matrix.runAll();
    return matrix.printTotals() ? 0 : 1;
}
