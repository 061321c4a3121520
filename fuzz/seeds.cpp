// Writes the seed corpus: small inputs that reach what each target is about.

#include <cstdio>
#include <vector>

#include <QDir>
#include <QFile>

#include "archivebuilder.h"
#include "devicereader_p.h"
#include "firmwareutilities.h"
#include "imagebuilder.h"
#include "rawzip.h"
#include "scriptedhid.h"
#include "simulatedchip.h"
#include "utilities.h"

namespace {

bool isComplete = true;

void write(const QDir& corpus, const char* name, const QByteArray& input)
{
    QFile file(corpus.filePath(QString::fromLatin1(name)));
    isComplete = QDir().mkpath(QFileInfo(file).path()) && file.open(QIODevice::WriteOnly) &&
                 file.write(input) == input.size() && isComplete;
}

QByteArray imageOf(ImageOptions options)
{
    options.size = 0; // as small as its table allows
    options.headerBlockBytes = 0;
    if (options.entries.empty())
        options.entries = {ImageBuilder::versionEntry(options.version + ','),
                           ImageBuilder::usbDescriptorEntry(0x0C, options.vendorId, options.productId)};
    return toByteArray(ImageBuilder::build(options));
}

QByteArray imageWith(const std::vector<std::vector<std::uint8_t>>& entries)
{
    ImageOptions options;
    options.entries = entries;
    return imageOf(options);
}

/// The bare digits, so that most mutations change the image.
QByteArray plainText(const QByteArray& image)
{
    return image.toHex('\n') + '\n';
}

/// What the reader was answered by an honest chip with @p image, in the form that the target takes.
QByteArray answersOf(int chipId, int revision, const QByteArray& image)
{
    constexpr char whole = 4;
    constexpr int countOffset = 11;
    constexpr std::size_t dataOffset = 11;
    QByteArray told(1, '\1');
    const std::vector<std::uint8_t> bytes(image.begin(), image.end());
    SimulatedChip chip(DeviceType::Transmitter, chipId, revision, bytes);
    HidFixture f;
    f.hid->onSet = [&](const QByteArray& report) {
        const auto* const data = reinterpret_cast<const std::uint8_t*>(report.constData());
        chip.understand(data, static_cast<std::size_t>(report.size())).obey();
    };
    f.hid->answer = [&](const QByteArray& entry) {
        const std::vector<std::uint8_t> answer = chip.answer(static_cast<std::size_t>(entry.size()));
        QByteArray report(reinterpret_cast<const char*>(answer.data()), static_cast<int>(answer.size()));
        told += whole + report.mid(dataOffset, f.hid->sent.at(countOffset));
        return report;
    };
    const auto device = Utilities::openHidDeviceByPath(f.path, 3, 1);
    isComplete = device != nullptr && isComplete;
    const ReadDataHelper_FromDevice reader(device, std::make_shared<const std::atomic<bool>>(false));
    isComplete = FirmwareUtilities::getPid(reader) != 0 && isComplete;
    isComplete = !FirmwareUtilities::getVersion(reader).isEmpty() && isComplete;
    return told;
}

void writeTexts(const QDir& corpus)
{
    const auto text = [&](const char* name, char pieceBytes, const QByteArray& bytes) {
        write(corpus, name, pieceBytes + bytes);
    };
    text("imagetext/plain", 1, "12\n0x34\nFF\n");
    text("imagetext/remarks", 5, "// a comment\r\n \t\r\n12 // remark\r\n0X7f more\r\n1FF\r\n");
    text("imagetext/signs", 2, "-1\n+0x7\n-80000000\n7FFFFFFF\n");
    text("imagetext/spaces", 3, "\x85\xA0\v\f12\x85\xA0\r\r\n 34\t \n");
    text("imagetext/words", 4, "12\nword\n");
    text("imagetext/release", 64, ArchiveBuilder::imageText(bytesOf(imageOf(ImageBuilder::transmitter()))));
}

void writeImages(const QDir& corpus)
{
    using namespace ImageBuilder;
    const auto usb = usbDescriptorEntry(0x0C, 0x7A31, 4);
    write(corpus, "inspection/transmitter", imageOf(transmitter(1)));
    write(corpus, "inspection/headset", imageOf(headset()));
    write(corpus, "inspection/foreign-first",
          imageWith({usbDescriptorEntry(0x0D, 0x1234, 3), usbDescriptorEntry(0x35, 0x7A31, 3), usb,
                     fileEntry(0x85, "2.3")}));
    write(corpus, "inspection/empty-entries",
          imageWith({fileEntry(1, ""), fileEntry(5, ""), fileEntry(12, "")}));
    write(corpus, "inspection/no-end", imageWith({usb, versionEntry("1,")}).chopped(5));
    for (const int chipId : {12, 13}) {
        for (const int revision : {2, 3}) {
            const QByteArray name = QByteArray("devicereader/chip-") + QByteArray::number(chipId) +
                                    "-revision-" + QByteArray::number(revision);
            write(corpus, name.constData(), answersOf(chipId, revision, imageOf(transmitter(1))));
        }
    }
    write(corpus, "devicereader/table-of-zeros", QByteArray("\0\4\14\4\2\4\17\4", 8));
}

void writeArchives(const QDir& corpus)
{
    using RawZip::Deflated;
    using RawZip::entry;
    const QByteArray t = plainText(imageOf(ImageBuilder::transmitter(1)));
    const QByteArray h = plainText(imageOf(ImageBuilder::headset()));
    write(corpus, "archive/stored",
          RawZip::archive({entry("t.ff", t), entry("h.ef", h), entry("n.txt", "New.")}));
    write(corpus, "archive/deflated",
          RawZip::archive(
              {entry("t.ff", t, Deflated), entry("h.ef", h, Deflated), entry("n.txt", "", Deflated)}));
    write(corpus, "archive/two-of-a-kind", RawZip::archive({entry("a.ff", t), entry("b.ef", t)}));
    write(corpus, "archive/names",
          RawZip::archive({entry("d/", ""), entry("d/T.ff", t), entry("D/t.FF", "x")}));
    write(corpus, "archive/notes",
          RawZip::archive({entry("n.txt", QByteArray("\xFF\xFEN\0", 4)), entry("h.ef", h)}));
    write(corpus, "archive/zip64", RawZip::archive({entry("h.ef", h)}, 0x10000));
    const auto text = [](const std::vector<std::vector<std::uint8_t>>& entries) {
        return plainText(imageWith(entries));
    };
    const auto version = ImageBuilder::versionEntry("1,");
    const auto usb = ImageBuilder::usbDescriptorEntry(0x0C, 0x7A31, 4);
    write(corpus, "archive/of-no-use",
          RawZip::archive(
              {entry("no-version.ff", text({ImageBuilder::versionEntry(","), usb})),
               entry("no-pid.ff", text({version})),
               entry("unknown.ff", text({version, ImageBuilder::usbDescriptorEntry(0x0C, 0x7A31, 5)})),
               entry("bad-line.ff", h + "word"), entry("h.ef", h)}));
    RawEntry bomb = entry("b.ff", QByteArray(0x1000, '\n'), Deflated);
    RawEntry again = bomb;
    again.name = "c.ff";
    again.sharesBytes = true;
    write(corpus, "archive/bomb", RawZip::archive({bomb, again, entry("h.ef", h, Deflated)}));
}

} // namespace

int main(int argc, char** argv)
{
    if (argc != 2) {
        std::fprintf(stderr, "Usage: fuzz_seeds FOLDER\n");
        return 2;
    }
    const QDir corpus(QFile::decodeName(argv[1]));
    writeTexts(corpus);
    writeImages(corpus);
    writeArchives(corpus);
    if (!isComplete)
        std::fprintf(stderr, "Not all seeds could be written, or a seed does not do what it is for.\n");
    return isComplete ? 0 : 1;
}
