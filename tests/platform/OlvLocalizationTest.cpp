#include "TestMain.h"
#include "platform/OlvLocalization.h"

#include <QDirIterator>
#include <QRegularExpression>
#include <QTranslator>
#include <QXmlStreamReader>

#include <atomic>
#include <thread>
#include <vector>

using namespace pelorinnews;

namespace {

const auto tables = QStringLiteral(PELORIN_APP_DIR "/share/pelorin-news");
const auto sources = QStringLiteral(PELORIN_TEST_DATA "/../..");
const QStringList allLanguages{"ar", "cs", "de", "en", "es", "fr", "it",
                               "ja", "ko", "nl", "pl", "pt", "ru", "zh-Hans"};
const auto probe = QStringLiteral("SettingsDisplayContentRecent");
const auto english = QStringLiteral("Last 30 days");
const auto portuguese = QStringLiteral("Últimos 30 dias");
const auto simplifiedChinese = QStringLiteral("最近 30 天");
const auto german = QStringLiteral("Letzte 30 Tage");

const QStringList pages{"StatusNothingFound", "StatusNothingFoundRecent",
                        "StatusNothingFoundUnread", "StatusRetrievingContent",
                        "StatusErrorRetrievingContent"};
const QStringList accessibleNames{
    "WebViewAccessibilityTitle", "NavigationAccessibilityTitlePrevious",
    "NavigationAccessibilityTitleNext", "SettingsShowOptions", "SettingsHideOptions"};
const QStringList withMnemonic{"SettingsShowOnStartCheckbox", "SettingsDisplayContentTypeLabel",
                               "SettingsDisplayContentFromLabel"};
const QStringList plain{"WindowTitle",
                        "NotificationCenterTitle",
                        "NotificationCenterOpen",
                        "SettingsDisplayContentTypeAll",
                        "SettingsDisplayContentTypeCritical",
                        "SettingsDisplayContentUnread",
                        "SettingsDisplayContentRecent",
                        "SettingsDisplayContentAll"};
const QStringList allKeys = pages + accessibleNames + withMnemonic + plain;

std::unique_ptr<OlvLocalization> localization(const QStringList &languages) {
    auto made = std::make_unique<OlvLocalization>(languages);
    made->setBundle(tables);
    made->setTable(QStringLiteral("Localizable"));
    return made;
}

/// One message of a translator file.
struct Message {
    QString key;
    QString comment;
    QString text;
    /// Neither "unfinished" nor "obsolete".
    bool isFinished = false;
};

QList<Message> messages(const QString &language) {
    QFile file(sources + QStringLiteral("/resources/Localizable_%1.ts").arg(language));
    if (!file.open(QIODevice::ReadOnly))
        return {};
    QXmlStreamReader reader(&file);
    QList<Message> found;
    while (!reader.atEnd()) {
        if (reader.readNext() != QXmlStreamReader::StartElement)
            continue;
        const QXmlStreamAttributes attributes = reader.attributes();
        if (reader.name() == u"message") {
            found.append({attributes.value(QStringLiteral("id")).toString(), {}, {}, false});
        } else if (reader.name() == u"extracomment" && !found.isEmpty()) {
            found.last().comment = reader.readElementText();
        } else if (reader.name() == u"translation" && !found.isEmpty()) {
            found.last().isFinished = !attributes.hasAttribute(QStringLiteral("type"));
            found.last().text = reader.readElementText();
        }
    }
    return reader.hasError() ? QList<Message>() : found;
}

QStringList keysOf(const QList<Message> &messages) {
    QStringList keys;
    for (const Message &message : messages)
        keys.append(message.key);
    return keys;
}

/// Everything that the module's source files say.
QString sourceText() {
    QString text;
    QDirIterator files(sources + QStringLiteral("/src"), {QStringLiteral("*.cpp")}, QDir::Files,
                       QDirIterator::Subdirectories);
    while (files.hasNext()) {
        QFile file(files.next());
        if (file.open(QIODevice::ReadOnly))
            text += QString::fromUtf8(file.readAll());
    }
    return text;
}

/// The text for `key` in the file of `language` alone.
QString ownText(const QString &language, const QString &key) {
    QTranslator translator;
    if (!translator.load(tables + QStringLiteral("/Localizable_") + language))
        return {};
    return translator.translate("", key.toUtf8().constData());
}

void addLanguages() {
    QTest::addColumn<QString>("language");
    for (const QString &language : allLanguages)
        QTest::newRow(qPrintable(language)) << language;
}

}  // namespace

class OlvLocalizationTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void everyTranslatorFileIsCompiled() {
        QStringList files;
        QStringList compiled;
        for (const QString &language : allLanguages) {
            files.append(QStringLiteral("Localizable_%1.ts").arg(language));
            compiled.append(QStringLiteral("Localizable_%1.qm").arg(language));
        }
        QCOMPARE(QDir(sources + "/resources").entryList({"Localizable_*.ts"}), files);
        QCOMPARE(QDir(tables).entryList({"Localizable_*.qm"}), compiled);
    }

    void noKeyIsMissingOrLeftOver_data() { addLanguages(); }
    void noKeyIsMissingOrLeftOver() {
        QFETCH(QString, language);
        const QList<Message> its = messages(language);
        const QList<Message> englishOnes = messages("en");
        QCOMPARE(keysOf(its), keysOf(englishOnes));
        for (qsizetype index = 0; index < its.size(); ++index) {
            const std::string key = its[index].key.toStdString();
            QVERIFY2(its[index].isFinished, key.c_str());
            QVERIFY2(!its[index].text.trimmed().isEmpty(), key.c_str());
            QVERIFY2(!its[index].comment.trimmed().isEmpty(), key.c_str());
            QCOMPARE(its[index].comment, englishOnes[index].comment);
        }
    }

    void theModuleAsksForEveryKey() {
        QStringList keys = keysOf(messages("en"));
        const QString code = sourceText();
        for (const QString &key : keys)
            QVERIFY2(code.contains(u'"' + key + u'"'), qPrintable(key));
        QStringList known = allKeys;
        keys.sort();
        known.sort();
        QCOMPARE(keys, known);
    }

    void everyKeyHasATextOfItsOwn_data() { addLanguages(); }
    void everyKeyHasATextOfItsOwn() {
        QFETCH(QString, language);
        QCOMPARE(allKeys.size(), 21);
        const auto texts = localization({language});
        for (const QString &key : allKeys) {
            const QString text = ownText(language, key);
            QVERIFY2(!text.trimmed().isEmpty() && text != key, qPrintable(key));
            QCOMPARE(texts->stringForKey(key), text);
        }
    }

    void onlyControlsWithABuddyHaveAMnemonicAndEachHasItsOwn_data() { addLanguages(); }
    void onlyControlsWithABuddyHaveAMnemonicAndEachHasItsOwn() {
        QFETCH(QString, language);
        static const QRegularExpression mnemonic(QStringLiteral("&(\\w)"),
                                                 QRegularExpression::UseUnicodePropertiesOption);
        QStringList letters;
        for (const QString &key : withMnemonic)
            letters.append(mnemonic.match(ownText(language, key)).captured(1).toUpper());
        QVERIFY(!letters.contains(QString()));
        QCOMPARE(letters.removeDuplicates(), 0);
        for (const QString &key : accessibleNames + plain)
            QVERIFY2(!ownText(language, key).contains(u'&'), qPrintable(key));
    }

    // Qt draws the letter with the mnemonic apart from the rest: a cursive script breaks there, and
    // its text becomes wider than the control.
    void mnemonicsDoNotBreakCursiveText_data() { addLanguages(); }
    void mnemonicsDoNotBreakCursiveText() {
        QFETCH(QString, language);
        const auto joinsTheNext = [](QChar letter) {
            return letter.joiningType() == QChar::Joining_Dual;
        };
        for (const QString &key : withMnemonic) {
            const QString text = u' ' + ownText(language, key) + u' ';
            const qsizetype mark = text.indexOf(u'&');
            const QChar letter = text.at(mark + 1);
            QVERIFY2(!joinsTheNext(text.at(mark - 1)), qPrintable(key));
            QVERIFY2(!joinsTheNext(letter) || !text.at(mark + 2).isLetter(), qPrintable(key));
        }
    }

    // These two pages stay on the screen until the window is closed, even if the download ends
    // meanwhile. So their texts must be true before and after its end, and say when to look again.
    void pagesShownWithoutNewsReadExactlyAsChosen_data() {
        QTest::addColumn<QString>("english");
        QTest::addColumn<QString>("german");
        QTest::newRow("StatusRetrievingContent")
            << "There is no news here yet. It was being fetched when this page appeared; close "
               "this window and open it again in a moment."
            << "Hier sind noch keine Neuigkeiten. Sie wurden gerade abgerufen, als diese Seite "
               "erschien; schließen Sie dieses Fenster und öffnen Sie es gleich noch einmal.";
        QTest::newRow("StatusErrorRetrievingContent")
            << "There is no news here yet. It is fetched again from time to time while this window "
               "is closed; close it and look again later."
            << "Hier sind noch keine Neuigkeiten. Solange dieses Fenster geschlossen ist, werden "
               "sie von Zeit zu Zeit erneut abgerufen; schließen Sie es und sehen Sie später "
               "wieder nach.";
    }
    void pagesShownWithoutNewsReadExactlyAsChosen() {
        const QString key = QString::fromLatin1(QTest::currentDataTag());
        QTEST(localization({"en"})->stringForKey(key), "english");
        QTEST(localization({"de"})->stringForKey(key), "german");
    }

    void pagesReadTheSameAsHtmlAndAsText_data() { addLanguages(); }
    void pagesReadTheSameAsHtmlAndAsText() {
        QFETCH(QString, language);
        for (const QString &key : pages) {
            const QString text = ownText(language, key);
            QVERIFY2(!text.contains(u'<') && !text.contains(u'&'), qPrintable(key));
        }
    }

    void pagesNameTheControlsAsTheyAreCalled_data() { addLanguages(); }
    void pagesNameTheControlsAsTheyAreCalled() {
        QFETCH(QString, language);
        const QStringList names{ownText(language, "SettingsShowOptions"),
                                ownText(language, "SettingsDisplayContentAll")};
        static const QRegularExpression quoted(
            QStringLiteral("(?:[“„‘「]|«\u00a0?)([^“”‘’「」«»\u00a0]+)(?:[“”’」]|\u00a0?»)"));
        for (const QString &key : {QStringLiteral("StatusNothingFoundRecent"),
                                   QStringLiteral("StatusNothingFoundUnread")}) {
            QStringList named;
            for (const auto &match : quoted.globalMatch(ownText(language, key)))
                named.append(match.captured(1));
            QCOMPARE(named, names);
        }
    }

    void theLanguagesAreAskedInTheUsersOrder_data() {
        QTest::addColumn<QStringList>("languages");
        QTest::addColumn<QString>("text");
        QTest::newRow("English") << QStringList{"en-US", "en"} << english;
        QTest::newRow("German") << QStringList{"de-DE", "de"} << german;
        QTest::newRow("by the base language") << QStringList{"de-AT"} << german;
        QTest::newRow("with script and country") << QStringList{"de-Latn-CH"} << german;
        QTest::newRow("with an underscore") << QStringList{"de_CH"} << german;
        QTest::newRow("unknown, then German") << QStringList{"xx-YY", "de"} << german;
        QTest::newRow("English before German") << QStringList{"en-GB", "de"} << english;
        QTest::newRow("unknown") << QStringList{"xx"} << english;
        QTest::newRow("none") << QStringList() << english;
        QTest::newRow("empty") << QStringList{""} << english;
        QTest::newRow("only a hyphen") << QStringList{"-"} << english;
        QTest::newRow("a folder elsewhere") << QStringList{"../../x"} << english;
        QTest::newRow("Chinese") << QStringList{"zh"} << simplifiedChinese;
        QTest::newRow("China") << QStringList{"zh-CN"} << simplifiedChinese;
        QTest::newRow("Singapore") << QStringList{"zh_SG"} << simplifiedChinese;
        QTest::newRow("simplified in Hong Kong") << QStringList{"zh-Hans-HK"} << simplifiedChinese;
        QTest::newRow("Taiwan") << QStringList{"zh-TW"} << english;
        QTest::newRow("traditional") << QStringList{"zh-Hant"} << english;
        QTest::newRow("traditional before German") << QStringList{"zh-TW", "de"} << german;
        QTest::newRow("Brazil") << QStringList{"pt-BR"} << portuguese;
        QTest::newRow("Portugal") << QStringList{"pt-PT"} << portuguese;
        QTest::newRow("C") << QStringList{"C"} << english;
    }
    void theLanguagesAreAskedInTheUsersOrder() {
        QFETCH(QStringList, languages);
        QTEST(localization(languages)->stringForKey(probe), "text");
    }

    void aMissingKeyGivesTheKey() {
        const auto texts = localization({"de"});
        QCOMPARE(texts->stringForKey("NoSuchKey"), "NoSuchKey");
        QCOMPARE(texts->stringForKey(QString::fromUtf8("Schlüssel")),
                 QString::fromUtf8("Schlüssel"));
        QCOMPARE(texts->stringForKey(""), "");
        QVERIFY(texts->stringForKey(QString()).isNull());
    }

    void withoutFolderOrTableEachKeyGivesItself() {
        OlvLocalization texts(QStringList{"en"});
        QCOMPARE(texts.stringForKey(probe), probe);
        texts.setBundle(tables);
        QCOMPARE(texts.stringForKey(probe), probe);
        texts.setTable("Localizable");
        QCOMPARE(texts.stringForKey(probe), english);
        texts.setTable("NoSuchTable");
        QCOMPARE(texts.stringForKey(probe), probe);
        texts.setTable("Localizable");
        texts.setBundle("/no/such/folder");
        QCOMPARE(texts.stringForKey(probe), probe);
        texts.setBundle({});
        QCOMPARE(texts.stringForKey(probe), probe);
    }

    void tellsTheLanguageOfTheTexts_data() {
        QTest::addColumn<QStringList>("languages");
        QTest::addColumn<QString>("language");
        QTest::newRow("the first") << QStringList{"ar-EG", "de"} << "ar";
        QTest::newRow("the first that is there") << QStringList{"he", "zh-CN"} << "zh-Hans";
        QTest::newRow("none of them") << QStringList{"he"} << "en";
    }
    void tellsTheLanguageOfTheTexts() {
        QFETCH(QStringList, languages);
        const auto texts = localization(languages);
        QTEST(texts->language(), "language");
        texts->setBundle("/no/such/folder");
        QVERIFY(texts->language().isNull());
        QVERIFY(OlvLocalization(languages).language().isNull());
    }

    void aDamagedTableHasNoTexts() {
        const QTemporaryDir folder;
        QVERIFY(QFile::copy(tables + "/Localizable_en.qm", folder.filePath("Localizable_en.qm")));
        QFile whole(tables + "/Localizable_de.qm");
        QVERIFY(whole.open(QIODevice::ReadOnly));
        const QByteArray bytes = whole.readAll();
        for (const QByteArray &damaged : {QByteArray(), QByteArray("not a table at all"),
                                          bytes.first(bytes.size() / 3), QByteArray(5000, '\0')}) {
            QFile file(folder.filePath("Localizable_de.qm"));
            QVERIFY(file.open(QIODevice::WriteOnly | QIODevice::Truncate));
            file.write(damaged);
            file.close();
            OlvLocalization texts(QStringList{"de"});
            texts.setBundle(folder.path());
            texts.setTable("Localizable");
            QCOMPARE(texts.stringForKey(probe), english);
            QCOMPARE(texts.language(), "en");
        }
    }

    void theHostsTextsAreLeftAlone() {
        const auto texts = localization({"de"});
        QCOMPARE(texts->stringForKey(probe), german);
        QCOMPARE(qtTrId("SettingsDisplayContentRecent"), probe);
    }

    void severalThreadsAskAtOnce() {
        const auto texts = localization({"de"});
        std::atomic<int> wrong = 0;
        std::vector<std::thread> threads;
        for (int number = 0; number < 4; ++number) {
            threads.emplace_back([&] {
                for (int round = 0; round < 500; ++round) {
                    if (texts->stringForKey(probe) != german)
                        ++wrong;
                }
            });
        }
        for (int round = 0; round < 20; ++round)
            texts->setTable("Localizable");
        for (std::thread &thread : threads)
            thread.join();
        QCOMPARE(wrong, 0);
    }
};

PELORIN_CORE_TEST_MAIN(OlvLocalizationTest)
#include "OlvLocalizationTest.moc"
