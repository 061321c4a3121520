// Tests each step from a command to the bytes on the wire: the commands and queries to the chip, the HID
// device, and the feature transfers of the platform layer.

#include <QtTest>

#include <windows.h>

#include <winioctl.h>

extern "C" {
#include <hidclass.h>
#include <hidsdi.h>
}

#include "abstracthiddevice.h"
#include "chipchannel.h"
#include "hiddevicedescriptor.h"
#include "hidutilities.h"
#include "leavesnothing.h"
#include "openobjects.h"
#include "scriptedhid.h"
#include "table.h"
#include "utilities.h"

using namespace HidUtilities;
using Device = std::shared_ptr<AbstractHidDevice>;
using Bytes = std::vector<unsigned char>;
using Command = std::function<int(Device)>;
Q_DECLARE_METATYPE(Command)

namespace {

constexpr int reportBytes = 264;

QByteArray answerOf(int status, int value)
{
    return QByteArray(1, '\xFF') + char(status) + QByteArray(9, '\0') + char(value) +
           QByteArray(reportBytes - 12, '\0');
}

} // namespace

class TestHid : public LeavesNothing
{
    Q_OBJECT

private Q_SLOTS:
    void theLayerRefusesTransfersThatWindowsRefuses();
    void aDeviceMovesVectorsUpToItsReportLength_data();
    void aDeviceMovesVectorsUpToItsReportLength();
    void capabilitiesAreAskedForOncePerOpening();
    void onlyTheLowByteOfAnOperandIsSent_data();
    void onlyTheLowByteOfAnOperandIsSent();
    void anAnswerThatIsTooShortIsNotUsed();
    void chipQueriesReadOneRegisterByte_data();
    void chipQueriesReadOneRegisterByte();
    void unknownChipsHaveNoLoaderAddresses();
};

void TestHid::theLayerRefusesTransfersThatWindowsRefuses()
{
    const HidFixture f;
    const HANDLE handle = CreateFileW(f.path.c_str(), 0, 0, nullptr, OPEN_EXISTING, 0, nullptr);
    PHIDP_PREPARSED_DATA data = nullptr;
    QVERIFY(HidD_GetPreparsedData(handle, &data));
    QCOMPARE(openHandleCount(), handlesBefore + 2);
    QVERIFY(HidD_FreePreparsedData(data));
    QVERIFY(!HidD_FreePreparsedData(data));
    HIDP_CAPS caps;
    QCOMPARE(HidP_GetCaps(data, &caps), HIDP_STATUS_INVALID_PREPARSED_DATA);
    QByteArray buffer(reportBytes, '\xEE');
    const auto control = [&](DWORD code, DWORD size) {
        DWORD returned = 0;
        return DeviceIoControl(handle, code, nullptr, 0, buffer.data(), size, &returned, nullptr) != FALSE;
    };
    QVERIFY(control(IOCTL_HID_GET_FEATURE, reportBytes));
    QVERIFY(!control(IOCTL_HID_GET_FEATURE + 4, reportBytes));
    QVERIFY(!control(IOCTL_HID_GET_FEATURE, reportBytes - 1));
    QVERIFY(!HidD_SetFeature(handle, buffer.data(), reportBytes - 1));
    QCOMPARE(f.hid->transfers, 1);
    QVERIFY(CloseHandle(handle));
    QVERIFY(!HidD_SetFeature(handle, buffer.data(), reportBytes));
}

void TestHid::aDeviceMovesVectorsUpToItsReportLength_data()
{
    const Table<int, int, bool, bool> table("bytes", "answered", "isSent", "isRead");
    table.row("empty", 0, reportBytes, false, false);
    table.row("shorter than a report: padded, cut back", 64, reportBytes, true, true);
    table.row("answer as long as asked for", 64, 64, true, true);
    table.row("answer a byte short", 64, 63, true, false);
    table.row("no answer", 64, 0, true, false);
    table.row("a byte shorter than a report", reportBytes - 1, reportBytes, true, true);
    table.row("as long as a report", reportBytes, reportBytes, true, true);
    table.row("longer than a report", reportBytes + 1, reportBytes, false, false);
}

void TestHid::aDeviceMovesVectorsUpToItsReportLength()
{
    QFETCH(const int, bytes);
    QFETCH(const int, answered);
    QFETCH(const bool, isSent);
    QFETCH(const bool, isRead);
    HidFixture f;
    f.hid->answer = [&](const QByteArray& entry) {
        return (entry.left(1) + answerOf(0, 7).mid(1)).left(answered);
    };
    const Device device = Utilities::openHidDeviceByPath(f.path, Access::ReadWrite, Access::None);
    Bytes report(static_cast<std::size_t>(bytes), 0x55);
    QCOMPARE(device->setFeatureBlocking(&report), isSent);
    QCOMPARE(f.hid->sent,
             isSent ? QByteArray(bytes, '\x55') + QByteArray(reportBytes - bytes, '\0') : QByteArray());
    QCOMPARE(device->getFeatureBlocking(&report), isRead);
    if (isRead) {
        QCOMPARE(int(report[0]), 0x55);
        QCOMPARE(int(report[11]), 7);
    }
    f.hid->setError = f.hid->getError = ERROR_GEN_FAILURE;
    QVERIFY(!device->setFeatureBlocking(&report));
    QVERIFY(!device->getFeatureBlocking(&report));
    QCOMPARE(int(report.size()), bytes);
    device->close();
    f.hid->setError = f.hid->getError = ERROR_SUCCESS;
    QVERIFY(!device->isOpen());
    QVERIFY(!device->setFeatureBlocking(&report));
    QVERIFY(!device->getFeatureBlocking(&report));
}

void TestHid::capabilitiesAreAskedForOncePerOpening()
{
    HidFixture f;
    const HidDeviceDescriptor descriptor(std::make_shared<WindowsDeviceDescriptorHandle>(f.path));
    const std::unique_ptr<AbstractHidDevice> device(AbstractHidDevice::create(descriptor));
    QCOMPARE(device->usagePage(), 0);
    QVERIFY(!device->isOpen());
    QVERIFY(device->open(Access::ReadWrite, Access::None));
    QVERIFY(!device->open(Access::ReadWrite, Access::None));
    QCOMPARE(device->usagePage(), 0xFF00);
    QList<int> bufferBytes;
    for (const int kind : {-1, 0, 1, 2, 3})
        bufferBytes << int(std::unique_ptr<Bytes>(device->createReportBuffer(kind))->size());
    QCOMPARE(bufferBytes, (QList<int>{0, 0, 0, reportBytes, 0}));
    QCOMPARE(f.hid->queries, 1);
    device->close();
    f.hid->caps.usagePage = 0x000C;
    QVERIFY(device->open(Access::ReadWrite, Access::None));
    QCOMPARE(device->usagePage(), 0x000C);
    Bytes report(64);
    QVERIFY(device->setFeatureBlocking(&report) && device->getFeatureBlocking(&report));
}

void TestHid::onlyTheLowByteOfAnOperandIsSent_data()
{
    const Table<Command, QByteArray> table("command", "frame"); // the frame that the command sends
    table.row(
        "control request", [](Device d) { return sendControlRequest(d, 0x10A); }, "ff02000a");
    table.row(
        "memory write", [](Device d) { return writeMemory(d, 0x1E2, 0xFFF0, {0x0A}); },
        "ff0a00ff0400000500e2f00a");
    table.row(
        "memory read", [](Device d) { return requestMemoryRead(d, 0x104, 0x1F0, 0x201); },
        "ff0a00fd040000058104f001");
    table.row(
        "operation", [](Device d) { return executeOperation(d, 0x184); }, "ff0700ff0400000284");
}

void TestHid::onlyTheLowByteOfAnOperandIsSent()
{
    QFETCH(const Command, command);
    QFETCH(const QByteArray, frame);
    HidFixture f;
    f.hid->caps.featureReportBytes = 64; // so that no frame is padded
    const Device device = Utilities::openHidDeviceByPath(f.path, Access::ReadWrite, Access::None);
    QVERIFY(command(device));
    QCOMPARE(f.hid->sent.toHex(), frame.leftJustified(128, '0'));
    QCOMPARE(f.clock.tickCount(), frame.contains("fd04") ? 100u : 0u);
    f.tree.unplug(f.path);
    QVERIFY(!command(device));
}

/// A device that breaks the contract: it answers with fewer bytes than were requested, and reports success.
void TestHid::anAnswerThatIsTooShortIsNotUsed()
{
    struct ShortAnswers : ChipChannel
    {
        using ChipChannel::ChipChannel;
        bool getFeatureBlocking(Bytes* report) override
        {
            report->assign(bytes, 12);
            return true;
        }

        std::size_t bytes = 0;
    };
    const HidFixture f;
    const auto device = std::make_shared<ShortAnswers>(
        Utilities::openHidDeviceByPath(f.path, Access::ReadWrite, Access::None));
    for (; device->bytes < 14; ++device->bytes) {
        QCOMPARE(getAvneraChipId(device), device->bytes < 12 ? 0 : 12);
        Bytes two;
        const Answer answer = readMemory(device, 0, 0, 2, two);
        QCOMPARE(answer == Answer::Complete, device->bytes >= 13);
        QCOMPARE(two.size(), std::size_t(device->bytes >= 13 ? 2 : 0));
    }
}

void TestHid::chipQueriesReadOneRegisterByte_data()
{
    const Table<Command, QByteArray, int, QByteArray> table("query", "answer", "value", "log");
    const char* const noData =
        "!Error getting chip type: Device reported no data to send.|!Failed trying obtain chip ID";
    const char* const foreign = "!Chip ID register does not match USB enumeration PID (Product ID number)";
    table.row("id 12", getAvneraChipId, answerOf(0, 12), 12, "VMI AV6x01 identified");
    table.row("id 13", getAvneraChipId, answerOf(0, 13), 13, "VMI AV6x02 identified");
    table.row("id 14", getAvneraChipId, answerOf(0, 14), 0, foreign);
    table.row("id: no data", getAvneraChipId, answerOf(1, 12), 0, noData);
    table.row("id: short answer", getAvneraChipId, answerOf(0, 12).left(12), 0,
              "!Failed trying obtain chip ID");
    table.row("revision 200", getAvneraChipRevision, answerOf(0, 200), 200, "");
    table.row("revision: no answer", getAvneraChipRevision, "", 0, "!Failed trying obtain chip revision");
}

void TestHid::chipQueriesReadOneRegisterByte()
{
    QFETCH(const Command, query);
    QFETCH(const QByteArray, answer);
    HidFixture f;
    LogCapture log;
    f.hid->setError = ERROR_GEN_FAILURE; // only the answer matters, not this error
    f.hid->answer = [&](const QByteArray& entry) { return entry[0] == '\xFF' ? answer : QByteArray(); };
    QTEST(query(Utilities::openHidDeviceByPath(f.path, Access::ReadWrite, Access::None)), "value");
    QTEST(log.text(), "log");
}

void TestHid::unknownChipsHaveNoLoaderAddresses()
{
    LogCapture log;
    unsigned short smData = 1;
    unsigned short ramBase = 2;
    QVERIFY(!getAvneraSmDataAndRamBase(smData, ramBase, 12, 4));
    QVERIFY(!getAvneraSmDataAndRamBase(smData, ramBase, 13, 1));
    QVERIFY(!getAvneraSmDataAndRamBase(smData, ramBase, 0, 2));
    QCOMPARE(int(smData), 1);
    QCOMPARE(int(ramBase), 2);
    QCOMPARE(log.text(), QByteArray("!Unsupported AV6xx1 chip version|!Unsupported AV6xx2 chip version"));
}

QTEST_GUILESS_MAIN(TestHid)

#include "tst_hid.moc"
