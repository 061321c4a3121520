#include "judge.h"

#include <QCoreApplication>
#include <QThreadPool>

#include "archivebuilder.h"
#include "eventlog.h"
#include "userdriver.h"
#include "verdict.h"

namespace {

constexpr int roles = 3;

QString complaint(DeviceType type, const char* text)
{
    return QStringLiteral("%1: %2").arg(nameOf(type), QLatin1String(text));
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
    defaultsBefore = defaults();
    linesBefore = scene.log.lineCount();
    restoredBefore = scene.machine.audioEndpoints().defaultsSet().size();
}

QStringList Judge::complaints(const QMap<DeviceType, int>& errors, const QString& report,
                              const UserDriver& driver)
{
    QThreadPool::globalInstance()->waitForDone(); // the sound comes back on a thread of its own
    QStringList all{complaintAboutTexts(errors, report, driver), complaintAboutComputer()};
    for (auto image = scene.images.cbegin(); image != scene.images.cend(); ++image) {
        const DeviceType type = image.key();
        const int code = errors.value(type);
        const QString error =
            code == 0 ? QStringLiteral("no error") : QStringLiteral("error code %1").arg(code);
        const std::string verdict =
            Verdict::text(before[type], scene.pair.device(type).memory(), bytesOf(*image));
        scene.log.add(
            QStringLiteral("verdict: %1: %2, %3").arg(nameOf(type), QString::fromStdString(verdict), error));
        if (image->isEmpty())
            continue;
        const Expectation expected = expectationOf(type);
        all << complaintAbout(type, code, expected) << complaintAboutLog(type, expected);
        if (driver.isBarFull(type) != (code == 0))
            all << complaint(type, "the progress bar does not tell how it went");
    }
    all.removeAll(QString());
    return all;
}

Expectation Judge::expectationOf(DeviceType type) const
{
    if (!armed || type != faultyType)
        return {};
    return expectationFor(armed, scene.pair.device(type).struckAt(),
                          Verdict::commits(bytesOf(scene.images[type])));
}

QString Judge::complaintAbout(DeviceType type, int errorCode, const Expectation& expected) const
{
    const std::vector<std::uint8_t> image = bytesOf(scene.images[type]);
    if (errorCode != expected.errorCode)
        return complaint(type, "not the expected error code");
    if (errorCode == 0 && expected.isMemoryWhole &&
        Verdict::firstDifference(scene.pair.device(type).memory(), image))
        return complaint(type, "the memory is not the image");
    if (!scene.times)
        return QString();
    const auto time = scene.times->of(type);
    if (time && *time != Verdict::programmingDelaysMs(type, image))
        return QStringLiteral("%1: %2 ms were waited").arg(nameOf(type)).arg(*time);
    if (errorCode == 0 && !time && expected.lostTransfers == 0)
        return complaint(type, "the end of programming was not announced");
    return QString();
}

/// Every transfer that did not get through while the device was programmed is told, by its number there.
QString Judge::complaintAboutLog(DeviceType type, const Expectation& expected) const
{
    const QString name =
        type == DeviceType::Transmitter ? QStringLiteral("Transmitter") : QStringLiteral("Headset");
    const QStringList lines = scene.log.linesWith(name + QStringLiteral(": Transfer "), linesBefore);
    // In real time some may still be under way when the loss is told.
    if (scene.times ? lines.size() != expected.lostTransfers : lines.size() < expected.lostTransfers)
        return QStringLiteral("%1: %2 transfers did not get through").arg(nameOf(type)).arg(lines.size());
    if (lines.isEmpty())
        return QString();
    const int number = scene.pair.device(type).struckAt()->count - 1; // the first made it leave its mode
    const bool isTold =
        lines.first().contains(QStringLiteral(": Transfer %1 did not get through").arg(number));
    return isTold ? QString() : complaint(type, "another transfer is told than the one that failed");
}

/// Every failure that a fault can bring about is one of the connection.
QString Judge::complaintAboutTexts(const QMap<DeviceType, int>& errors, const QString& report,
                                   const UserDriver& driver) const
{
    const auto ofWindow = [](const char* text) { return QCoreApplication::translate("MainWindow", text); };
    const auto ofDialog = [](const char* text) {
        return QCoreApplication::translate("FlashingDialog", text);
    };
    const QString lost = QStringLiteral("%1\n%2\n")
                             .arg(ofWindow("Update was unsuccessful."),
                                  ofWindow("One or both of your devices have been disconnected. Please "
                                           "reconnect your devices to restart the firmware update process."));
    if (report != (errors.isEmpty() ? QString() : lost))
        return QStringLiteral("the screen says: %1").arg(report.simplified());
    const QString success = ofDialog("Device has been successfully updated.");
    const QString advice =
        ofDialog("Update cannot proceed. Make sure your device is connected properly and try again.");
    for (auto image = scene.images.cbegin(); image != scene.images.cend(); ++image) {
        const QString result = driver.resultTexts().value(image.key());
        if (!image->isEmpty() && result != (errors.contains(image.key()) ? advice : success))
            return QStringLiteral("%1: the dialog says: %2").arg(nameOf(image.key()), result);
    }
    return QString();
}

/// The sound is as it was, and nothing is open any more.
QString Judge::complaintAboutComputer() const
{
    if (scene.machine.serviceManager().state(L"audiosrv") != SERVICE_RUNNING)
        return QStringLiteral("the audio service does not run");
    if (defaults() != defaultsBefore || scene.machine.audioEndpoints().defaultsSet().size() == restoredBefore)
        return QStringLiteral("the default endpoints were not restored");
    if (scene.machine.deviceTree().openFileCount() > 0)
        return QStringLiteral("a device is still open");
    return QString();
}

Judge::Defaults Judge::defaults() const
{
    Defaults all;
    for (const EDataFlow flow : {eRender, eCapture}) {
        for (int role = 0; role < roles; ++role) {
            const auto endpoint =
                scene.machine.audioEndpoints().defaultEndpoint(flow, static_cast<ERole>(role));
            all[flow * roles + role] = endpoint ? QString::fromStdWString(endpoint->id) : QString();
        }
    }
    return all;
}
