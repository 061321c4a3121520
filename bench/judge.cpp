#include "judge.h"

#include <QCoreApplication>
#include <QThreadPool>

#include "eventlog.h"
#include "expectation.h"
#include "verdict.h"

namespace {

QString windowText(const char* text)
{
    return QCoreApplication::translate("MainWindow", text);
}

QString resultText(bool isSuccess)
{
    return QCoreApplication::translate(
        "FlashingDialog",
        isSuccess ? "Device has been successfully updated."
                  : "Update cannot proceed. Make sure your device is connected properly and try again.");
}

} // namespace

Judge::Judge(const Scene& judged)
    : scene(judged)
{
}

void Judge::begin(std::optional<Fault> fault, DeviceType faulty)
{
    armed = fault;
    faultyType = faulty;
    for (const DeviceType type : scene.images.keys())
        before[type] = scene.pair.device(type).memory();
    endpointsBefore = defaultEndpoints();
    linesBefore = scene.log.lines().size();
    restoredBefore = scene.machine.audioEndpoints().defaultsSet().size();
    const std::lock_guard<std::mutex> guard(mutex);
    begunMs.clear();
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
        begunMs[type] = nowMs;
    else if (phase == Phase::FinalWait && begunMs.count(type) > 0)
        programmedMs[type] = nowMs - begunMs[type];
}

QStringList Judge::complaints(const Outcome& outcome) const
{
    QThreadPool::globalInstance()->waitForDone(); // the sound comes back on a thread of its own
    QStringList all{complaintAboutReport(outcome), complaintAboutComputer()};
    for (auto image = scene.images.cbegin(); image != scene.images.cend(); ++image) {
        const DeviceType type = image.key();
        const Outcome::Device device = outcome.devices[type];
        const QString error = device.errorCode == 0 ? QStringLiteral("no error")
                                                    : QStringLiteral("error code %1").arg(device.errorCode);
        const std::string verdict = Verdict::text(before[type], scene.pair.device(type).memory(), *image);
        scene.log.add(
            QStringLiteral("verdict: %1: %2, %3").arg(nameOf(type), QString::fromStdString(verdict), error));
        if (!image->empty())
            all << complaintsAbout(type, device);
    }
    all.removeAll(QString());
    return all;
}

QStringList Judge::complaintsAbout(DeviceType type, const Outcome::Device& device) const
{
    SimulatedDevice& simulated = scene.pair.device(type);
    const std::vector<std::uint8_t> image = scene.images[type];
    const bool isSuccess = device.errorCode == 0;
    const Expectation expected = expectationFor(type == faultyType ? armed : std::nullopt,
                                                simulated.struckAt(), Verdict::commits(image));
    QStringList all{complaintAboutLog(type, expected.lostTransfers)};
    const auto require = [&](bool isRight, const QString& complaint) {
        if (!isRight)
            all << nameOf(type) + QStringLiteral(": ") + complaint;
    };
    require(device.errorCode == expected.errorCode, QStringLiteral("not the expected error code"));
    require(!isSuccess || !expected.isMemoryWhole || !Verdict::firstDifference(simulated.memory(), image),
            QStringLiteral("the memory is not the image"));
    require(device.isBarFull == isSuccess, QStringLiteral("the progress bar does not tell how it went"));
    require(device.text == resultText(isSuccess), QStringLiteral("the dialog says: ") + device.text);
    if (!scene.isTimeVirtual)
        return all;
    const std::lock_guard<std::mutex> guard(mutex);
    const auto time = programmedMs.find(type);
    const bool isAnnounced = time != programmedMs.end();
    require(isAnnounced || !isSuccess || expected.lostTransfers > 0,
            QStringLiteral("the end of programming was not announced"));
    require(!isAnnounced || time->second == Verdict::programmingDelaysMs(type, image),
            QStringLiteral("%1 ms were waited").arg(isAnnounced ? time->second : 0));
    return all;
}

/// Every transfer that did not get through while the device was programmed is told, by its number there.
QString Judge::complaintAboutLog(DeviceType type, int lostTransfers) const
{
    const QString told = type == DeviceType::Transmitter ? QStringLiteral("Transmitter: Transfer ")
                                                         : QStringLiteral("Headset: Transfer ");
    const QStringList lines = scene.log.lines().mid(linesBefore).filter(told);
    // In real time some may still be under way when the loss is told.
    const bool areMoreUnderWay = !scene.isTimeVirtual && lostTransfers > 0 && lines.size() > lostTransfers;
    if (lines.size() != lostTransfers && !areMoreUnderWay)
        return QStringLiteral("%1: %2 transfers did not get through").arg(nameOf(type)).arg(lines.size());
    if (lines.isEmpty())
        return QString();
    const int number = scene.pair.device(type).struckAt()->count - 1; // the first made it leave its mode
    const bool isFirstTold = lines.first().contains(told + QStringLiteral("%1 did not").arg(number));
    return isFirstTold ? QString()
                       : nameOf(type) + QStringLiteral(": another transfer is told than the one that failed");
}

/// Every failure that a fault can bring about is one of the connection.
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

/// The sound is as it was, and nothing is open any more.
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

/// @return their identifiers, by flow and role.
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
