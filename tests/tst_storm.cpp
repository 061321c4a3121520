// Both devices come and go as fast as the layer delivers it, while detection stops and starts: the
// controller's picture ends as the machine is, and nothing is left over.
//   TST_STORM_SEED  the seed of an earlier run, to repeat its events

#include <algorithm>
#include <future>
#include <random>
#include <thread>

#include <malloc.h>
#include <unistd.h>

#include "devicecontroller.h"
#include "imagebuilder.h"
#include "layerbus.h"
#include "openobjects.h"
#include "simulatedchannel.h"
#include "simulatedmachine.h"
#include "waiting.h"

namespace {

constexpr int eventCount = 10000;
constexpr int warmUpEvents = 1000;
constexpr int lastToggle = 7000;   // detection goes on from there, so that what a detection keeps would show
constexpr int eventsPerPause = 50; // then everything is heard of, so that no report waits long

/// Knows no delays and, unlike a clock that is examined, keeps no record: memory stays flat.
class HurriedClock : public VirtualClock
{
public:
    void sleep(std::uint32_t) override { std::this_thread::yield(); }
};

SimulatedDevice::Setup deviceOf(DeviceType type)
{
    const auto image =
        ImageBuilder::build(type == Transmitter ? ImageBuilder::transmitter(2) : ImageBuilder::headset());
    return {SimulatedChip::hardwareFor(type, 12, 3, image), image, type, {}};
}

std::string statusLine(const char* key)
{
    QFile file(QStringLiteral("/proc/self/status"));
    const bool isOpen = file.open(QIODevice::ReadOnly);
    const QByteArrayList lines = isOpen ? file.readAll().split('\n') : QByteArrayList();
    const auto line =
        std::find_if(lines.begin(), lines.end(), [&](const QByteArray& l) { return l.startsWith(key); });
    return line == lines.end() ? std::string() : line->mid(int(qstrlen(key))).simplified().toStdString();
}

int threadCount()
{
    return std::stoi(statusLine("Threads:"));
}

int usedKilobytes()
{
    constexpr std::size_t bytesPerKilobyte = 1024;
    return static_cast<int>(mallinfo2().uordblks / bytesPerKilobyte);
}

std::uint32_t seed()
{
    bool isGiven = false;
    const uint given = qEnvironmentVariable("TST_STORM_SEED").toUInt(&isGiven);
    return isGiven ? given : std::random_device()();
}

} // namespace

class TestStorm : public QObject
{
    Q_OBJECT

Q_SIGNALS:
    void detectionToToggle();
    void reached(std::promise<bool>* waiting);
    void over();

private Q_SLOTS:
    void thePictureEndsAsTheMachineIs();
    void memoryStaysFlat();

private:
    int kilobytesAfterWarmUp = 0;
    int kilobytesAtTheEnd = 0;
};

void TestStorm::thePictureEndsAsTheMachineIs()
{
    mallopt(M_ARENA_MAX, 1); // so that all of the memory is counted
    const std::uint32_t usedSeed = seed();
    qInfo("TST_STORM_SEED=%u", usedSeed);
    const QtMessageHandler previous =
        qInstallMessageHandler([](QtMsgType, const QMessageLogContext&, const QString&) {});
    const std::size_t handlesBefore = openHandleCount();
    const int threadsBefore = threadCount();
    {
        HurriedClock clock;
        SimulatedMachine machine(&clock);
        const ScopedMachine scope(machine);
        LayerBus bus(machine.deviceTree());
        SimulatedDevice transmitter(bus, sleepOn(clock), deviceOf(Transmitter));
        SimulatedDevice headset(bus, sleepOn(clock), deviceOf(Headset));
        SimulatedDevice* const devices[] = {&transmitter, &headset};
        DeviceController controller(nullptr);

        QMap<DeviceType, bool> told; // by the signals
        int disagreements = 0;
        int arrivals = 0;
        connect(&controller, &DeviceController::deviceArrived, this, [&](DeviceType type) {
            told[type] = true;
            ++arrivals;
            disagreements += controller.isConnected(type) ? 0 : 1;
        });
        connect(&controller, &DeviceController::deviceRemoved, this, [&](DeviceType type) {
            told[type] = false;
            disagreements += controller.isConnected(type) ? 1 : 0;
        });

        bool isDetecting = false;
        const auto toggleDetection = [&] {
            isDetecting ? controller.stopDetection() : controller.startDetection();
            isDetecting = !isDetecting;
            told.clear(); // all is forgotten without a signal
        };
        connect(this, &TestStorm::detectionToToggle, &controller, toggleDetection, Qt::QueuedConnection);
        // The storm pauses until what is there has been read, however slow the computer is.
        const auto areAllRead = [&] {
            return std::all_of(std::begin(devices), std::end(devices), [&](const SimulatedDevice* device) {
                const DeviceType type = device == &transmitter ? Transmitter : Headset;
                return !isDetecting || !device->isPluggedIn() || !controller.version(type).isEmpty();
            });
        };
        connect(
            this, &TestStorm::reached, &controller,
            [&](std::promise<bool>* waiting) { waiting->set_value(QTest::qWaitFor(areAllRead, patienceMs)); },
            Qt::QueuedConnection);
        connect(this, &TestStorm::over, qApp, &QCoreApplication::quit, Qt::QueuedConnection);
        toggleDetection();
        int unread = 0;
        std::thread storm([&] {
            std::mt19937 random(usedSeed);
            bool isOn = true;
            for (int event = 1; event <= eventCount; ++event) {
                SimulatedDevice* const device = devices[random() % 2];
                device->isPluggedIn() ? device->unplug() : device->plugIn();
                if (event < lastToggle ? random() % 40 == 0 : !isOn) {
                    isOn = !isOn;
                    Q_EMIT detectionToToggle();
                }
                if (random() % 4 == 0)
                    std::this_thread::sleep_for(std::chrono::microseconds(random() % 500));
                if (event % eventsPerPause == 0) {
                    std::promise<bool> waiting;
                    Q_EMIT reached(&waiting);
                    unread += waiting.get_future().get() ? 0 : 1;
                }
                if (event == warmUpEvents)
                    kilobytesAfterWarmUp = usedKilobytes();
            }
            kilobytesAtTheEnd = usedKilobytes();
            Q_EMIT over();
        });
        QCoreApplication::exec();
        storm.join();

        QVERIFY(isDetecting);
        for (const DeviceType type : {Transmitter, Headset}) {
            SimulatedDevice* const device = devices[type - Transmitter];
            const QString path = QString::fromStdWString(bus.channelPath(device->port())).toLower();
            const QString version = QLatin1String(device->isPluggedIn() ? "1.2.3" : "");
            TRY_COMPARE(controller.isConnected(type), device->isPluggedIn());
            TRY_COMPARE(controller.version(type), version);
            QCOMPARE(QString::fromStdWString(controller.deviceInstance(type).path), path);
            QCOMPARE(told.value(type), device->isPluggedIn());
        }
        QCOMPARE(disagreements, 0);
        QCOMPARE(unread, 0);
        QVERIFY2(arrivals > eventCount / 200, QByteArray::number(arrivals)); // many were read to the end
        controller.stopDetection();
        QCOMPARE(openHandleCount(), handlesBefore);
        QCOMPARE(machine.deviceTree().openFileCount(), std::size_t(0));
    }
    QVERIFY(QThreadPool::globalInstance()->waitForDone());
    TRY_COMPARE(threadCount(), threadsBefore);
    qInstallMessageHandler(previous);
}

void TestStorm::memoryStaysFlat()
{
    constexpr int tolerance = 256; // for what is under way and what the machine keeps of the last openings
    if (isSanitized)
        QSKIP("A sanitizer keeps freed memory for a while.");
    QVERIFY(kilobytesAtTheEnd > 0);
    qInfo("%d kB after %d events, %d kB after %d", kilobytesAfterWarmUp, warmUpEvents, kilobytesAtTheEnd,
          eventCount);
    QVERIFY2(kilobytesAtTheEnd < kilobytesAfterWarmUp + tolerance,
             QByteArray::number(kilobytesAtTheEnd - kilobytesAfterWarmUp));
}

QTEST_GUILESS_MAIN(TestStorm)

#include "tst_storm.moc"
