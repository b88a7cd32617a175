#include "FeedCheckRun.h"
#include "FeedServer.h"
#include "TestMain.h"

#include <QDir>
#include <QFile>
#include <QJsonArray>
#include <QTemporaryDir>

using namespace pelorinnews;

namespace {

constexpr auto fixedFeed = R"(<rss><channel><language>en</language>
<item><title>One &amp; &quot;two&quot;</title><pubDate>Mon, 02 Mar 2015 11:00:00 +0100</pubDate>
<category>mac pelorin</category><comments>plain</comments><description><![CDATA[<p>ü</p>]]></description></item>
<item/></channel></rss>)";

}  // namespace

class FeedCheckTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void printsTheResultAsJson() {
        const Outcome outcome = check({"--json", "-"}, fixedFeed);
        QCOMPARE(outcome.exitCode, 0);
        const QJsonObject first{{"title", "One & \"two\""},
                                {"date", "2015-03-02T10:00:00Z"},
                                {"category", "mac pelorin"},
                                {"plainTextContent", "plain"},
                                {"htmlContent", QString::fromUtf8("<p>ü</p>")}};
        const QJsonValue null(QJsonValue::Null);
        const QJsonObject second{{"title", null},
                                 {"date", null},
                                 {"category", null},
                                 {"plainTextContent", null},
                                 {"htmlContent", null}};
        QJsonObject json = outcome.json();
        QCOMPARE(json.take("findings").toArray().size(), 5);
        QCOMPARE(json,
                 (QJsonObject{
                     {"language", "en"}, {"items", QJsonArray{first, second}}, {"error", null}}));
        QVERIFY(outcome.errors.isEmpty());
    }

    void theGuidesFeedHasNothingToMend() {
        QFile guide(QStringLiteral(PELORIN_TEST_DATA "/../../docs/feed.md"));
        QVERIFY(guide.open(QFile::ReadOnly));
        const QByteArray text = guide.readAll();
        const QByteArray opening = "```xml\n";
        const qsizetype start = text.indexOf(opening) + opening.size();
        const QByteArray example = text.mid(start, text.indexOf("```", start) - start);
        QVERIFY(example.startsWith("<?xml"));
        const Outcome outcome = check({"-"}, example);
        QCOMPARE(outcome.exitCode, 0);
        QVERIFY2(outcome.report().endsWith(QLatin1String("No mistakes found.\n")),
                 outcome.output.constData());
    }

    void anAbsentResultIsANullLanguageWithoutItems() {
        const Outcome outcome = check({"--json", "-"}, feed(item("a"), ""));
        QCOMPARE(outcome.exitCode, 1);
        QJsonObject json = outcome.json();
        QCOMPARE(json.take("findings").toArray().size(), 1);
        QCOMPARE(json, (QJsonObject{{"language", QJsonValue::Null},
                                    {"items", QJsonArray()},
                                    {"error", QJsonValue::Null}}));
    }

    void anEmptyLanguageIsAResult() {
        const Outcome outcome = check({"--json", "-"}, feed("", "<language/>"));
        QCOMPARE(outcome.exitCode, 0);
        QCOMPARE(outcome.json().value("language"), QJsonValue(""));
    }

    void anAbsentTextIsToldFromAnEmptyOne() {
        const Outcome outcome =
            check({"--json", "-"}, feed("<item><title/><category></category></item>"));
        const QJsonObject only = outcome.json().value("items").toArray().at(0).toObject();
        QCOMPARE(only.value("title"), QJsonValue(""));
        QCOMPARE(only.value("category"), QJsonValue(""));
        QVERIFY(only.value("htmlContent").isNull());
    }

    void aFeedThatBreaksOffIsAResultWithAnError() {
        const Outcome outcome = check({"--json", "-"}, feed(item("a") + "\n<item></wrong>"));
        QCOMPARE(outcome.exitCode, 0);
        QCOMPARE(outcome.json().value("items").toArray().size(), 1);
        const QJsonObject error = outcome.json().value("error").toObject();
        QCOMPARE(error.keys(), (QStringList{"code", "description", "domain"}));
        QVERIFY(error.value("code").isDouble());
        QVERIFY(error.value("description").toString().contains("line 4"));
        QVERIFY(!error.value("domain").toString().isEmpty());
    }

    void inputThatIsNoFeedGivesNoResult_data() {
        QTest::addColumn<QByteArray>("input");
        QTest::newRow("nothing") << QByteArray();
        QTest::newRow("words") << QByteArray("no markup at all");
        QTest::newRow("not UTF-8") << feed(item("\xff"));
        QTest::newRow("a cut character at the end") << feed(item("a")) + "\xc3";
        QTest::newRow("NUL bytes") << QByteArray(1000, '\0');
        QTest::newRow("UTF-16") << QByteArray("\xff\xfe<\0r\0s\0s\0/\0>\0", 14);
    }
    void inputThatIsNoFeedGivesNoResult() {
        QFETCH(QByteArray, input);
        const Outcome outcome = check({"--json", "-"}, input);
        QCOMPARE(outcome.exitCode, 1);
        QVERIFY(outcome.json().value("language").isNull());
        QVERIFY(outcome.json().contains("language"));
        QCOMPARE(check({"-"}, input).exitCode, 1);
    }

    void bytesAreUtf8WhateverTheFeedDeclares() {
        const Outcome outcome =
            check({"--json", "-"}, QByteArray("\xEF\xBB\xBF<?xml version='1.0' "
                                              "encoding='ISO-8859-1'?>") +
                                       feed("<item><title>\xC3\xBC</title></item>"));
        QCOMPARE(outcome.exitCode, 0);
        QCOMPARE(outcome.json().value("items").toArray().at(0).toObject().value("title").toString(),
                 QString::fromUtf8("ü"));
    }

    void datesAreReadAsTheUserWould_data() {
        QTest::addColumn<QStringList>("options");
        QTest::addColumn<QByteArray>("environment");
        QTest::addColumn<bool>("readable");
        QTest::newRow("English user") << QStringList() << QByteArray("LC_ALL=en_US.UTF-8") << true;
        QTest::newRow("a German editor of an English feed")
            << QStringList() << QByteArray("LC_ALL=de_DE.UTF-8") << true;
        QTest::newRow("for an English user")
            << QStringList{"--locale", "en_US"} << QByteArray("LC_ALL=de_DE.UTF-8") << true;
        QTest::newRow("for a German user")
            << QStringList{"--locale=de_DE"} << QByteArray("LC_ALL=en_US.UTF-8") << false;
        QTest::newRow("with a hyphen")
            << QStringList{"--locale=de-DE"} << QByteArray("LC_ALL=en_US.UTF-8") << false;
    }
    void datesAreReadAsTheUserWould() {
        QFETCH(QStringList, options);
        QFETCH(QByteArray, environment);
        const Outcome outcome = check(
            options + QStringList{"--json", "-"},
            feed("<item><pubDate>Tue, 03 Mar 2015 10:00:00 GMT</pubDate></item>"), environment);
        QTEST(outcome.json().value("items").toArray().at(0).toObject().value("date") ==
                  QJsonValue("2015-03-03T10:00:00Z"),
              "readable");
    }

    void whatTheServiceWritesIsReadWhateverTheFormats_data() {
        QTest::addColumn<QByteArray>("variables");
        QTest::addColumn<QByteArray>("asked");
        const auto row = [](const char *variables, const char *asked) {
            QTest::newRow(variables) << QByteArray(variables) << QByteArray(asked);
        };
        row("LANG=en_US.UTF-8 LC_TIME=de_DE.UTF-8", "en-US");
        row("LANG=en_US LANGUAGE=de:en", "de");
        row("LANG=de_DE LANGUAGE=en_US", "en-US");
        row("LANG=de_DE LC_TIME=C.UTF-8", "de-DE");
        row("LANG=en_GB.UTF-8", "en-GB");
        row("LANG=en_GB.UTF-8 LC_TIME=en_US.UTF-8", "en-GB");
        row("LANG=de_AT.UTF-8 LC_TIME=de_DE.UTF-8", "de-AT");
        row("LANG=en_US.UTF-8 LC_TIME=th_TH.UTF-8", "en-US");
        row("LANG=th_TH.UTF-8 LC_TIME=en_US.UTF-8", "th-TH");
        row("LANG=sr_RS.UTF-8@latin", "sr-Latn-RS");
    }
    void whatTheServiceWritesIsReadWhateverTheFormats() {
        QFETCH(const QByteArray, variables);
        QFETCH(const QByteArray, asked);
        const QTemporaryDir feeds;
        QFile file(feeds.filePath("standard.en.xml"));
        QVERIFY(file.open(QIODevice::WriteOnly));
        // Every month of a year, and every weekday.
        QByteArray items;
        for (int month = 0; month < 12; ++month)
            items +=
                "<item><pubDate>{{now-" + QByteArray::number(month * 30) + "d}}</pubDate></item>";
        file.write(feed(items, "<language>" + asked + "</language>"));
        file.close();
        FeedServerOptions options;
        options.feedFolder = feeds.path();
        FeedServer server(options);
        QVERIFY(server.start());
        const Outcome outcome = check({"--json", server.feedAddress()}, {}, variables);
        QCOMPARE(server.requests().front().target(),
                 "/RSS_Feed/PelorinNews.php?&locale=" + asked + "&type=standard");
        const QJsonArray read = outcome.json().value("items").toArray();
        QCOMPARE(read.size(), 12);
        for (int month = 0; month < 12; ++month) {
            const QDateTime date = QDateTime::fromString(
                read.at(month).toObject().value("date").toString(), Qt::ISODate);
            const qint64 age = date.secsTo(QDateTime::currentDateTimeUtc());
            QVERIFY2(date.isValid() && qAbs(age - month * 30 * 86'400) < 3600,
                     outcome.output.constData());
        }
    }

    void readsAFile() {
        const QTemporaryDir folder;
        QFile file(folder.filePath("a feed.xml"));
        QVERIFY(file.open(QIODevice::WriteOnly));
        file.write(fixedFeed);
        file.close();
        const QByteArray expected = check({"--json", "-"}, fixedFeed).output;
        QCOMPARE(check({"--json", file.fileName()}).output, expected);
        QCOMPARE(check({"--json", QUrl::fromLocalFile(file.fileName()).toString()}).output,
                 expected);
    }

    void aFileThatCannotBeReadGivesNoResultAndAnError() {
        const QTemporaryDir folder;
        for (const QString &path : {folder.filePath("missing"), folder.path(),
                                    QStringLiteral("file:") + folder.filePath("missing.xml")}) {
            const Outcome outcome = check({"--json", path});
            QCOMPARE(outcome.exitCode, 1);
            const QJsonObject error = outcome.json().value("error").toObject();
            QVERIFY2(!error.value("description").toString().isEmpty(), outcome.output.constData());
            QVERIFY(outcome.json().value("items").toArray().isEmpty());
            QCOMPARE(check({path}).exitCode, 1);
        }
    }

    void anAddressIsAskedAsThePanelAsks() {
        FeedServer server;
        FeedReply reply;
        reply.body = fixedFeed;
        server.setReply(reply);
        QVERIFY(server.start());
        const QByteArray expected = check({"--json", "-"}, fixedFeed).output;
        QCOMPARE(check({"--json", "--locale", "de_DE", server.feedAddress()}).exitCode, 0);
        QCOMPARE(check({"--json", server.address("/x.php?&locale=fr")}).output, expected);
        QCOMPARE(check({"--json", server.address("/static.xml")}).output, expected);
        const auto requests = server.requests();
        QCOMPARE(requests.size(), std::size_t(3));
        QCOMPARE(requests[0].target(), "/RSS_Feed/PelorinNews.php?&locale=de-DE&type=standard");
        QCOMPARE(requests[1].target(), "/x.php?&locale=fr");
        QCOMPARE(requests[2].target(), "/static.xml");
    }

    void aLocaleIsAskedForAsALanguage_data() {
        QTest::addColumn<QString>("locale");
        QTest::addColumn<QByteArray>("language");
        QTest::newRow("language") << "de" << QByteArray("de");
        QTest::newRow("encoding") << "de_DE.UTF-8" << QByteArray("de-DE");
        QTest::newRow("modifier") << "de_DE@euro" << QByteArray("de-DE");
        QTest::newRow("encoding and modifier") << "de_DE.UTF-8@euro" << QByteArray("de-DE");
        QTest::newRow("script as a modifier") << "sr_RS@latin" << QByteArray("sr-Latn-RS");
    }
    void aLocaleIsAskedForAsALanguage() {
        QFETCH(QString, locale);
        QFETCH(QByteArray, language);
        FeedServer server;
        FeedReply reply;
        reply.body = fixedFeed;
        server.setReply(reply);
        QVERIFY(server.start());
        QCOMPARE(check({"--json", "--locale", locale, server.feedAddress()}).exitCode, 0);
        const auto requests = server.requests();
        QCOMPARE(requests.size(), std::size_t(1));
        QCOMPARE(requests[0].target(),
                 "/RSS_Feed/PelorinNews.php?&locale=" + language + "&type=standard");
    }

    void aServiceThatFailsGivesNoResultAndItsStatus() {
        FeedServer server;
        FeedReply reply;
        reply.status = 404;
        reply.body = fixedFeed;
        server.setReply(reply);
        QVERIFY(server.start());
        const Outcome outcome = check({"--json", server.feedAddress()});
        QCOMPARE(outcome.exitCode, 1);
        QVERIFY(outcome.json().value("language").isNull());
        const QJsonObject error = outcome.json().value("error").toObject();
        QCOMPARE(error.value("domain"), QJsonValue("HTTP Property Status Code"));
        QCOMPARE(error.value("code"), QJsonValue(404));

        reply.status = 200;
        reply.cutAfter = 20;
        server.setReply(reply);
        const Outcome cut = check({"--json", server.feedAddress()});
        QCOMPARE(cut.exitCode, 1);
        QVERIFY(cut.json().value("language").isNull());
        QCOMPARE(cut.json().value("error").toObject().value("domain"),
                 QJsonValue("com.Olvane.PelorinNews.Transport.ErrorDomain"));
    }

    void wrongUsageSaysSo_data() {
        QTest::addColumn<QStringList>("arguments");
        QTest::newRow("nothing") << QStringList();
        QTest::newRow("two feeds") << QStringList{"a", "b"};
        QTest::newRow("an empty name") << QStringList{""};
        QTest::newRow("unknown option") << QStringList{"--frobnicate", "-"};
        QTest::newRow("locale without value") << QStringList{"-", "--locale"};
        QTest::newRow("empty locale") << QStringList{"--locale=", "-"};
        QTest::newRow("no locale") << QStringList{"--locale=../en", "-"};
        QTest::newRow("an unknown language") << QStringList{"--locale=xx_DE", "-"};
        QTest::newRow("an unknown region") << QStringList{"--locale=en_UK", "-"};
        QTest::newRow("a language's name") << QStringList{"--locale=german", "-"};
        QTest::newRow("an empty modifier") << QStringList{"--locale=sr_RS@", "-"};
        QTest::newRow("a modifier before the encoding")
            << QStringList{"--locale=sr_RS@latin.UTF-8", "-"};
    }
    void wrongUsageSaysSo() {
        QFETCH(QStringList, arguments);
        const Outcome outcome = check(arguments);
        QCOMPARE(outcome.exitCode, 2);
        QVERIFY(outcome.output.isEmpty());
        QVERIFY(outcome.errors.contains("--help"));
    }

    void helpIsNoFailure() {
        const Outcome outcome = check({"--help"});
        QCOMPARE(outcome.exitCode, 0);
        QVERIFY(outcome.output.contains("--locale"));
    }

    void tellsItsVersion() {
        const Outcome outcome = check({"--version"});
        QCOMPARE(outcome.exitCode, 0);
        static const QRegularExpression form("^pelorin-feedcheck \\d+\\.\\d+\\.\\d+\n$");
        QVERIFY2(form.match(outcome.report()).hasMatch(), outcome.output.constData());
    }

    void oneItemIsSingular() {
        QVERIFY(check({"-"}, feed(item("a"))).report().contains("\n1 item in the language"));
        QVERIFY(check({"-"}, feed("")).report().contains("\n0 items in the language"));
        QVERIFY(check({"-"}, feed("<item/>")).report().contains("Mistakes (5 errors)"));
        QVERIFY(check({"-"}, feed(item("a", -1))).report().contains("Mistakes (1 warning)"));
    }

    void coloursAreForTerminalsOnly_data() {
        QTest::addColumn<QByteArray>("variables");
        QTest::addColumn<bool>("onTerminal");
        QTest::addColumn<bool>("colored");
        QTest::newRow("terminal") << QByteArray("TERM=xterm NO_COLOR=") << true << true;
        QTest::newRow("pipe") << QByteArray("TERM=xterm NO_COLOR=") << false << false;
        QTest::newRow("NO_COLOR") << QByteArray("TERM=xterm NO_COLOR=1") << true << false;
        QTest::newRow("dumb") << QByteArray("TERM=dumb NO_COLOR=") << true << false;
    }
    void coloursAreForTerminalsOnly() {
        QFETCH(const QByteArray, variables);
        QFETCH(const bool, onTerminal);
        QFETCH(const bool, colored);
        const QTemporaryDir folder;
        QFile file(folder.filePath("feed.xml"));
        QVERIFY(file.open(QIODevice::WriteOnly));
        file.write(feed(item("a", -1)));
        file.close();
        const QString command =
            QStringLiteral(PELORIN_APP_DIR "/bin/pelorin-feedcheck ") + file.fileName();
        QProcess program;
        QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
        for (const QByteArray &variable : variables.split(' '))
            environment.insert(QString::fromLatin1(variable.split('=').at(0)),
                               QString::fromLatin1(variable.split('=').at(1)));
        program.setProcessEnvironment(environment);
        // "script" runs the command on a terminal of its own.
        if (onTerminal)
            program.start("script", {"--quiet", "--return", "--command", command, "/dev/null"});
        else
            program.start("sh", {"-c", command});
        program.closeWriteChannel();
        QVERIFY(program.waitForFinished(testPatience));
        const QByteArray output = program.readAllStandardOutput();
        QVERIFY2(output.contains("[date-future]"), output.constData());
        QCOMPARE(output.contains("\033["), colored);
    }

    void theReportTellsWhatEachFilterShows() {
        const Outcome outcome = check(
            {"-"}, feed(item("New and critical", 1, "mac pelorin critical") + item("New", 2) +
                        item("Old", 40) + item("Elsewhere", 3, "windows") +
                        "<item><title>Undated</title><category>mac pelorin</category></item>"));
        QCOMPARE(outcome.exitCode, 0);
        const QString report = outcome.report();
        const auto has = [&](const char *expression) {
            return QRegularExpression(QString::fromLatin1(expression),
                                      QRegularExpression::MultilineOption)
                .match(report)
                .hasMatch();
        };
        QVERIFY2(report.contains("5 items in the language \"en\""), outcome.output.constData());
        QVERIFY2(has("^  All news +3 +2 +4$"), outcome.output.constData());
        QVERIFY(has("^  Critical only +1 +1 +1$"));
        QVERIFY(has("^ +1  [-0-9]+ [0-9:]+  unread, 30 days, all, critical  New and critical$"));
        QVERIFY(has("^ +2  [-0-9]+ [0-9:]+  unread, 30 days, all +New$"));
        QVERIFY(has("^ +3  [-0-9]+ [0-9:]+  unread, all +Old$"));
        QVERIFY(has("^ +4  [-0-9]+ [0-9:]+  nothing +Elsewhere$"));
        QVERIFY(has("^ +5  no date +all +Undated$"));
    }

    void aGoodFeedHasNothingToMend() {
        const Outcome outcome = check({"-"}, feed(item("a", 1) + item("b", 2)));
        QCOMPARE(outcome.findings(), QStringList());
        QVERIFY(outcome.report().contains("No mistakes found."));
    }

    void theReportSaysWhatToMendAndWhere_data() {
        QTest::addColumn<QByteArray>("input");
        QTest::addColumn<QStringList>("expected");
        const auto row = [](const char *name, const QByteArray &input, const char *expected) {
            QTest::newRow(name) << input << QStringList{QString::fromUtf8(expected)};
        };
        const auto replaced = [](const QByteArray &from, const QByteArray &to) {
            return feed("\n" + item("a").replace(from, to));
        };
        row("no date", replaced("<pubDate>" + daysAgo(1) + "</pubDate>", ""),
            "4: item 1: no <pubDate>");
        row("unreadable date", replaced(daysAgo(1), "2015-03-02"),
            "4: item 1: a user of en cannot read the date \"2015-03-02\"");
        row("future date", feed(item("a", -3)), "3: item 1: dated in the future");
        row("no category", replaced("<category>mac pelorin</category>", ""),
            "4: item 1: no <category>");
        row("category that no filter lets through", replaced("mac pelorin", "mac"),
            "4: item 1: no filter lets the category \"mac\" through");
        row("capital letters in a category", replaced("mac pelorin", "Mac Pelorin"),
            "4: item 1: no filter lets the category \"Mac Pelorin\" through; it needs \"mac\" and "
            "\"pelorin\", in small letters");
        row("text before a CDATA section", replaced("html", "\nlost <![CDATA[kept]]>"),
            "5: text before a CDATA section of <description> is lost: \"lost\"");
        row("a second CDATA section", replaced("html", "<![CDATA[one]]>\n<![CDATA[two]]>"),
            "5: text before a CDATA section of <description> is lost: \"one\"");
        row("markup outside CDATA", replaced("html", "<p>a</p><b>c</b>"),
            "4: <p> inside <description> is taken for an element of the feed");
        row("an element twice", replaced("<category>", "<category>x</category>\n<category>"),
            "5: another <category> replaces the one in line 4");
        row("no title", replaced("<title>a</title>", ""), "4: item 1: no <title>");
        row("empty title", replaced("<title>a</title>", "\n<title> </title>"),
            "5: item 1: empty <title>");
        row("no HTML", replaced("<description>html</description>", ""),
            "4: item 1: no <description>");
        row("no plain text", replaced("<comments>text</comments>", ""), "4: item 1: no <comments>");
        row("capital letters in a name", replaced("<item>", "<item><Title>x</Title>"),
            "4: <Title> is ignored: the panel knows only <title>");
        row("declared encoding",
            "<?xml version=\"1.0\" encoding=\"windows-1252\"?>" + feed(item("a")),
            "1: declares the encoding \"windows-1252\"");
        row("language in an item",
            feed("\n" + item("a").replace("<item>",
                                          "<item><language>en"
                                          "</language>"),
                 ""),
            "4: a <language> inside an item changes that of the whole feed");
        row("two languages", feed(item("a"), "<language>de</language>\n<language>en</language>"),
            "3: another <language> replaces the one in line 2");
        row("empty language", feed(item("a"), "<language/>"), "2: the language is empty");
        row("white space in the language", feed(item("a"), "<language> en</language>"),
            "2: white space belongs to the language too");
        row("no language", feed(item("a"), ""), "1: there is no whole <language>");
        row("newest item not first", feed(item("a", 2) + "\n" + item("b", 1)),
            "4: item 2: the latest, but not the first");
        row("invalid UTF-8", feed("\n\n" + item("\xff")), "5: this line is not UTF-8");

        const auto breaks = [](const char *name, const QByteArray &input, const char *reason) {
            QTest::newRow(name) << input
                                << QStringList{QStringLiteral("4: the document breaks off here, "
                                                              "and what follows is lost: ") +
                                               QString::fromUtf8(reason)};
        };
        const QByteArray cafe = "\n" + item("a") + "<x>Caf&eacute;</x>";
        breaks("an entity that is not declared", feed(cafe),
               "the entity \"eacute\" is not declared at line 4");
        breaks("one that an external type may declare",
               "<!DOCTYPE rss SYSTEM 'http://127.0.0.1:9/rss.dtd'>" + feed(cafe),
               "the entity \"eacute\" is not declared at line 4");
        breaks("one that holds another",
               "<!DOCTYPE rss [<!ENTITY a ''><!ENTITY eacute '&a;'>]>" + feed(cafe),
               "the entity \"eacute\" holds another entity at line 4");
        breaks("one that is too long",
               "<!DOCTYPE rss [<!ENTITY eacute '" + QByteArray(101, 'x') + "'>]>" + feed(cafe),
               "the entity \"eacute\" holds more than 100 bytes at line 4");
        QTest::newRow("one that may be used")
            << "<!DOCTYPE rss [<!ENTITY eacute '&#233;'>]>" + feed(cafe) << QStringList();

        QTest::newRow("an item left open")
            << feed("<item>\n" + item("a") + "<x></item></x>")
            << QStringList{
                   "3: this <item> is still open when the next begins in line 4: it is lost",
                   "4: the document breaks off here"};
        QTest::newRow("an item open at the end")
            << "<rss><language>en</language>\n" + item("a") + "\n<item>\n"
            << QStringList{"3: this <item> is never closed", "4: the document breaks off here"};
    }
    void theReportSaysWhatToMendAndWhere() {
        QFETCH(QByteArray, input);
        QFETCH(QStringList, expected);
        const Outcome outcome = check({"-"}, input);
        const QStringList findings = outcome.findings();
        QVERIFY2(findings.size() == expected.size(), outcome.output.constData());
        for (qsizetype i = 0; i < expected.size(); ++i)
            QVERIFY2(findings[i].startsWith(expected[i]), outcome.output.constData());
    }

    void aTitleCannotSteerTheTerminal() {
        const Outcome outcome = check({"-"}, feed(item("a\xC2\x9B"
                                                       "31m\nb\xE2\x80\xAE" +
                                                       QByteArray(500, 'x'))));
        QVERIFY(outcome.report().contains(QString::fromUtf8("a\uFFFD31m b\uFFFDxxx")));
        QVERIFY(!outcome.output.contains("\xC2\x9B"));
        QVERIFY(!outcome.report().contains(QString(100, u'x')));
    }

    void longListsAreCutShort() {
        QByteArray items;
        for (int i = 0; i < 150; ++i)
            items += "<item/>\n";
        const Outcome outcome = check({"-"}, feed(items));
        QCOMPARE(outcome.exitCode, 0);
        QVERIFY(outcome.report().contains(QString::fromUtf8("… and 50 more")));
        QCOMPARE(outcome.findings().size(), 100);
    }

    void itemsBeyondTheBoundAreTold() {
        const Outcome outcome = check({"-"}, feed(QByteArray("<item/>").repeated(100'000) +
                                                  "\n<item><title>x</title></item>"));
        QCOMPARE(outcome.exitCode, 0);
        QVERIFY(outcome.report().contains("100000 items in the language"));
        QCOMPARE(outcome.findings().size(), 100);
        QVERIFY(outcome.findings().last().startsWith(
            "4: the document breaks off here, and what follows is lost: more than 100000 items at "
            "line 4, column 1"));
        const Outcome json =
            check({"--json", "-"}, feed(QByteArray("<item/>").repeated(100'000) + "\n<item/>"));
        QCOMPARE(json.json().value("items").toArray().size(), 100'000);
        QCOMPARE(json.json().value("error").toObject().value("description"),
                 QJsonValue("more than 100000 items at line 4, column 1"));
    }

    void nothingIsLeftBehind() {
        check({"-"}, fixedFeed);
        check({"--json", "-"}, fixedFeed);
        for (const char *variable : {"XDG_DATA_HOME", "XDG_CONFIG_HOME", "XDG_CACHE_HOME"}) {
            const QDir folder(qEnvironmentVariable(variable));
            QVERIFY2(folder.isEmpty(), variable);
        }
    }
};

PELORIN_CORE_TEST_MAIN(FeedCheckTest)
#include "FeedCheckTest.moc"
