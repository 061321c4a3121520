// The rules that decide which updates the window offers.

#include <QtTest>

#include "compatibility.h"

namespace {

/// Parses "device>image". Each side is a product identifier: empty for no device or no image, 0 if unknown.
UpdateCandidate parse(const QByteArray& text)
{
    const QByteArrayList sides = text.split('>');
    UpdateCandidate result;
    result.isConnected = !sides[0].isEmpty();
    result.devicePid = sides[0].toUShort();
    result.hasImage = !sides[1].isEmpty();
    result.imagePid = sides[1].toUShort();
    return result;
}

} // namespace

class TestCompatibility : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void devicesAndImagesDecideWhatIsOffered_data();
    void devicesAndImagesDecideWhatIsOffered();
};

void TestCompatibility::devicesAndImagesDecideWhatIsOffered_data()
{
    QTest::addColumn<QByteArray>("incompatible"); // letters of the devices, T or H
    QTest::addColumn<QByteArray>("updatable");
    QTest::addColumn<QByteArray>("unknown");
    QTest::addColumn<bool>("isOffered");
    QTest::addColumn<QByteArray>("both"); // "c" if both are connected, "u" if both can be updated
    const auto row = [](const char* devices, const char* incompatible, const char* updatable,
                        const char* unknown, bool isOffered, const char* both) {
        QTest::newRow(devices) << QByteArray(incompatible) << QByteArray(updatable) << QByteArray(unknown)
                               << isOffered << QByteArray(both);
    };
    row("> >", "", "", "", false, "");
    row(">4 >6", "", "", "", false, "");
    row("4> 6>", "", "", "", false, "c");
    row("3>4 6>6", "T", "H", "", false, "c");
    row("4>4 6>3", "H", "T", "", false, "c");
    row("3>4 6>3", "TH", "", "", false, "c");
    row("4>0 6>6", "", "H", "", true, "c"); // the transmitter's image is for an unknown product
    row("4>0 6>0", "", "", "", false, "c");
    row("0>0 >6", "", "T", "T", true, "");
    row("0>4 0>6", "", "TH", "TH", true, "cu");
    row("4>4 0>6", "", "TH", "H", true, "cu");
    row("0> 0>", "", "", "TH", false, "c");
    row("0> 6>6", "", "H", "T", true, "c");
    row("3>4 0>6", "T", "H", "H", false, "c");
}

void TestCompatibility::devicesAndImagesDecideWhatIsOffered()
{
    const QByteArrayList devices = QByteArray(QTest::currentDataTag()).split(' ');
    const UpdateCandidate transmitter = parse(devices[0]);
    const UpdateCandidate headset = parse(devices[1]);
    const Compatibility rules{transmitter, headset};
    QByteArray incompatible, updatable, unknown;
    for (const DeviceType type : {DeviceType::Transmitter, DeviceType::Headset}) {
        const char letter = type == DeviceType::Transmitter ? 'T' : 'H';
        if (rules.of(type).isIncompatible())
            incompatible += letter;
        if (rules.of(type).canBeUpdated())
            updatable += letter;
        if (rules.unknownIdentities().count(type) != 0)
            unknown += letter;
    }
    QTEST(incompatible, "incompatible");
    QTEST(updatable, "updatable");
    QTEST(unknown, "unknown");
    QTEST(rules.isUpdateOffered(), "isOffered");
    QByteArray both(rules.areBothConnected() ? "c" : "");
    both += rules.canBothBeUpdated() ? "u" : "";
    QTEST(both, "both");
    QCOMPARE(rules.isAnyConnected(), transmitter.isConnected || headset.isConnected);
}

QTEST_APPLESS_MAIN(TestCompatibility)

#include "tst_compatibility.moc"
