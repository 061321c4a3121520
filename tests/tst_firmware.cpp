// Tests how the firmware library inspects images and decodes image text.

#include <random>
#include <vector>

#include <QtTest>

#include "firmwareutilities.h"
#include "imagetext.h"
#include "imagetextreference.h"
#include "smallimage.h"
#include "table.h"

using namespace ImageBuilder;

namespace {

FileEntry patched(FileEntry entry, int offset, const std::string& replacement)
{
    std::copy(replacement.begin(), replacement.end(), entry.begin() + offset);
    return entry;
}

/// Decodes @p text in two pieces; the second one starts at offset @p cut.
QByteArray decoded(const QByteArray& text, int cut)
{
    ImageText::Decoder decoder;
    const bool isAccepted =
        decoder.feed(text.constData(), cut) && decoder.feed(text.constData() + cut, text.size() - cut);
    return isAccepted ? decoder.takeImage() : QByteArray();
}

} // namespace

class TestFirmware : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void versionAndProductAreReadFromImages_data()
    {
        const Table<QByteArray, QString> columns("image", "versionAndPid");
        const auto image = [&columns](const char* name, const QByteArray& bytes, const char* expected) {
            columns.row(name, bytes, QString::fromLatin1(expected));
        };
        const auto table = [image](const char* name, const std::vector<FileEntry>& entries,
                                   const char* expected) { image(name, imageOf(entries), expected); };
        // Offsets in `usb`:
        //   4   length of the two records, plus 9
        //   14  record of the device descriptor: at 16 the descriptor's offset, at 18 its length
        //   20  record of the configuration descriptor
        const FileEntry usb = usbDescriptorEntry(0x0C, 0x7A31, 4);
        const std::string record(usb.begin() + 14, usb.begin() + 20);
        const FileEntry second = patched(patched(usb, 20, record), 14, "\2");
        const FileEntry other = usbDescriptorEntry(0x0D, 0x7A31, 3);
        const FileEntry foreign = usbDescriptorEntry(0x0D, 0x1234, 3);
        image("no image", QByteArray(), "/0");
        image("shorter than its header", QByteArray(4, '\0'), "/0");
        image("file beyond the image", imageOf({usb}).left(16 + 13), "/0");
        image("transmitter", toByteArray(build(transmitter(2))), "1.2.3/3");
        image("headset", toByteArray(build(headset())), "1.2.3/6");
        table("bit 7 of the identifier", {fileEntry(0xD5, "x"), fileEntry(0x85, "1.0.12,more")}, "1.0.12/0");
        table("after the end mark", {fileEntry(0x55, ""), versionEntry("1,"), usb}, "/0");
        table("version in Latin-1", {versionEntry("\xE9\xFF,")}, "\xE9\xFF/0");
        table("version without comma", {fileEntry(5, "2.3----")}, "2.3/0");
        table("version shorter than its header", {fileEntry(5, "12"), usb}, "/4");
        table("first of two versions", {versionEntry("1,"), versionEntry("2,")}, "1/0");
        for (const char control : {'\0', '\t', '\n', '\x1F', '\x7F', '\x80', '\x9F'}) {
            const QByteArray name = "control character " + QByteArray::number(control & 0xFF);
            table(name.constData(), {versionEntry(std::string("1.2") + control + "3,"), usb}, "/4");
        }
        table("neighbours of control characters", {versionEntry(" ~\xA0\xAD,"), usb}, " ~\xA0\xAD/4");
        const std::string longest(64, '<');
        table("version of 64 characters", {versionEntry(longest + ','), usb}, (longest + "/4").c_str());
        table("version of 65 characters", {versionEntry(longest + "<,"), usb}, "/4");
        table("version beyond the image", {patched(versionEntry("1,"), 1, "\xFF\xFF")}, "/0");
        table("first of two files with the same identifier", {foreign, other}, "/0");
        table("order of the table", {other, usb}, "/3");
        table("a foreign vendor's file comes first", {foreign, usb}, "/4");
        table("records with a length below zero", {patched(usb, 4, "\x08")}, "/0");
        table("no whole record", {patched(usb, 4, "\x0E")}, "/0");
        table("one record, shortest length", {patched(usb, 4, "\x0F")}, "/4");
        table("one record, longest length", {patched(second, 4, "\x14")}, "/0");
        table("two records, shortest length", {patched(second, 4, "\x15")}, "/4");
        table("first device record alone", {patched(patched(second, 14, "\1"), 16, "\xFF\xFF")}, "/0");
        table("descriptor of another type", {patched(usb, 27, "\2")}, "/0");
        table("descriptor ends within the product", {patched(usb, 18, "\x0B")}, "/0");
        table("descriptor ends with the product", {patched(usb, 18, "\x0C")}, "/4");
        table("descriptor of no length", {patched(usb, 18, std::string(1, '\0'))}, "/0");
    }
    void versionAndProductAreReadFromImages()
    {
        QFETCH(QByteArray, image);
        const ReadVersionDataHelper_FromFile reader(&image);
        const QString version = FirmwareUtilities::getVersion(reader);
        QVERIFY(!version.isNull());
        QTEST(version + QStringLiteral("/%1").arg(FirmwareUtilities::getPid(reader)), "versionAndPid");
    }

    void aFailedReadGivesNoVersionAndNoProduct()
    {
        const QByteArray image = toByteArray(build(transmitter()));
        int reads = 0;
        int failing = 0;
        const auto reader = [&](QByteArray& buffer, unsigned int address, unsigned short size) {
            buffer = image.mid(static_cast<int>(address), std::min<int>(size, 32)); // 32: a device's limit
            return ++reads != failing;
        };
        const int pidReads = 1 + 4 + 1 + 3; // of the header, the entries, the end mark and parts of a file
        for (failing = 0; failing <= pidReads; ++failing, reads = 0) {
            const bool isNeeded = failing != 0 && failing != 6; // read 6: the end mark
            QCOMPARE(static_cast<int>(FirmwareUtilities::getPid(reader)), isNeeded ? 0 : 4);
        }
        for (failing = 1; failing <= 4; ++failing, reads = 0) // reads of the header, two entries and the file
            QCOMPARE(FirmwareUtilities::getVersion(reader), QString());
        QCOMPARE(FirmwareUtilities::getVersion(reader), QStringLiteral("1.2.3"));
    }

    void theInMemoryReaderReadsOnlyTheImage()
    {
        const QByteArray image("0123456789");
        const ReadVersionDataHelper_FromFile reader(&image);
        QByteArray buffer;
        QVERIFY(reader(buffer, 4, 6));
        QCOMPARE(buffer.size(), 6);
        QCOMPARE(static_cast<const void*>(buffer.constData()),
                 static_cast<const void*>(image.constData() + 4));
        QVERIFY(!reader(buffer, 5, 6));
        QVERIFY(buffer.isEmpty());
        QVERIFY(!reader(buffer, 0xFFFFFFFE, 4)); // address plus size wraps at 2^32
    }

    void imageTextsDecodeAsQStringWould()
    {
        static const char symbols[] = "0123456789abcdefABCDEF0123456789  \n\n\nxX+-/\t\r\v\f\x85\xA0\x1Fg,";
        static const QByteArray pieces[] = {"12\n", "0x3F\n", "0Xa1\r\n",    "fF\r\n",
                                            "0x",   "\n",     "-80000000\n", "00000000000012\n"};
        std::mt19937 random(20); // the same texts every time
        int good = 0;
        for (int i = 0; i < 100000; ++i) {
            QByteArray text;
            for (unsigned int length = 1 + random() % 12; length > 0; --length) {
                if (i % 2 == 0)
                    text += symbols[random() % sizeof symbols]; // includes the terminating NUL
                else
                    text += random() % 4 ? pieces[random() % std::size(pieces)] : text.left(1);
            }
            const int cut = static_cast<int>(random() % static_cast<unsigned int>(text.size() + 1));
            const QByteArray image = decoded(text, cut);
            good += image.isEmpty() ? 0 : 1;
            QVERIFY2(image == ImageTextReference::decode(text),
                     "wrong image for the text with the bytes " + text.toHex());
        }
        QVERIFY2(good > 10000 && good < 90000,
                 QByteArray::number(good) + " of 100000 texts have an image, expected 10000 to 90000");
    }
};

QTEST_GUILESS_MAIN(TestFirmware)
#include "tst_firmware.moc"
