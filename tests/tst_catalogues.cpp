// The translations into the program's languages.

#include <QtTest>

#include <QProcess>
#include <QTranslator>
#include <QXmlStreamReader>

namespace {

/// Maps context and English text to the translation, which is empty if it is not finished.
using Texts = QMap<QPair<QString, QString>, QString>;

Texts readCatalogue(const QString& path)
{
    Texts texts;
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly))
        return texts;
    QString context, source;
    for (QXmlStreamReader reader(&file); !reader.atEnd(); reader.readNext()) {
        if (!reader.isStartElement())
            continue;
        if (reader.name() == QLatin1String("name")) {
            context = reader.readElementText();
        } else if (reader.name() == QLatin1String("source")) {
            source = reader.readElementText();
        } else if (reader.name() == QLatin1String("translation")) {
            const bool isFinished = !reader.attributes().hasAttribute(QStringLiteral("type"));
            const QString translation = reader.readElementText();
            texts.insert({context, source}, isFinished ? translation : QString());
        }
    }
    return texts;
}

/// @return the texts that lupdate finds in the sources.
Texts textsInTheSources()
{
    const QTemporaryDir folder;
    const QString path = folder.filePath(QStringLiteral("texts.ts"));
    QProcess::execute(LUPDATE, {QStringLiteral("-silent"), APP_FOLDER, QStringLiteral("-ts"), path});
    return readCatalogue(path);
}

QStringList placeholders(const QString& text)
{
    QStringList all;
    static const QRegularExpression placeholder(QStringLiteral("%\\d|\n|&|\\.\\.\\.$"));
    for (auto match = placeholder.globalMatch(text); match.hasNext();)
        all << match.next().captured();
    return all;
}

} // namespace

class TestCatalogues : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void theCataloguesAreComplete_data();
    void theCataloguesAreComplete();
};

void TestCatalogues::theCataloguesAreComplete_data()
{
    QTest::addColumn<QString>("language");
    for (const char* const language : {"es", "fr", "de", "it"})
        QTest::newRow(language) << QString::fromLatin1(language);
}

void TestCatalogues::theCataloguesAreComplete()
{
    QFETCH(const QString, language);
    const QString name = QStringLiteral("tessalinefirmwareupdater_") + language;
    const Texts texts = readCatalogue(CATALOGUE_FOLDER + QLatin1Char('/') + name + QStringLiteral(".ts"));
    QVERIFY(!texts.isEmpty());
    QCOMPARE(texts.keys(), textsInTheSources().keys());

    QTranslator translator;
    QVERIFY(translator.load(name, QStringLiteral(":/translations")));
    for (auto text = texts.cbegin(); text != texts.cend(); ++text) {
        const QByteArray context = text.key().first.toUtf8(), source = text.key().second.toUtf8();
        QVERIFY2(!text->isEmpty(), source);
        QCOMPARE(translator.translate(context, source), *text);
        QCOMPARE(placeholders(*text), placeholders(text.key().second));
    }
}

QTEST_GUILESS_MAIN(TestCatalogues)

#include "tst_catalogues.moc"
