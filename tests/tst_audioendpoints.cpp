// Tests on a simulated computer that the default audio endpoints are recorded and later restored.

#include <QtTest>

#include <windows.h>

#include <ole2.h>

#include "audioendpointskeeper.h"
#include "computer.h"
#include "leavesnothing.h"
#include "simulatedaudioendpoints.h"
#include "table.h"

using Endpoints = std::vector<AudioEndpoint>;
Q_DECLARE_METATYPE(Endpoints)

namespace {

struct AudioComputer : Computer
{
    SimulatedAudioEndpoints& endpoints = machine.audioEndpoints();
};

QByteArray defaultsSetOn(const SimulatedAudioEndpoints& endpoints)
{
    QByteArrayList list;
    for (const auto& set : endpoints.defaultsSet())
        list << QString::fromStdWString(set.id).toLatin1() + QByteArray::number(set.role);
    return list.join(' ');
}

} // namespace

class TestAudioEndpoints : public LeavesNothing
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase() { QCOMPARE(OleInitialize(nullptr), S_OK); }

    void defaultsComeBackByTheirAdaptersNames_data();
    void defaultsComeBackByTheirAdaptersNames();
    void aFailedComCallLosesOnlyTheDefaultsItConcerns_data();
    void aFailedComCallLosesOnlyTheDefaultsItConcerns();
};

void TestAudioEndpoints::defaultsComeBackByTheirAdaptersNames_data()
{
    constexpr DWORD disabled = DEVICE_STATE_DISABLED, unplugged = DEVICE_STATE_UNPLUGGED,
                    gone = DEVICE_STATE_NOTPRESENT;
    // After the defaults are recorded, the endpoints in the column "later" are added, or get a new state.
    const Table<Endpoints, Endpoints, QByteArray> table("endpoints", "later", "restored");

    table.row("each in its roles", {{L"s", L"Speakers"}, {L"console", L"Headset"}}, {}, "s1 s2 console0");
    table.row("playback first", {{L"c", L"Headset", eCapture}, {L"r", L"Headset"}}, {}, "r0 r1 r2 c0 c1 c2");
    table.row("number in front", {{L"r", L"2- USB Audio Device"}}, {}, "");
    table.row("number in front is gone", {{L"r", L"2- USB Audio Device"}}, {{L"u", L"USB Audio Device"}},
              "u0 u1 u2");
    table.row("number behind", {{L"r", L"Speakers 2"}}, {{L"u", L"Speakers"}, {L"v", L"Speakers "}},
              "v0 v1 v2");
    table.row("mark in front", {{L"r", L"(R) Speakers"}}, {{L"u", L"Speakers"}, {L"v", L"R"}}, "v0 v1 v2");
    table.row("no letters", {{L"r", L"\u8033\u673a"}}, {{L"u", L""}}, "u0 u1 u2");
    table.row("case counts", {{L"r", L"2-usb audio"}}, {{L"u", L"USB audio"}}, "");
    table.row("same name twice", {{L"q", L"Headset", eRender, disabled}, {L"r", L"Headset"}}, {}, "q0 q1 q2");
    table.row("unplugged", {{L"r", L"Headset"}}, {{L"r", {}, eRender, unplugged}, {L"u", L"Headset"}},
              "r0 r1 r2");
    table.row("gone", {{L"r", L"Headset"}}, {{L"r", {}, eRender, gone}, {L"u", L"Headset"}}, "u0 u1 u2");
    table.row("playback without default",
              {{L"r", L"Headset", eRender, disabled}, {L"c", L"Headset", eCapture}}, {}, "c0 c1 c2");
}

void TestAudioEndpoints::defaultsComeBackByTheirAdaptersNames()
{
    QFETCH(Endpoints, endpoints);
    QFETCH(Endpoints, later);
    QFETCH(QByteArray, restored);
    AudioComputer computer;
    for (const AudioEndpoint& endpoint : endpoints)
        computer.endpoints.add(endpoint);
    computer.endpoints.chooseDefault(L"console", eConsole);
    auto keeper = std::make_unique<AudioEndpointsKeeper>();
    for (const AudioEndpoint& endpoint : later) {
        if (endpoint.state == DEVICE_STATE_ACTIVE)
            computer.endpoints.add(endpoint);
        else
            computer.endpoints.setState(endpoint.id, endpoint.state);
    }
    QCOMPARE(defaultsSetOn(computer.endpoints), QByteArray());
    keeper->restore();
    QCOMPARE(defaultsSetOn(computer.endpoints), restored);
    keeper.reset();
    QCOMPARE(defaultsSetOn(computer.endpoints), restored.isEmpty() ? restored : restored + ' ' + restored);
}

void TestAudioEndpoints::aFailedComCallLosesOnlyTheDefaultsItConcerns_data()
{
    // Text n in "lost" belongs to call n of the function. If that call fails, all defaults whose names start
    // with the text are lost. "-" means that none is lost.
    const Table<QByteArrayList> table("lost");
    const auto row = [&table](const char* function, const QByteArray& lost) {
        table.row(function, lost.split(' '));
    };
    row("MMDeviceEnumerator", "r c r c");
    row("PolicyConfigurationClient", "r0 r1 r2 c0 c1 c2");
    row("OleRun", "r c r r0 r1 r2 c c0 c1 c2");
    row("QueryInterface", "r c r r0 r1 r2 c c0 c1 c2");
    row("GetDefaultAudioEndpoint", "r0 r1 r2 c0 c1 c2");
    row("EnumAudioEndpoints", "r c");
    row("GetCount", "r c");
    row("Item", "- r c");
    row("OpenPropertyStore", "r0 r1 r2 c0 c1 c2 - r c");
    row("GetValue", "r0 r1 r2 c0 c1 c2 - r c");
    row("GetId", "r c");
    row("SetDefaultEndpoint", "r0 r1 r2 c0 c1 c2");
}

void TestAudioEndpoints::aFailedComCallLosesOnlyTheDefaultsItConcerns()
{
    const std::string function = QTest::currentDataTag();
    QFETCH(QByteArrayList, lost);
    const auto keepDefaults = [](SimulatedAudioEndpoints& endpoints) {
        endpoints.add({L"m", L"Monitor"});
        endpoints.add({L"r", L"Speakers"});
        endpoints.add({L"c", L"Microphone", eCapture});
        endpoints.add({L"n", L"Not looked at"}); // the search ends at the last default, before this endpoint
        for (const ERole role : {eConsole, eMultimedia, eCommunications})
            endpoints.chooseDefault(L"r", role);
        {
            const AudioEndpointsKeeper keeper;
        }
    };

    AudioComputer healthy;
    keepDefaults(healthy.endpoints);
    QCOMPARE(healthy.machine.faults.counted(function), lost.size());
    QCOMPARE(defaultsSetOn(healthy.endpoints), QByteArray("r0 r1 r2 c0 c1 c2"));

    // S_FALSE means success without a result. OleRun() has no result anyway, so nothing is lost if
    // OleRun() returns S_FALSE.
    for (const HRESULT result : {E_FAIL, S_FALSE}) {
        for (int nth = 1; nth <= lost.size(); ++nth) {
            AudioComputer computer;
            computer.machine.faults.fail(function, nth, static_cast<DWORD>(result));
            keepDefaults(computer.endpoints);
            const bool losesNothing = function == "OleRun" && result == S_FALSE;
            QByteArrayList expected;
            for (const QByteArray& each : defaultsSetOn(healthy.endpoints).split(' ')) {
                if (losesNothing || !each.startsWith(lost[nth - 1]))
                    expected << each;
            }
            QCOMPARE(defaultsSetOn(computer.endpoints), expected.join(' '));
        }
    }
}

QTEST_GUILESS_MAIN(TestAudioEndpoints)

#include "tst_audioendpoints.moc"
