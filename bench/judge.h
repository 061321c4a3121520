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

/// Checks after an update whether it ended as it must: the devices' memories, the outcome that the user sees
/// and whether that outcome is true, failed transfers, delays, progress bars, audio settings and open
/// devices. Call it on the GUI thread unless noted.
class Judge
{
public:
    /// What the judge examines. The objects in the scene must outlive the judge.
    struct Scene
    {
        SimulatedMachine& machine;
        SimulatedPair& pair;
        const QMap<DeviceType, std::vector<std::uint8_t>>& images;
        bool isTimeVirtual; ///< if true, noteSleep() reports every wait, and delays are checked to the ms
        EventLog& log;
    };
    explicit Judge(const Scene& judged);

    /// Notes that an update starts with @p fault armed for @p faulty.
    void start(Fault fault, DeviceType faulty);

    /// Notes that the calling thread sleeps for @p ms milliseconds. Any thread.
    void noteSleep(std::uint32_t ms);
    /// Notes that the calling thread has started @p phase of the update of the device @p type. Any thread.
    void notePhase(DeviceType type, Phase phase);

    /// Judges the update that has ended, and logs the verdicts.
    /// @return a complaint for each difference from the expected outcome.
    QStringList complaints(const Outcome& outcome) const;

    /// The documented exception that allows the updater to show success although a memory differs from the
    /// image; empty if the shown outcome is true of both devices.
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
    /// How long the device's thread had slept when it started to configure the chip.
    std::map<DeviceType, std::int64_t> startedMs;
    /// How long the device's thread slept from then until the end of programming.
    std::map<DeviceType, std::int64_t> programmedMs;
};
