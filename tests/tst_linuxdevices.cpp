// Tests the access to real devices on Linux: report descriptors, node names, and file locks.

#include <QtTest>

#include <fcntl.h>
#include <sys/file.h>

#include "hidrawinterface.h"
#include "linuxdevicetree.h"
#include "lockholder.h"
#include "reportdescriptor.h"
#include "table.h"

namespace {

/// @return the usage page, usage and feature report length of each collection. If the descriptor has a fault,
/// the fault follows.
QByteArray summaryOf(const ReportDescriptor& descriptor)
{
    QByteArrayList parts;
    for (const HidCapabilities& c : descriptor.collections)
        parts << QByteArray::number(c.usagePage, 16) + ':' + QByteArray::number(c.usage, 16) + ' ' +
                     QByteArray::number(c.featureReportBytes);
    if (!descriptor.fault.empty())
        parts << QByteArray::fromStdString(descriptor.fault);
    return parts.join(", ");
}

/// @return, in hexadecimal, a collection with usage page FF00 and usage 1 that contains @p items.
QByteArray vendorCollection(const QByteArray& items)
{
    return "0600FF 0901 A101" + items + "C0";
}

const QByteArray field = "7508 9502 B102"; // the items of a feature report with two data bytes

using Descriptors = Table<QByteArray, QByteArray>;

void addSoundDescriptors(const Descriptors& table)
{
    const QByteArray loader = "15 00 26FF00 7508 85FF 953F 0902 B102 85E4 960701 0903 B102";
    table.row("loader", vendorCollection(loader), "ff00:1 264");
    table.row("consumer control", "050C 0901 A101 8501 7501 9508 8102 C0", "c:1 0, has no feature report");
    table.row("two collections", "050C 0901 A101" + field + "C0" + vendorCollection("7508 9503 B102"),
              "c:1 3, ff00:1 4");
    table.row("inner collection", vendorCollection("A102 0902" + field + "C0"), "ff00:1 3");
    table.row("no usage", "0600FF A101 C0", "ff00:0 0, has no feature report");
    table.row("first of two usages", "0600FF 0907 0908 A101 C0", "ff00:7 0, has no feature report");
    table.row("usage that belongs to an earlier item", "0600FF A101 C0 0908 B100 A101 C0",
              "ff00:0 0, is damaged");
    table.row("usage with its page", "050C 0B070000FF A101 C0", "ff00:7 0, has no feature report");
    table.row("bits make up a byte", vendorCollection("7503 9503 B102"), "ff00:1 3");
    table.row("fields of one report add up", vendorCollection("8501" + field + field + "8502 9501 B102"),
              "ff00:1 5");
    table.row("same report ID, other collection", vendorCollection(field) + vendorCollection(field),
              "ff00:1 3, ff00:1 3");
    table.row("pushed and popped", vendorCollection("7508 9502 A4 95FF 750F B4 B102"), "ff00:1 3");
    table.row("reserved items", vendorCollection("C4 D4 0C" + field), "ff00:1 3");
    table.row("field without bits", vendorCollection("7508 9500 B102"), "ff00:1 0, has no feature report");
    table.row("longest report", vendorCollection("7508 96FF3F B102"), "ff00:1 16384");
}

void addFaultyDescriptors(const Descriptors& table)
{
    const QByteArray damaged = "ff00:1 0, is damaged";
    table.row("nothing", "", "0:0 0, is damaged");
    table.row("cut in an item", vendorCollection(field) + "06 00", damaged);
    table.row("long item", vendorCollection("FE0342 010203" + field), damaged);
    table.row("cut in a collection", "0600FF 0901 A101" + field, damaged);
    table.row("End Collection without Collection", vendorCollection(field) + "C0", damaged);
    table.row("pop without push", vendorCollection(field) + "B4", damaged);
    table.row("report too long", vendorCollection("7508 960040 B102"), damaged);
    table.row("report of nearly 2^64 bits", vendorCollection("77FFFFFFFF 97FFFFFFFF B102 B102 B102"),
              damaged);
}

} // namespace

class TestLinuxDevices : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void reportDescriptorsAreParsed_data();
    void reportDescriptorsAreParsed();
    void nodesAreNamedAsOnWindows_data();
    void nodesAreNamedAsOnWindows();
    void locksHoldAgainstOtherPrograms_data();
    void locksHoldAgainstOtherPrograms();
    void theTreeLooksForDevicesOnce();
};

void TestLinuxDevices::reportDescriptorsAreParsed_data()
{
    const Descriptors table("items", "summary"); // the items are in hexadecimal
    addSoundDescriptors(table);
    addFaultyDescriptors(table);
}

void TestLinuxDevices::reportDescriptorsAreParsed()
{
    QFETCH(QByteArray, items);
    QFETCH(QByteArray, summary);
    const QByteArray bytes = QByteArray::fromHex(items);
    // The memory of this copy is exactly as long as the descriptor, so a sanitizer reports a
    // read past the end.
    const std::vector<std::uint8_t> own(bytes.begin(), bytes.end());
    QCOMPARE(summaryOf(ReportDescriptor::parse(own.data(), own.size())), summary);
}

void TestLinuxDevices::nodesAreNamedAsOnWindows_data()
{
    const Table<QByteArray, QByteArray, QByteArray, int, QByteArray> table("hidId", "phys", "interfaces",
                                                                           "collections", "names");
    const QByteArray id = "0003:00007A31:00000004";
    table.row("function of a composite device", id, "usb-0000:00:14.0-1/input3", " 4", 1,
              "HID\\VID_7A31&PID_0004&MI_03\\7&0000001F&0&0000 "
              "HID\\VID_7A31&PID_0004&REV_0123&MI_03 HID\\VID_7A31&PID_0004&MI_03");
    table.row("only interface", id, "usb-0000:00:14.0-1/input0", " 1", 1,
              "HID\\VID_7A31&PID_0004\\7&0000001F&0&0000 "
              "HID\\VID_7A31&PID_0004&REV_0123 HID\\VID_7A31&PID_0004");
    table.row("first of several interfaces, several collections", id, "usb-0000:00:14.0-1/input0", " 2", 2,
              "HID\\VID_7A31&PID_0004&MI_00&COL01\\7&0000001F&0&0000 "
              "HID\\VID_7A31&PID_0004&REV_0123&MI_00&Col01 HID\\VID_7A31&PID_0004&MI_00&Col01 "
              "HID\\VID_7A31&PID_0004&MI_00&COL02\\7&0000001F&0&0001 "
              "HID\\VID_7A31&PID_0004&REV_0123&MI_00&Col02 HID\\VID_7A31&PID_0004&MI_00&Col02");
    table.row("no USB device behind it", id, "simulated-1/input2", "", 1,
              "HID\\VID_7A31&PID_0004&MI_02\\7&0000001F&0&0000 "
              "HID\\VID_7A31&PID_0004&REV_0123&MI_02 HID\\VID_7A31&PID_0004&MI_02");
    table.row("Bluetooth", "0005:00007A31:00000004", "", "", 1, "");
    table.row("unreadable", "0003:", "", "", 1, "");
}

void TestLinuxDevices::nodesAreNamedAsOnWindows()
{
    QFETCH(QByteArray, hidId);
    QFETCH(QByteArray, phys);
    QFETCH(QByteArray, interfaces);
    QFETCH(int, collections);
    QFETCH(QByteArray, names);
    HidrawInterface interface;
    interface.hidName = "0003:7A31:0004.001F";
    interface.hidId = hidId.toStdString();
    interface.phys = phys.toStdString();
    interface.interfaces = interfaces.toStdString();
    interface.revision = "0123";
    ReportDescriptor descriptor;
    descriptor.collections.resize(std::size_t(collections));
    const auto device = std::make_shared<HidrawDevice>("/dev/hidraw0");
    QStringList found;
    for (const DeviceNode& node : nodesOf(interface, descriptor, device)) {
        found << QString::fromStdWString(node.instanceId);
        for (const std::wstring& id : node.hardwareIds)
            found << QString::fromStdWString(id);
        // The detector finds a path's node by the node's instance identifier, so the path must
        // contain the identifier.
        const QString path =
            QString::fromStdWString(node.interfacePath).replace(QLatin1Char('#'), QLatin1Char('\\'));
        QVERIFY(path.contains(QString::fromStdWString(node.instanceId), Qt::CaseInsensitive));
    }
    QCOMPARE(found.join(QLatin1Char(' ')).toLatin1(), names);
}

void TestLinuxDevices::locksHoldAgainstOtherPrograms_data()
{
    const Table<int, bool, int> table("lockOfOther", "isLocking", "error");
    table.row("free", LOCK_UN, true, ERROR_SUCCESS);
    table.row("shared", LOCK_SH, true, ERROR_SHARING_VIOLATION);
    table.row("exclusive", LOCK_EX, true, ERROR_SHARING_VIOLATION);
    table.row("free, queries only", LOCK_UN, false, ERROR_SUCCESS);
    table.row("exclusive, queries only", LOCK_EX, false, ERROR_SUCCESS);
}

void TestLinuxDevices::locksHoldAgainstOtherPrograms()
{
    QFETCH(int, lockOfOther);
    QFETCH(bool, isLocking);
    QFETCH(int, error);
    QTemporaryFile file; // not a HID device: transfers fail
    QVERIFY(file.open());
    HidrawDevice device(QFile::encodeName(file.fileName()).toStdString());
    const auto openAgain = [&] { return FileDescriptor(::open(device.path.c_str(), O_RDWR | O_CLOEXEC)); };
    FileDescriptor other = openAgain();
    QCOMPARE(::flock(other.get(), lockOfOther), 0);
    const QString thisProcess = QStringLiteral("tst_linuxdevice (process %1)").arg(::getpid());
    const auto holder = [&] { return QString::fromStdString(lockHolder(device.path).value_or("nobody")); };
    QCOMPARE(holder(), lockOfOther == LOCK_UN ? QStringLiteral("nobody") : thisProcess);
    QCOMPARE(device.acquire(isLocking), DWORD(error));
    if (error != ERROR_SUCCESS) {
        // When the other descriptor is closed, several users can acquire the device. Their lock lasts until
        // the last of them releases the device.
        other = FileDescriptor();
        other = openAgain();
        QCOMPARE(device.acquire(true), DWORD(ERROR_SUCCESS));
        for (const bool isSecondLocking : {true, false}) {
            QCOMPARE(device.acquire(isSecondLocking), DWORD(ERROR_SUCCESS));
            QCOMPARE(::flock(other.get(), LOCK_SH | LOCK_NB), -1);
            device.release();
            QCOMPARE(::flock(other.get(), LOCK_SH | LOCK_NB), -1);
        }
    } else if (lockOfOther == LOCK_EX) {
        QCOMPARE(device.acquire(true), DWORD(ERROR_SHARING_VIOLATION)); // the first user keeps the device
    }
    std::uint8_t report[2] = {};
    std::size_t received = 0;
    QVERIFY(device.isConnected());
    QCOMPARE(device.setFeature(report, sizeof(report)), DWORD(ERROR_INVALID_FUNCTION));
    QCOMPARE(device.getFeature(report, sizeof(report), received), DWORD(ERROR_INVALID_FUNCTION));
    device.release();
    QCOMPARE(::flock(other.get(), LOCK_EX | LOCK_NB), 0);
    QCOMPARE(device.acquire(true), DWORD(ERROR_SHARING_VIOLATION)); // the other descriptor has the lock
}

void TestLinuxDevices::theTreeLooksForDevicesOnce()
{
    int logged = 0; // becomes 1 if there is no device or no udev
    LinuxDeviceTree tree([&logged](const std::string&) { ++logged; });
    QCOMPARE(logged, 0);
    DWORD error = 0;
    QVERIFY(!tree.open(L"no device", GENERIC_READ, 0, error));
    const int loggedFirst = logged;
    QVERIFY(!tree.open(L"no device", GENERIC_READ, 0, error));
    QCOMPARE(error, DWORD(ERROR_FILE_NOT_FOUND));
    QCOMPARE(logged, loggedFirst);
}

QTEST_GUILESS_MAIN(TestLinuxDevices)
#include "tst_linuxdevices.moc"
