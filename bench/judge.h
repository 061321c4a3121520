#pragma once

#include <optional>

#include <QMap>
#include <QStringList>

#include "expectation.h"
#include "programmingtimes.h"
#include "simulatedpair.h"

class EventLog;
class UserDriver;

/// Tells whether an update ended as it had to: the devices' bytes, the outcome told to the user, what was
/// still sent to a lost device, how long was waited, the progress, and the computer's sound. GUI thread.
class Judge
{
public:
    /// What is judged; it has to live as long as the judge.
    struct Scene
    {
        SimulatedMachine& machine;
        SimulatedPair& pair;
        const QMap<DeviceType, QByteArray>& images;
        const ProgrammingTimes* times; ///< null where time is not virtual
        EventLog& log;                 ///< with the updater's own log in it, where that is kept
    };
    explicit Judge(const Scene& judged);

    /// An update begins, with @p fault armed for @p faulty.
    void begin(std::optional<Fault> fault, DeviceType faulty);

    /// Looks at the update that has ended. @param report  the failure report on the screen; empty where it
    /// shows the pairing instructions.
    /// @return what is not as it had to be; the verdicts are logged.
    QStringList complaints(const QMap<DeviceType, int>& errors, const QString& report,
                           const UserDriver& driver);

private:
    QString complaintAbout(DeviceType type, int errorCode, const Expectation& expected) const;
    QString complaintAboutLog(DeviceType type, const Expectation& expected) const;
    QString complaintAboutTexts(const QMap<DeviceType, int>& errors, const QString& report,
                                const UserDriver& driver) const;
    QString complaintAboutComputer() const;
    Expectation expectationOf(DeviceType type) const;

    using Defaults = QMap<int, QString>; ///< endpoints by flow and role
    Defaults defaults() const;

    const Scene scene;
    std::optional<Fault> armed;
    DeviceType faultyType = DeviceType::Unknown;
    QMap<DeviceType, std::vector<std::uint8_t>> before; ///< the memories
    Defaults defaultsBefore;
    std::size_t restoredBefore = 0;
    int linesBefore = 0;
};
