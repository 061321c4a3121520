#include "faultmatrix.h"

#include <cstdio>
#include <deque>
#include <memory>

#include <QCoreApplication>
#include <QDir>
#include <QElapsedTimer>
#include <QEventLoop>
#include <QProcess>
#include <QRegularExpression>
#include <QTemporaryDir>
#include <QThread>

#include "benchoptions.h"
#include "benchrun.h"
#include "eventlog.h"
#include "faults.h"

namespace {

constexpr int allSurvived = 0;
constexpr int notAllSurvived = 1;
constexpr int imageBytes = 5000; // two chunks, the second one short

struct Count
{
    int survived = 0;
    int faults = 0;
};

QStringList families()
{
    QStringList names;
    for (const char* const device : {"transmitter", "headset"}) {
        for (const int chip : {12, 13}) {
            for (const int revision : {2, 3})
                names << QStringLiteral("%1-%2-%3").arg(QLatin1String(device)).arg(chip).arg(revision);
        }
    }
    return names;
}

void print(const QString& line)
{
    std::puts(line.toUtf8().constData());
    std::fflush(stdout);
}

/// Runs one update, and its repair where a fault is asked for. @return whether all went as it should.
bool survives(const BenchOptions& options, EventLog& log, int* transfers = nullptr)
{
    BenchRun run(options, log);
    if (!run.prepare())
        return false;
    QEventLoop loop;
    QObject::connect(&run, &BenchRun::finished, &loop, &QEventLoop::exit, Qt::QueuedConnection);
    run.drive();
    const bool isSurvived = loop.exec() == 0;
    if (transfers)
        *transfers =
            run.transfers(options.faultDevice == QLatin1String("transmitter") ? DeviceType::Transmitter
                                                                              : DeviceType::Headset);
    return isSurvived;
}

std::unique_ptr<QProcess> startFamily(const QString& family, int sample)
{
    auto process = std::make_unique<QProcess>();
    process->setProcessChannelMode(QProcess::MergedChannels);
    process->start(QCoreApplication::applicationFilePath(),
                   {QStringLiteral("--fault-matrix"), QStringLiteral("--family"), family,
                    QStringLiteral("--sample"), QString::number(sample)});
    return process;
}

/// Waits for a family's process and passes on what it printed. @return what its line tells.
Count endFamily(QProcess& process)
{
    process.waitForFinished(-1);
    const QString output = QString::fromUtf8(process.readAll()).trimmed();
    print(output);
    static const QRegularExpression counts(QStringLiteral("survived (\\d+) of (\\d+)$"));
    const QRegularExpressionMatch match = counts.match(output);
    const bool isComplete = process.exitStatus() == QProcess::NormalExit && match.hasMatch();
    return isComplete ? Count{match.captured(1).toInt(), match.captured(2).toInt()} : Count{0, 1};
}

} // namespace

int FaultMatrix::run(int sample)
{
    QElapsedTimer timer;
    timer.start();
    const auto atOnce = static_cast<std::size_t>(QThread::idealThreadCount());
    std::deque<std::unique_ptr<QProcess>> running;
    Count total;
    const auto endFirst = [&] {
        const Count count = endFamily(*running.front());
        running.pop_front();
        total.survived += count.survived;
        total.faults += count.faults;
    };
    for (const QString& family : families()) {
        if (running.size() == atOnce)
            endFirst();
        running.push_back(startFamily(family, sample));
    }
    while (!running.empty())
        endFirst();
    constexpr double msPerSecond = 1000;
    print(QStringLiteral("faults survived %1 of %2 (%3 s)")
              .arg(total.survived)
              .arg(total.faults)
              .arg(static_cast<double>(timer.elapsed()) / msPerSecond, 0, 'f', 1));
    return total.survived == total.faults ? allSurvived : notAllSurvived;
}

int FaultMatrix::runFamily(const QString& family, int sample, EventLog& log)
{
    const QTemporaryDir folder;
    const QStringList parts = family.split(QLatin1Char('-'));
    if (!families().contains(family) || !folder.isValid())
        return notAllSurvived;
    BenchOptions options;
    options.fast = true;
    options.faultDevice = parts[0];
    options.chipId = parts[1].toInt();
    options.revision = parts[2].toInt();
    options.imageBytes = imageBytes;
    log.setQuiet(true);

    int transfers = 0;
    if (!survives(options, log, &transfers)) {
        print(log.takeLines().join(QLatin1Char('\n')));
        return notAllSurvived;
    }
    Count count;
    for (const FaultDescription& fault : faultDescriptions()) {
        for (int transfer = 1; transfer <= transfers; transfer += sample) {
            static_cast<void>(log.takeLines());
            options.faultName = QLatin1String(fault.name);
            options.faultTransfer = transfer;
            const bool isSurvived = survives(options, log);
            ++count.faults;
            count.survived += isSurvived ? 1 : 0;
            if (!isSurvived)
                print(QStringLiteral("%1: %2@%3\n").arg(family, QLatin1String(fault.name)).arg(transfer) +
                      log.takeLines().join(QLatin1Char('\n')));
        }
    }
    print(QStringLiteral("%1: %2 transfers, %3 faults at each: survived %4 of %5")
              .arg(family)
              .arg(transfers)
              .arg(faultDescriptions().size())
              .arg(count.survived)
              .arg(count.faults));
    return count.survived == count.faults ? allSurvived : notAllSurvived;
}
