#pragma once

#include <functional>
#include <limits>
#include <vector>

#include <QtTest>

#include "rawzip.h"
#include "smallimage.h"

using Archive = std::function<QByteArray()>; // builds an archive when the test runs the row
Q_DECLARE_METATYPE(Archive)

/// Adds rows with archives to a test that has the columns "archive" and "outcome".
namespace ArchiveRows {

using RawZip::Deflated;
using RawZip::Stored;

const QString failed = QStringLiteral("failed");

constexpr int entryLimit = 64 * 1024 * 1024; ///< unpacked bytes allowed in one entry
constexpr int notesLimit = 1024 * 1024;
constexpr int restLimit = 1024 * 1024;        ///< unpacked bytes allowed after an entry of entryLimit bytes
constexpr int packedLimit = 16 * 1024 * 1024; ///< packed bytes allowed in all entries together
constexpr int directoryLimit = 1024 * 1024;

inline RawEntry changed(RawEntry entry, const std::function<void(RawEntry&)>& change)
{
    change(entry);
    return entry;
}

inline void addRow(const char* name, const QString& outcome, const Archive& archive)
{
    QTest::newRow(name) << archive << outcome;
}

inline void addRow(const char* name, const QString& outcome, const std::vector<RawEntry>& entries)
{
    addRow(name, outcome, [=] { return RawZip::archive(entries); });
}

inline QString loaded(int transmitterPid, int headsetPid)
{
    return QStringLiteral("fw.1 %1 %2").arg(transmitterPid).arg(headsetPid);
}

inline QString headsetOnly()
{
    return loaded(0, 6);
}

inline QByteArray transmitterText()
{
    return imageText(4);
}

inline RawEntry headsetEntry()
{
    return RawZip::entry("h.ef", imageText(6), Deflated);
}

/// @return a function that sets an entry's compression method to bzip2 and its packed bytes to @p packed.
inline std::function<void(RawEntry&)> bzip2(const QByteArray& packed)
{
    return [=](RawEntry& e) {
        e.method = RawZip::Bzip2;
        e.packed = packed;
        e.packedBytes = static_cast<std::uint32_t>(packed.size());
    };
}

/// @return the text "New.", packed with bzip2.
inline QByteArray bzip2OfNew()
{
    return QByteArray::fromHex("425A683931415926535979BF4855000000958000010001"
                               "020000802000219A68334D133C5DC914E14241E6FD2154");
}

/// Adds a row for an archive with two transmitter images, one deflated and one stored, and an intact headset
/// image. @p change damages both transmitter images. The row expects that the headset image loads and that
/// the transmitter images do not.
inline void addDamaged(const char* name, const std::function<void(RawEntry&)>& change)
{
    addRow(name, headsetOnly(), [=] {
        RawEntry packed = RawZip::entry("p.ff", transmitterText(), Deflated);
        RawEntry stored = RawZip::entry("s.ff", transmitterText(), Stored);
        change(packed);
        change(stored);
        return RawZip::archive({packed, headsetEntry(), stored});
    });
}

inline void addReleases()
{
    const auto file = [](const char* name, const QByteArray& contents) {
        return RawZip::entry(name, contents, Deflated);
    };
    const auto image = [=](const std::vector<FileEntry>& files) { return file("t.ff", imageTextOf(files)); };
    const FileEntry usb = ImageBuilder::usbDescriptorEntry(0x0C, 0x7A31, 4);
    const RawEntry headset = headsetEntry(), transmitter = file("t.ff", transmitterText());
    addRow("release", loaded(4, 6) + QStringLiteral("New.\r\n"),
           {transmitter, headset, file("d/n.txt", "New.\r\n")});
    addRow("generation 2 alone", loaded(3, 0), {file("a/b.ef", imageText(3))});
    addRow("notes with another suffix as well", headsetOnly() + QStringLiteral("yes"),
           {file("x.TXT", "no"), file("n.txt", "yes"), headset});
    addRow("two notes", failed, {file("n.txt", ""), file("d/n.txt", ""), headset});
    addRow("two transmitters", failed, {transmitter, file("b.ef", imageText(3)), headset});
    addRow("unknown product as well", headsetOnly(), {file("x.ff", imageText(5)), headset});
    addRow("product of programming mode alone", failed, {file("x.ff", imageText(0x100))});
    addRow("bad line", headsetOnly(), {file("t.ff", "word\n" + transmitterText()), headset});
    addRow("other suffixes", headsetOnly(),
           {file("t.FF", transmitterText()), file("t.ff.bak", transmitterText()), headset});
    addRow("smallest image", loaded(4, 0), {image({ImageBuilder::versionEntry("1,"), usb})});
    addRow("no version", failed, {image({ImageBuilder::versionEntry(","), usb})});
    addRow("no product", failed, {image({ImageBuilder::versionEntry("1,")})});
}

inline void addDamagedEntries()
{
    addDamaged("checksum", [](RawEntry& e) { e.checksum ^= 1; });
    addDamaged("encrypted", [](RawEntry& e) { e.flags = 1; });
    addDamaged("unknown method", [](RawEntry& e) { e.method = 99; });
    addDamaged("packed size past the end", [](RawEntry& e) { e.packedBytes = 0x100000; });
    addDamaged("packed size of 2 GiB", [](RawEntry& e) { e.packedBytes = 0x80000000; });
    addDamaged("packed size of 0", [](RawEntry& e) { e.packedBytes = 0; });
    addDamaged("shorter than declared", [](RawEntry& e) { e.bytes += 1; });
    addDamaged("longer than declared", [](RawEntry& e) { e.bytes -= 1; });
    addDamaged("declared 2 GiB", [](RawEntry& e) { e.bytes = 0x80000000; });
    addDamaged("declared 2 GiB in ZIP64", [](RawEntry& e) { e = RawZip::inZip64(e, 0x80000000); });
    addDamaged("declared 16 EiB in ZIP64", [](RawEntry& e) { e = RawZip::inZip64(e, ~quint64{0}); });
    addDamaged("declared in a missing ZIP64 field", [](RawEntry& e) { e.bytes = 0xFFFFFFFF; });
    addDamaged("bzip2 that ends early", bzip2(bzip2OfNew().chopped(1)));
    addDamaged("no bytes", [](RawEntry& e) { e = RawZip::entry(e.name, "", RawZip::Method(e.method)); });
    addDamaged("name of more than 256 bytes", [](RawEntry& e) { e.name.prepend(QByteArray(253, 'n')); });
}

inline void addUnusualEntries()
{
    const RawEntry headset = headsetEntry();
    const QByteArray transmitter = transmitterText();
    addRow("ZIP64", headsetOnly(), {RawZip::inZip64(headset, headset.bytes)});
    addRow("extra field past its end", headsetOnly(),
           {changed(headset, [](RawEntry& e) { e.extra = QByteArray("\1\0\xFF\xFF", 4); })});
    addRow("absolute and upward names", loaded(4, 6),
           {RawZip::entry("/etc/t.ff", transmitter), RawZip::entry("../../h.ef", imageText(6))});
    addRow("names that differ in case mean the first", failed,
           {RawZip::entry("H.ef", imageText(6)), RawZip::entry("h.ef", "word")});
    addRow("names that differ in case, the first of no use", failed,
           {RawZip::entry("H.EF", "word"), RawZip::entry("h.ef", imageText(6))});
    addRow("names that are no text", headsetOnly(), {RawZip::entry("\xFF\xC0\n.ff", ""), headset});
    addRow("name of 256 bytes", loaded(4, 6),
           {RawZip::entry(QByteArray(253, 'n') + ".ff", transmitter), headset});
    addRow("no names", headsetOnly(), {RawZip::entry("", transmitter), headset});
    addRow("folders only", failed, {RawZip::entry("a/", ""), RawZip::entry("t.ff/", transmitter)});
    addRow("no entries", failed, std::vector<RawEntry>());
}

inline void addNotes(const char* name, const RawEntry& notes, const QString& text = QString())
{
    addRow(name, headsetOnly() + text, {headsetEntry(), notes});
}

inline void addReleaseNotes()
{
    const auto notes = [](const QByteArray& bytes) { return RawZip::entry("n.txt", bytes, Deflated); };
    const QString accented = QStringLiteral("\u00E9");
    addNotes("notes in bzip2", changed(notes("New."), bzip2(bzip2OfNew())));
    addNotes("notes in bzip2 that end early", changed(notes("New."), bzip2(bzip2OfNew().chopped(1))));
    addNotes("notes in the system's encoding", notes("\xC3\xA9"), QString::fromLocal8Bit("\xC3\xA9"));
    addNotes("notes in UTF-8, marked", notes("\xEF\xBB\xBF\xC3\xA9"), accented);
    addNotes("notes in UTF-16, little end first", notes(QByteArray("\xFF\xFE\xE9\0", 4)), accented);
    addNotes("notes in UTF-16, big end first", notes(QByteArray("\xFE\xFF\0\xE9", 4)), accented);
    addNotes("notes of half a character", notes(QByteArray("\xFF\xFE\xE9", 3)));
    for (const int bytes : {4063, 4064, 4065, 8128, 8129}) { // close to one or two chunks of 4064 bytes
        const QByteArray text = "start" + QByteArray(bytes - 8, 'n') + "end";
        addNotes(QByteArray("notes of " + QByteArray::number(bytes) + " bytes").constData(), notes(text),
                 QString::fromLatin1(text));
    }
    addNotes("notes at the limit", notes(QByteArray(notesLimit, 'n')), QString(notesLimit, QLatin1Char('n')));
    addNotes("notes above the limit", notes(QByteArray(notesLimit + 1, 'n')));
}

/// @return an archive entry with a transmitter's image. Blocks that unpack to nothing fill the entry up to
/// @p packedBytes packed bytes.
inline RawEntry behindEmptyBlocks(int packedBytes)
{
    const QByteArray block("\0\0\0\xFF\xFF", 5);
    RawEntry entry = RawZip::entry("e.ff", transmitterText(), Deflated);
    entry.packed.prepend(block.repeated((packedBytes - entry.packed.size()) / block.size()));
    entry.packed = entry.packed.leftJustified(packedBytes, '\0');
    entry.packedBytes = static_cast<std::uint32_t>(packedBytes);
    return entry;
}

inline void addLargeImages()
{
    const QString both = loaded(4, 6), transmitterOnly = loaded(4, 0);
    const auto text = [](const char* name, unsigned short pid, int size) {
        return RawZip::entry(name, imageText(pid).leftJustified(size, '\n'), Deflated);
    };
    addRow("image at the limit", both, [=] {
        return RawZip::archive({text("l.ff", 4, entryLimit), text("h.ef", 6, restLimit)});
    });
    addRow("images above the limit together", transmitterOnly, [=] {
        return RawZip::archive({text("l.ff", 4, entryLimit), text("h.ef", 6, restLimit + 1)});
    });
    addRow("image above the limit", headsetOnly(), [=] {
        return RawZip::archive({text("l.ff", 4, entryLimit + 1), headsetEntry()});
    });
    addRow("bomb of digits", headsetOnly(), [] {
        const QByteArray digits = QByteArray("1\n").repeated(entryLimit / 2);
        return RawZip::archive({RawZip::entry("d.ff", digits, Deflated), headsetEntry()});
    });
    addRow("bomb: 1000 entries share 64 MiB", headsetOnly(), [] {
        RawEntry bomb = RawZip::entry("0000.ff", QByteArray(entryLimit, '\n'), Deflated);
        std::vector<RawEntry> all{headsetEntry(), bomb};
        bomb.sharesBytes = true;
        for (int i = 1; i < 1000; ++i)
            all.push_back(changed(
                bomb, [i](RawEntry& e) { e.name = QByteArray::number(i).rightJustified(4, '0') + ".ff"; }));
        return RawZip::archive(all);
    });
    const auto packed = [](int bytes) {
        return [=] { return RawZip::archive({behindEmptyBlocks(bytes), headsetEntry()}); };
    };
    const int headsetBytes = headsetEntry().packed.size();
    addRow("packed at the limit", both, packed(packedLimit - headsetBytes));
    addRow("packed at the limit alone", transmitterOnly, packed(packedLimit));
    addRow("packed above the limit together", transmitterOnly, packed(packedLimit - headsetBytes + 1));
    addRow("packed above the limit", headsetOnly(), packed(packedLimit + 1));
}

/// @return an archive with a ZIP directory of @p bytes bytes. The directory lists many useless entries, whose
/// names end with @p suffix, and then a headset's image.
inline QByteArray manyEntries(int bytes, const QByteArray& suffix)
{
    constexpr int headerBytes = 46;
    RawEntry last = headsetEntry();
    RawEntry next = RawZip::entry("000000" + suffix, "");
    const int entryBytes = headerBytes + next.name.size();
    bytes -= headerBytes + last.name.size();
    last.name.prepend(QByteArray(bytes % entryBytes, 'h'));
    std::vector<RawEntry> all;
    for (int i = 0; i < bytes / entryBytes; ++i) {
        next.name = QByteArray::number(i).rightJustified(6, '0') + suffix;
        all.push_back(next);
        next.sharesBytes = true;
    }
    all.push_back(last);
    return RawZip::archive(all);
}

/// @return an archive with many useless entries, each with as many extra fields as fit. Walking through all
/// these fields takes a long time.
inline QByteArray manyExtraFields()
{
    std::vector<RawEntry> all(253, changed(RawZip::entry("e", ""), [](RawEntry& e) {
                                  e.extra = QByteArray("\1\2\0\0", 4).repeated(0x3FFF);
                              }));
    for (std::size_t i = 1; i < all.size(); ++i)
        all[i].sharesBytes = true;
    all.push_back(headsetEntry());
    return RawZip::archive(all);
}

/// @return a function that builds an archive of two images, then destroys the record of image @p number
/// (0 or 1) in the archive's directory.
inline Archive withoutRecord(int number)
{
    return [=] {
        QByteArray zip = RawZip::archive({headsetEntry(), RawZip::entry("t.ff", transmitterText())});
        int at = zip.indexOf("PK\1\2");
        for (int i = 0; i < number; ++i)
            at = zip.indexOf("PK\1\2", at + 1);
        zip[at] = 'Q';
        return zip;
    };
}

inline void addDirectories()
{
    const QString tooLarge = failed + QStringLiteral("!The firmware archive's directory is too large");
    const auto missing = [](const char* entries) {
        return QStringLiteral("?The firmware archive should have %1 entries, but only 1 can be read")
            .arg(QLatin1String(entries));
    };
    addRow("directory at the limit", headsetOnly(), [] { return manyEntries(directoryLimit, ""); });
    addRow("directory at the limit, all images", headsetOnly(),
           [] { return manyEntries(directoryLimit, ".ff"); });
    addRow("directory above the limit", tooLarge, [] { return manyEntries(directoryLimit + 1, ""); });
    addRow("directory of 4 million extra fields", tooLarge, manyExtraFields);
    addRow("directory that counts 2^63 entries", headsetOnly() + missing("9223372036854775807"),
           [] { return RawZip::archive({headsetEntry()}, std::numeric_limits<qint64>::max()); });
    addRow("directory that counts too few entries", headsetOnly(), [] {
        return RawZip::archive({headsetEntry(), RawZip::entry("t.ff", transmitterText())}, 1);
    });
    addRow("directory without its first record", failed, withoutRecord(0));
    addRow("directory without its second record", headsetOnly() + missing("2"), withoutRecord(1));
    addRow("no archive", failed, [] { return QByteArray(100000, 'P'); });
    addRow("end record only", failed, [] { return QByteArray("PK\5\6"); });
    addRow("nothing", failed, [] { return QByteArray(); });
}

} // namespace ArchiveRows
