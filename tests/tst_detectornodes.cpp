// Which device nodes the detector reports, and how it reads their properties.

#include "detectorfixture.h"
#include "leavesnothing.h"

Q_DECLARE_METATYPE(SystemCall)
Q_DECLARE_METATYPE(GUID)

namespace {

/// GUID_DEVINTERFACE_USB_DEVICE.
constexpr GUID usbInterfaceClass = {
    0xA5DCBF10, 0x6530, 0x11D2, {0x90, 0x1F, 0x00, 0xC0, 0x4F, 0xB9, 0x51, 0xED}};

} // namespace

class TestDetectorNodes : public LeavesNothing
{
    Q_OBJECT

private Q_SLOTS:
    void aFilterMatches_data();
    void aFilterMatches();
    void theHardwareIdGivesTheIdentity_data();
    void theHardwareIdGivesTheIdentity();
    void aNodeThatCannotBeReadIsSkipped_data();
    void aNodeThatCannotBeReadIsSkipped();
    void aDeviceThatCouldNotBeReadIsReadAtItsNextBroadcast_data();
    void aDeviceThatCouldNotBeReadIsReadAtItsNextBroadcast();
};

void TestDetectorNodes::aFilterMatches_data()
{
    QTest::addColumn<int>("vendorId");
    QTest::addColumn<int>("productId");
    QTest::addColumn<bool>("isHid");
    QTest::addColumn<bool>("isMatch");
    QTest::newRow("itself") << 0x7A31 << 4 << true << true;
    QTest::newRow("any vendor") << 0 << 4 << true << true;
    QTest::newRow("any product") << 0x7A31 << 0 << true << true;
    QTest::newRow("any device") << 0 << 0 << true << true;
    QTest::newRow("other vendor") << 0x170D << 0 << true << false;
    QTest::newRow("other product") << 0 << 3 << true << false;
    QTest::newRow("other kind") << 0x7A31 << 4 << false << false;
}

void TestDetectorNodes::aFilterMatches()
{
    QFETCH(const int, vendorId);
    QFETCH(const int, productId);
    QFETCH(const bool, isHid);
    QFETCH(const bool, isMatch);
    DetectorFixture f;
    f.tree.plug(hidNode(transmitter));
    const DeviceId filter{static_cast<std::uint16_t>(vendorId), static_cast<std::uint16_t>(productId),
                          isHid ? InterfaceKind::Hid : InterfaceKind::UsbDevice};
    QVERIFY(f.start({{0x1234, 0x0001, InterfaceKind::Hid}, filter}));
    QCOMPARE(f.recorder.waitFor(1).first(),
             isMatch ? QStringLiteral("+7a31:4") : QStringLiteral("complete 0"));
}

void TestDetectorNodes::theHardwareIdGivesTheIdentity_data()
{
    QTest::addColumn<QString>("hardwareId");
    QTest::addColumn<GUID>("interfaceClass");
    QTest::addColumn<QString>("report");
    const auto row = [](const char* hardwareId, const GUID& interfaceClass, const char* report) {
        QTest::newRow(hardwareId) << QString::fromLatin1(hardwareId) << interfaceClass
                                  << QString::fromLatin1(report);
    };
    row("HID\\Vid_7a31&Pid_0010", hidInterfaceClass, "+7a31:16");
    row("USB\\VID_7A31&PID_0004", usbInterfaceClass, "+7a31:4");
    row("HID\\VID_12G4&PID_0004", hidInterfaceClass, "+1204:4"); // a character that is no digit counts as 0
    row("HID\\VID_7A31&PID_4", hidInterfaceClass, "+7a31:4");
    row("HID\\VID_7A31", hidInterfaceClass, "complete 0");
    row("HID\\VID_0000&PID_0004", hidInterfaceClass, "complete 0");
}

void TestDetectorNodes::theHardwareIdGivesTheIdentity()
{
    QFETCH(const QString, hardwareId);
    QFETCH(const GUID, interfaceClass);
    DetectorFixture f;
    DeviceNode node = hidNode(transmitter);
    node.hardwareIds = {hardwareId.toStdWString(), L"HID\\VID_7A31&PID_0003"}; // only the first is used
    node.interfaceClass = interfaceClass;
    node.friendlyName = L"Friendly";
    f.tree.plug(node);
    QVERIFY(f.start({{0, 0, InterfaceKind::Hid}, {0, 0, InterfaceKind::UsbDevice}}));
    QTEST(f.recorder.waitFor(1).first(), "report");
    if (!f.recorder.last)
        return;
    QCOMPARE(f.recorder.last->interfaceKind == InterfaceKind::Hid, interfaceClass == hidInterfaceClass);
    QVERIFY(f.recorder.last->hasFriendlyName);
    QCOMPARE(f.recorder.last->name, std::wstring(L"Friendly"));
}

void TestDetectorNodes::aNodeThatCannotBeReadIsSkipped_data()
{
    QTest::addColumn<QString>("hardwareId");
    QTest::addColumn<QString>("enumerator");
    QTest::newRow("no hardware id") << ""
                                    << "HID";
    QTest::newRow("no enumerator") << "HID\\VID_7A31&PID_0003"
                                   << "";
    QTest::newRow("other bus") << "HID\\VID_7A31&PID_0003"
                               << "BTHENUM";
}

void TestDetectorNodes::aNodeThatCannotBeReadIsSkipped()
{
    QFETCH(const QString, hardwareId);
    QFETCH(const QString, enumerator);
    DetectorFixture f;
    DeviceNode first = hidNode(transmitter, L"7&1a2b3c&0&000"); // the second node's names start with these
    first.hardwareIds.clear();
    if (!hardwareId.isEmpty())
        first.hardwareIds = {hardwareId.toStdWString()};
    first.enumerator = enumerator.toStdWString();
    f.tree.plug(first);
    QVERIFY(f.detected({transmitter}));
    QCOMPARE(f.recorder.waitFor(2), QStringList({QStringLiteral("+7a31:4"), QStringLiteral("complete 1")}));
}

void TestDetectorNodes::aDeviceThatCouldNotBeReadIsReadAtItsNextBroadcast_data()
{
    QTest::addColumn<SystemCall>("call");
    QTest::addColumn<int>("nth");
    QTest::newRow("enumeration") << SystemCall::SetupDiGetClassDevsW << 1;
    QTest::newRow("length of its path") << SystemCall::SetupDiGetDeviceInterfaceDetailW << 1;
    QTest::newRow("its path") << SystemCall::SetupDiGetDeviceInterfaceDetailW << 2;
    QTest::newRow("devices") << SystemCall::SetupDiGetClassDevsW << 2;
    QTest::newRow("instance id") << SystemCall::SetupDiGetDeviceInstanceIdW << 1;
    QTest::newRow("hardware id") << SystemCall::SetupDiGetDeviceRegistryPropertyW << 3; // 1 and 2 read names
    QTest::newRow("enumerator") << SystemCall::SetupDiGetDeviceRegistryPropertyW << 4;
}

void TestDetectorNodes::aDeviceThatCouldNotBeReadIsReadAtItsNextBroadcast()
{
    QFETCH(const SystemCall, call);
    QFETCH(const int, nth);
    DetectorFixture f;
    f.machine.faults.fail(call, nth, ERROR_NOT_ENOUGH_MEMORY);
    f.tree.plug(hidNode(transmitter));
    QVERIFY(f.start());
    QCOMPARE(f.recorder.waitFor(1), QStringList(QStringLiteral("complete 0")));
    f.tree.repeatArrival(hidNode(transmitter).interfacePath);
    TRY_COMPARE(f.recorder.waitFor(2).last(), QStringLiteral("+7a31:4"));
}

QTEST_GUILESS_MAIN(TestDetectorNodes)

#include "tst_detectornodes.moc"
