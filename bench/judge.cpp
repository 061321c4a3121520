#include "judge.h"

#include <QCoreApplication>
#include <QThreadPool>

#include "eventlog.h"
#include "simulatedaudioendpoints.h"
#include "verdict.h"

namespace {

QString windowText(const char* text)
{
    return QCoreApplication::translate("MainWindow", text);
}

/// @return whether @p fault requests an orderly removal. The transfer at which such a fault strikes succeeds,
/// because the request takes effect only after the transfer.
bool isWithdrawal(Fault fault)
{
    return fault == Fault::Removed || fault == Fault::RemovalRefused;
}

QString resultText(bool isSuccess)
{
    return QCoreApplication::translate(
        "FlashingDialog",
        isSuccess ? "Device has been successfully updated."
                  : "Update cannot proceed. Make sure your device is connected properly and try again.");
}

/// The error codes that the updater may report, such as "1" or "0 or 1".
QString expectedCodes(const Expectation& expected)
{
    const bool hasChoice = expected.maySucceed && expected.errorCode != 0;
    return (hasChoice ? QStringLiteral("0 or %1") : QStringLiteral("%1")).arg(expected.errorCode);
}

/// How many transfers may fail in programming mode, such as "1", "0 to 1" or "at least 1".
QString expectedTransfers(const Expectation& expected)
{
    const int least = expected.lostTransfers;
    const int most = expected.mostLostTransfers;
    if (most == least)
        return QString::number(least);
    if (most == Expectation::anyNumber)
        return QStringLiteral("at least %1").arg(least);
    return QStringLiteral("%1 to %2").arg(least).arg(most);
}

} // namespace

Judge::Judge(const Scene& judged)
    : scene(judged)
{
}

void Judge::start(Fault fault, DeviceType faulty)
{
    armed = fault;
    faultyType = faulty;
    for (const DeviceType type : scene.images.keys())
        versionBefore[type] = Verdict::versionOf(scene.pair.device(type).memory());
    endpointsBefore = defaultEndpoints();
    linesBefore = scene.log.lines().size();
    restoredBefore = scene.machine.audioEndpoints().defaultsSet().size();
    const std::lock_guard<std::mutex> guard(mutex);
    startedMs.clear();
    programmedMs.clear();
}

void Judge::noteSleep(std::uint32_t ms)
{
    const std::lock_guard<std::mutex> guard(mutex);
    sleptMs[std::this_thread::get_id()] += ms;
}

void Judge::notePhase(DeviceType type, Phase phase)
{
    const std::lock_guard<std::mutex> guard(mutex);
    const std::int64_t nowMs = sleptMs[std::this_thread::get_id()];
    if (phase == Phase::Configure)
        startedMs[type] = nowMs;
    else if (phase == Phase::FinalWait && startedMs.count(type) > 0)
        programmedMs[type] = nowMs - startedMs[type];
}

QStringList Judge::complaints(const Outcome& outcome) const
{
    QThreadPool::globalInstance()->waitForDone(); // one of its threads may still restart the service
    QStringList all{complaintAboutReport(outcome), complaintAboutComputer()};
    for (auto image = scene.images.cbegin(); image != scene.images.cend(); ++image) {
        const DeviceType type = image.key();
        const Outcome::Device device = outcome.devices[type];
        const QString error = device.errorCode == 0 ? QStringLiteral("no error")
                                                    : QStringLiteral("error code %1").arg(device.errorCode);
        const std::string verdict =
            versionBefore[type] + " -> " + Verdict::text(scene.pair.device(type).memory(), *image);
        scene.log.add(
            QStringLiteral("verdict: %1: %2, %3").arg(nameOf(type), QString::fromStdString(verdict), error));
        all << complaintsAbout(type, device);
    }
    all.removeAll(QString());
    return all;
}

QString Judge::exception(const Outcome& outcome) const
{
    for (auto device = outcome.devices.begin(); device != outcome.devices.end(); ++device) {
        if (device->errorCode == 0 && !isMemoryWhole(device.key()))
            return QLatin1String(expectationFor(device.key()).exception);
    }
    return QString();
}

Expectation Judge::expectationFor(DeviceType type) const
{
    return ::expectationFor(type == faultyType ? armed : Fault::None, scene.pair.device(type).struckAt(),
                            Verdict::commits(scene.images[type]), !scene.isTimeVirtual);
}

bool Judge::isMemoryWhole(DeviceType type) const
{
    return !Verdict::firstDifference(scene.pair.device(type).memory(), scene.images[type]);
}

QStringList Judge::complaintsAbout(DeviceType type, const Outcome::Device& device) const
{
    const bool isSuccess = device.errorCode == 0;
    const Expectation expected = expectationFor(type);
    QStringList all{complaintAboutLog(type, expected), complaintAboutTruth(type, isSuccess)};
    const auto require = [&](bool isRight, const QString& complaint) {
        if (!isRight)
            all << nameOf(type) + QStringLiteral(": ") + complaint;
    };
    require(device.errorCode == expected.errorCode || (isSuccess && expected.maySucceed),
            QStringLiteral("error code %1, expected %2").arg(device.errorCode).arg(expectedCodes(expected)));
    require(device.isBarFull == isSuccess, QStringLiteral("the progress bar does not match the outcome"));
    require(device.text == resultText(isSuccess), QStringLiteral("the dialog says: ") + device.text);
    if (!scene.isTimeVirtual)
        return all;
    const std::lock_guard<std::mutex> guard(mutex);
    const auto time = programmedMs.find(type);
    const bool isAnnounced = time != programmedMs.end();
    require(isAnnounced || !isSuccess || expected.lostTransfers > 0,
            QStringLiteral("the end of programming was not announced"));
    if (!isAnnounced)
        return all;
    const std::int64_t expectedMs = Verdict::programmingDelaysMs(type, scene.images[type]);
    require(time->second == expectedMs,
            QStringLiteral("the delays total %1 ms, expected %2 ms").arg(time->second).arg(expectedMs));
    return all;
}

/// Apart from the documented exceptions, the updater may show success only if the memory equals the image.
/// The updater must not show failure for a device that runs the new firmware.
QString Judge::complaintAboutTruth(DeviceType type, bool isSuccess) const
{
    const bool isWhole = isMemoryWhole(type);
    if (isSuccess && !isWhole && !expectationFor(type).exception)
        return QStringLiteral("%1: success is shown, but the memory differs from the image")
            .arg(nameOf(type));
    if (!isSuccess && isWhole && !scene.pair.device(type).isProgramming())
        return QStringLiteral("%1: failure is shown, but the device runs the new firmware").arg(nameOf(type));
    return QString();
}

/// The log must name every transfer that failed in programming mode. In the log, transfer 1 is the first
/// transfer in that mode.
QString Judge::complaintAboutLog(DeviceType type, const Expectation& expected) const
{
    const QString logged = type == DeviceType::Transmitter ? QStringLiteral("Transmitter: Transfer ")
                                                           : QStringLiteral("Headset: Transfer ");
    const QStringList lines = scene.log.lines().mid(linesBefore).filter(logged);
    if (lines.size() < expected.lostTransfers || lines.size() > expected.mostLostTransfers)
        return QStringLiteral("%1: the log names %2 failed transfers, expected %3")
            .arg(nameOf(type))
            .arg(lines.size())
            .arg(expectedTransfers(expected));
    if (lines.isEmpty())
        return QString();
    const int leaving = 1; // number of transfers before programming mode
    const int number = scene.pair.device(type).struckAt()->count - leaving + (isWithdrawal(armed) ? 1 : 0);
    return lines.first().contains(logged + QStringLiteral("%1 did not").arg(number))
               ? QString()
               : QStringLiteral("%1: the log does not name transfer %2 as the first failed transfer")
                     .arg(nameOf(type))
                     .arg(number);
}

/// If an update failed, the report must say that a device was disconnected, because every error that a fault
/// can cause counts as a lost connection. If no update failed, there must be no report.
QString Judge::complaintAboutReport(const Outcome& outcome) const
{
    const bool isFailed = std::any_of(outcome.devices.begin(), outcome.devices.end(),
                                      [](const Outcome::Device& device) { return device.errorCode != 0; });
    const QString lost =
        QStringLiteral("%1\n%2\n")
            .arg(windowText("Update was unsuccessful."),
                 windowText("One or both of your devices have been disconnected. Please "
                            "reconnect your devices to restart the firmware update process."));
    if (outcome.report == (isFailed ? lost : QString()))
        return QString();
    return QStringLiteral("the screen says: %1").arg(outcome.report.simplified());
}

/// The audio service must run. The updater must have restored the default audio endpoints. No device
/// may be open.
QString Judge::complaintAboutComputer() const
{
    if (scene.machine.serviceManager().state(L"audiosrv") != SERVICE_RUNNING)
        return QStringLiteral("the audio service does not run");
    if (defaultEndpoints() != endpointsBefore ||
        scene.machine.audioEndpoints().defaultsSet().size() == restoredBefore)
        return QStringLiteral("the default endpoints were not restored");
    if (scene.machine.deviceTree().openFileCount() > 0)
        return QStringLiteral("a device is still open");
    return QString();
}

/// @return the identifiers of the default endpoints, ordered by flow and role.
QStringList Judge::defaultEndpoints() const
{
    QStringList all;
    for (const EDataFlow flow : {eRender, eCapture}) {
        for (const ERole role : {eConsole, eMultimedia, eCommunications}) {
            const auto endpoint = scene.machine.audioEndpoints().defaultEndpoint(flow, role);
            all << (endpoint ? QString::fromStdWString(endpoint->id) : QString());
        }
    }
    return all;
}
