#include "TestMain.h"
#include "platform/OlvLocalization.h"

#include <QRegularExpression>
#include <QTranslator>

#include <atomic>
#include <thread>
#include <vector>

using namespace pelorinnews;

namespace {

const auto tables = QStringLiteral(PELORIN_APP_DIR "/share/pelorin-news");
const auto probe = QStringLiteral("SettingsDisplayContentRecent");
const auto english = QStringLiteral("Last 30 days");
const auto german = QStringLiteral("Letzte 30 Tage");

const QStringList pages{"StatusNothingFound", "StatusNothingFoundRecent",
                        "StatusNothingFoundUnread", "StatusRetrievingContent",
                        "StatusErrorRetrievingContent"};
const QStringList accessibleNames{
    "WebViewAccessibilityTitle", "NavigationAccessibilityTitlePrevious",
    "NavigationAccessibilityTitleNext", "SettingsShowOptions", "SettingsHideOptions"};
const QStringList withMnemonic{"SettingsShowOnStartCheckbox", "SettingsDisplayContentTypeLabel",
                               "SettingsDisplayContentFromLabel"};
const QStringList plain{"NotificationCenterTitle",       "NotificationCenterOpen",
                        "SettingsDisplayContentTypeAll", "SettingsDisplayContentTypeCritical",
                        "SettingsDisplayContentUnread",  "SettingsDisplayContentRecent",
                        "SettingsDisplayContentAll"};
const QStringList allKeys = pages + accessibleNames + withMnemonic + plain;

std::unique_ptr<OlvLocalization> localization(const QStringList &languages) {
    auto made = std::make_unique<OlvLocalization>(languages);
    made->setBundle(tables);
    made->setTable(QStringLiteral("Localizable"));
    return made;
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
    QTest::newRow("English") << "en";
    QTest::newRow("German") << "de";
}

}  // namespace

class OlvLocalizationTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void everyKeyHasATextOfItsOwn_data() { addLanguages(); }
    void everyKeyHasATextOfItsOwn() {
        QFETCH(QString, language);
        QCOMPARE(allKeys.size(), 20);
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
        static const QRegularExpression mnemonic(QStringLiteral("&(\\w)"));
        QStringList letters;
        for (const QString &key : withMnemonic)
            letters.append(mnemonic.match(ownText(language, key)).captured(1).toUpper());
        QVERIFY(!letters.contains(QString()));
        QCOMPARE(letters.removeDuplicates(), 0);
        for (const QString &key : accessibleNames + plain)
            QVERIFY2(!ownText(language, key).contains(u'&'), qPrintable(key));
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
        static const QRegularExpression quoted(QStringLiteral("[“„]([^“”]+)[“”]"));
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
