// Checks that the translations are complete.

#include <QtTest>

#include <QProcess>

#include "literals.h"
#include "textfile.h"

namespace {

QStringList placeholders(const QString& text)
{
    QStringList all;
    static const QRegularExpression placeholder("%\\d|\n|&amp;|\\.\\.\\.$"_s);
    for (auto match = placeholder.globalMatch(text); match.hasNext();)
        all << match.next().captured();
    return all;
}

} // namespace

class TestCatalogues : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void theCataloguesAreComplete();
};

void TestCatalogues::theCataloguesAreComplete()
{
    for (const char* const language : {"es", "fr", "de", "it"}) {
        const QTemporaryDir folder;
        const QString copy = folder.filePath("copy.ts"_s);
        QVERIFY(
            QFile::copy(CATALOGUE_FOLDER + "/tessalinefirmwareupdater_%1.ts"_s.arg(text(language)), copy));
        const QString catalogue = QString::fromUtf8(contentsOf(copy));

        // lupdate changes a catalogue that lacks texts or has texts that the sources no longer have.
        QProcess::execute(LUPDATE, {"-silent"_s, "-locations"_s, "none"_s, APP_FOLDER, "-ts"_s, copy});
        QCOMPARE(QString::fromUtf8(contentsOf(copy)), catalogue);

        static const QRegularExpression message(
            "<source>([^<]+)</source>\\s*<translation( type=\"\\w+\")?>([^<]*)</translation>"_s);
        int messages = 0;
        for (auto match = message.globalMatch(catalogue); match.hasNext(); ++messages) {
            const QStringList parts = match.next().capturedTexts();
            // Only an unfinished or outdated translation has an attribute "type".
            QVERIFY2(parts[2].isEmpty() && !parts[3].isEmpty(),
                     qPrintable("not translated, or unfinished: "_s + parts[1]));
            QCOMPARE(placeholders(parts[3]), placeholders(parts[1]));
        }
        QCOMPARE(messages, catalogue.count("<message>"_s));
    }
}

QTEST_GUILESS_MAIN(TestCatalogues)

#include "tst_catalogues.moc"
