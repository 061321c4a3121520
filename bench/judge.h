#pragma once

#include <map>
#include <mutex>
#include <thread>

#include <QMap>
#include <QStringList>

#include "expectation.h"
#include "simulatedpair.h"
#include "userdriver.h"

class EventLog;

/// Checks the result of an update: the devices' memories, what the updater shows and whether that is true,
/// the logged transfer failures, the delays, the audio settings, and that no device is open. GUI thread
/// unless noted otherwise.
class Judge
{
public:
    /// What the judge examines. The objects in the scene must outlive the judge.
    struct Scene
    {
        SimulatedMachine& machine;
        SimulatedPair& pair;
        const QMap<DeviceType, std::vector<std::uint8_t>>& images;
        bool isTimeVirtual; ///< if true, the judge checks the delays to the millisecond
        EventLog& log;
    };
    explicit Judge(const Scene& judged);

    /// Records that an update starts and that @p fault is armed for the device @p faulty.
    void start(Fault fault, DeviceType faulty);

    /// Records that the calling thread sleeps for @p ms milliseconds. Any thread may call it.
    void noteSleep(std::uint32_t ms);
    /// Records that the calling thread has started @p phase of the update of the device @p type. Any thread
    /// may call it.
    void notePhase(DeviceType type, Phase phase);

    /// Judges the update that has ended, and logs the verdicts.
    /// @return a complaint for each difference from the expected outcome.
    QStringList complaints(const Outcome& outcome) const;

    /// @return the documented exception, if the updater showed success for a device whose memory differs from
    /// the image; otherwise an empty text.
    QString exception(const Outcome& outcome) const;

private:
    Expectation expectationFor(DeviceType type) const;
    bool isMemoryWhole(DeviceType type) const;
    QStringList complaintsAbout(DeviceType type, const Outcome::Device& device) const;
    QString complaintAboutTruth(DeviceType type, bool isSuccess) const;
    QString complaintAboutLog(DeviceType type, const Expectation& expected) const;
    QString complaintAboutReport(const Outcome& outcome) const;
    QString complaintAboutComputer() const;
    QStringList defaultEndpoints() const;

    const Scene scene;
    Fault armed = Fault::None;
    DeviceType faultyType = DeviceType::Unknown;
    QMap<DeviceType, std::string> versionBefore; ///< versions before the update
    QStringList endpointsBefore;
    std::size_t restoredBefore = 0;
    int linesBefore = 0;

    mutable std::mutex mutex; ///< guards what follows
    std::map<std::thread::id, std::int64_t> sleptMs;
    /// How long each device's thread had slept when the programming of the device started.
    std::map<DeviceType, std::int64_t> startedMs;
    /// How long each device's thread slept while the device was programmed.
    std::map<DeviceType, std::int64_t> programmedMs;
};
