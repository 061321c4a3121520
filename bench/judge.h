#pragma once

#include <map>
#include <mutex>
#include <optional>
#include <thread>

#include <QMap>
#include <QStringList>

#include "simulatedpair.h"
#include "userdriver.h"

class EventLog;

/// Tells whether an update ended as it had to: the devices' bytes, the outcome told to the user, what was
/// still sent to a lost device, how long was waited, the progress, and the computer's sound. GUI thread,
/// unless said otherwise.
class Judge
{
public:
    /// What is judged; it has to live as long as the judge.
    struct Scene
    {
        SimulatedMachine& machine;
        SimulatedPair& pair;
        const QMap<DeviceType, std::vector<std::uint8_t>>& images;
        bool isTimeVirtual; ///< every wait is told to noteSleep(), and counts to the millisecond
        EventLog& log;
    };
    explicit Judge(const Scene& judged);

    /// An update begins, with @p fault armed for @p faulty.
    void begin(std::optional<Fault> fault, DeviceType faulty);

    /// The calling thread sleeps. Any thread.
    void noteSleep(std::uint32_t ms);
    /// The calling thread has begun a phase of the device's update. Any thread.
    void notePhase(DeviceType type, Phase phase);

    /// Looks at the update that has ended.
    /// @return what is not as it had to be; the verdicts are logged.
    QStringList complaints(const Outcome& outcome) const;

private:
    QStringList complaintsAbout(DeviceType type, const Outcome::Device& device) const;
    QString complaintAboutLog(DeviceType type, int lostTransfers) const;
    QString complaintAboutReport(const Outcome& outcome) const;
    QString complaintAboutComputer() const;
    QStringList defaultEndpoints() const;

    const Scene scene;
    std::optional<Fault> armed;
    DeviceType faultyType = DeviceType::Unknown;
    QMap<DeviceType, std::vector<std::uint8_t>> before; ///< the memories
    QStringList endpointsBefore;
    std::size_t restoredBefore = 0;
    int linesBefore = 0;

    mutable std::mutex mutex; ///< guards what follows
    std::map<std::thread::id, std::int64_t> sleptMs;
    std::map<DeviceType, std::int64_t> begunMs; ///< what its thread had slept when its chip was configured
    std::map<DeviceType, std::int64_t> programmedMs; ///< slept from then to the end-of-programming request
};
