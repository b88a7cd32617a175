#include "CacheTesting.h"
#include "RecordingLogger.h"
#include "ScriptedLoader.h"
#include "TestMain.h"
#include "feed/OlvNewsItemList.h"
#include "logging/LogVocabulary.h"
#include "platform/HostBundle.h"

#include <QSemaphore>

#include <array>
#include <atomic>
#include <limits>
#include <thread>

using namespace pelorinnews;
using namespace pelorinnews::test;

namespace {

const QString identifier = QStringLiteral("com.example.CacheTest");
const QString base = QStringLiteral("http://127.0.0.1:9/RSS_Feed/PelorinNews.php");
const QString cacheDomain = QStringLiteral("com.Olvane.PelorinNews.NewsCache.ErrorDomain");
const Error refused{QStringLiteral("transport"), 1, {}};

/// A cache that has no address to request.
class Refusing : public OlvNewsCache {
public:
    using OlvNewsCache::OlvNewsCache;
    [[nodiscard]] std::optional<QUrl> feedRequest() const override { return std::nullopt; }
};

/// A cache that can lose its list of items, which no parse does.
class Listless : public OlvNewsCache {
public:
    using OlvNewsCache::OlvNewsCache;
    void loseItems() { _retrieved.set({}); }
};

/// The log, each text as the format that it was made from; an unknown text is unchanged.
QStringList kinds(const RecordingLogger &logger) {
    constexpr std::array vocabulary = {
        LogVocabulary::writingLocalCacheFailed, LogVocabulary::parsingLocalCacheFailed,
        LogVocabulary::readingLocalCacheFailed, LogVocabulary::parsingFeedFailed,
        LogVocabulary::feedRequestReturning,    LogVocabulary::creatingCacheFolderFailed,
    };
    QStringList found;
    for (const auto &[level, text] : logger.entries()) {
        QString kind = text;
        for (const QStringView format : vocabulary) {
            if (text.startsWith(format.left(format.indexOf(u"%@"))))
                kind = format.toString();
        }
        found << QString::number(level) + QLatin1Char(' ') + kind;
    }
    return found;
}

QString error(QStringView format) {
    return QStringLiteral("1 ") + format.toString();
}

const QString asked = QStringLiteral("3 ") + LogVocabulary::feedRequestReturning.toString();

}  // namespace

class OlvNewsCacheTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void init() {
        HostBundle::setIdentity({identifier, {}, {}});
        QDir(cacheFolder(identifier)).removeRecursively();
        QFile::remove(cacheFolder(identifier));
        loader = std::make_shared<ScriptedLoader>();
        logger = std::make_shared<RecordingLogger>();
        cache = make<OlvNewsCache>();
    }
    void cleanup() { cache.reset(); }

    void isEmptyAtFirst();
    void failsAtOnceWithoutABaseAddress();
    void failsAtOnceWithoutARequest();
    void needsNoCompletion();
    void buildsTheAddress_data();
    void buildsTheAddress();
    void logsTheAddressAtInfoLevel();
    void logsTheAddressAsItStands();
    void asksForAnAddressThatIsNotQuiteRight();
    void asksForSixtySecondsOfPatience();
    void takesAFeedAndWritesItToTheFile();
    void aFeedThatIsInPlaceAlreadyLeavesItemsAndFileAndDatesTheFileAnew();
    void aFeedThatIsInPlaceAlreadyIsWrittenAgainWhereTheFileIsNotAsItWas_data();
    void aFeedThatIsInPlaceAlreadyIsWrittenAgainWhereTheFileIsNotAsItWas();
    void aFeedThatComesAgainAfterOneThatDidNotParseIsWrittenAgain();
    void aFeedThatCameBeforeIsReadAgainWhereOtherItemsHaveTakenItsPlace();
    void aFeedOfTheSameLengthIsAnother();
    void takesAResponseWithoutAStatus();
    void aStatusBelow400IsNoError_data();
    void aStatusBelow400IsNoError();
    void aStatusOf400OrMoreIsAnErrorAndTheFileRestoresTheItems_data();
    void aStatusOf400OrMoreIsAnErrorAndTheFileRestoresTheItems();
    void aConnectionErrorDiscardsTheBytesThatCame();
    void neitherDataNorErrorIsAnErrorOfItsOwn();
    void dataThatDoNotParseKeepTheItemsAndReachTheFile_data();
    void dataThatDoNotParseKeepTheItemsAndReachTheFile();
    void dataThatAreNotUtf8KeepTheItemsAndTheFile_data();
    void dataThatAreNotUtf8KeepTheItemsAndTheFile();
    void anEmptyFeedReplacesTheItems();
    void aFeedThatBreaksOffGivesTheItemsBefore();
    void aFeedOfTooManyItemsGivesThoseBeforeAndReachesTheFile();
    void aByteOrderMarkIsKeptInTheFileAndReadOver();
    void aFailedWriteIsLoggedOnly_data();
    void aFailedWriteIsLoggedOnly();
    void aFallbackFileThatCannotBeReadIsLogged();
    void aFallbackFileThatDoesNotParseIsLogged();
    void aFallbackFileThatDoesNotParseIsLoggedOnceMoreWhereThereIsNoList();
    void aDownloadThatDoesNotParseIsAnErrorWhereThereIsNoList();
    void aFolderThatCannotBeMadeIsLoggedAndTheCacheWorksFromMemory();
    void parseFeedLogsThePlaceForTheError();
    void logsNothingWithoutALogger();
    void itemAtIndexGivesNothingBeyondTheEnd();
    void isRetrievingUntilTheCompletionHasReturned();
    void twoRefreshesAtOnceBothEnd();
    void theCacheLivesUntilItsCompletionHasRun();
    void refreshesFromAnyThread();
    void letsGoOfItemsOffTheMainThread();

private:
    template <class Cache>
    std::shared_ptr<Cache> make() {
        auto made = std::make_shared<Cache>(loader);
        made->setLogger(logger);
        made->setFeedBaseURL(base);
        return made;
    }
    void download(const QString &text) {
        loader->setOutcome(ScriptedLoader::answer(200, text.toUtf8()));
        const RefreshOutcome outcome = refreshAndWait(cache);
        QVERIFY(outcome.ended);
        QVERIFY(!outcome.error);
    }
    static QString file() { return cacheFolder(identifier) + QStringLiteral("/PelorinNews.xml"); }
    static bool putFile(const QString &text) {
        return writeBytes(file(), byteOrderMark() + utf16Bytes(text));
    }
    void failDownloads() { loader->setOutcome({{}, {}, refused}); }

    std::shared_ptr<ScriptedLoader> loader;
    std::shared_ptr<RecordingLogger> logger;
    std::shared_ptr<OlvNewsCache> cache;
};

void OlvNewsCacheTest::isEmptyAtFirst() {
    QCOMPARE(cache->count(), 0U);
    QVERIFY(cache->retrievedLocale().isNull());
    QVERIFY(!cache->retrievingContent());
    QVERIFY(QDir(cacheFolder(identifier)).exists());
    QVERIFY(!QFile::exists(file()));
}

void OlvNewsCacheTest::failsAtOnceWithoutABaseAddress() {
    download(feedOfTitles("en", {"old"}));
    const auto before = logger->entries();
    QTRY_VERIFY(!cache->retrievingContent());
    cache->setFeedBaseURL({});
    const RefreshOutcome outcome = refreshAndWait(cache);
    QVERIFY(outcome.onCallersThread);
    QVERIFY(!outcome.stillRetrieving);
    QCOMPARE(outcome.error, std::optional(Error{cacheDomain, -2, {}}));
    QCOMPARE(titles(*cache), QStringList{"old"});
    QCOMPARE(logger->entries(), before);
    QCOMPARE(loader->requests().size(), 1);
}

void OlvNewsCacheTest::failsAtOnceWithoutARequest() {
    cache = make<Refusing>();
    bool called = false;
    cache->refresh([&called](const std::optional<Error> &outcome) {
        called = true;
        QCOMPARE(outcome, std::optional(Error{cacheDomain, -3, {}}));
    });
    QVERIFY(called);
    QVERIFY(!cache->retrievingContent());
    QVERIFY(logger->entries().isEmpty());
    QVERIFY(loader->requests().isEmpty());
}

void OlvNewsCacheTest::needsNoCompletion() {
    cache->setFeedBaseURL({});
    cache->refresh({});
    make<Refusing>()->refresh({});
    cache->setFeedBaseURL(base);
    loader->setOutcome(ScriptedLoader::answer(200, feedOfTitles("en", {"new"}).toUtf8()));
    cache->refresh({});
    QTRY_COMPARE(cache->count(), 1U);
    QTRY_VERIFY(!cache->retrievingContent());
}

void OlvNewsCacheTest::buildsTheAddress_data() {
    QTest::addColumn<QString>("baseURL");
    QTest::addColumn<QString>("locale");
    QTest::addColumn<QString>("type");
    QTest::addColumn<QString>("address");
    const QString b = QStringLiteral("https://h.example/p.php");
    QTest::newRow("both") << b << "de"
                          << "standard" << b + "?&locale=de&type=standard";
    QTest::newRow("empty language") << b << ""
                                    << "standard" << b + "?&type=standard";
    QTest::newRow("absent type") << b << "de" << QString() << b + "?&locale=de";
    QTest::newRow("neither") << b << QString() << "" << b + "?";
    QTest::newRow("static") << b + ".xml"
                            << "de"
                            << "standard" << b + ".xml";
    QTest::newRow("as if static, but further on") << "https://h.example/a.xml/p"
                                                  << "de"
                                                  << "standard"
                                                  << "https://h.example/a.xml/"
                                                     "p?&locale=de&type=standard";
    QTest::newRow("static in capitals") << b + ".XML"
                                        << ""
                                        << "" << b + ".XML?";
    QTest::newRow("with a query") << b + "?a=b"
                                  << "de"
                                  << "" << b + "?a=b?&locale=de";
    QTest::newRow("as they stand") << b << "de&x=1"
                                   << "a+b" << b + "?&locale=de&x=1&type=a+b";
    QTest::newRow("empty base") << ""
                                << "de"
                                << ""
                                << "?&locale=de";
}

void OlvNewsCacheTest::buildsTheAddress() {
    QFETCH(QString, baseURL);
    QFETCH(QString, locale);
    QFETCH(QString, type);
    QFETCH(QString, address);
    cache->setFeedBaseURL(baseURL);
    cache->setDesiredLocale(locale);
    cache->setFeedType(type);
    const auto request = cache->feedRequest();
    QVERIFY(request);
    QCOMPARE(request->toEncoded(), address.toUtf8());
    QCOMPARE(logger->entries().last().text,
             QStringLiteral("News Cache -feedRequest returning: ") + address);
}

void OlvNewsCacheTest::logsTheAddressAtInfoLevel() {
    cache->setDesiredLocale(QStringLiteral("de"));
    QVERIFY(cache->feedRequest());
    const QString line = QStringLiteral("News Cache -feedRequest returning: ") + base +
                         QStringLiteral("?&locale=de");
    QCOMPARE(logger->entries(), (QList<RecordingLogger::Entry>{{3, line}}));
    cache->setFeedBaseURL({});
    QVERIFY(!cache->feedRequest());
    QCOMPARE(logger->entries().size(), 1);
}

void OlvNewsCacheTest::logsTheAddressAsItStands() {
    cache->setDesiredLocale(QStringLiteral("de\n\x1b[31m  \u202e"));
    QVERIFY(cache->feedRequest());
    QCOMPARE(logger->entries().last().text, QStringLiteral("News Cache -feedRequest returning: ") +
                                                base +
                                                QStringLiteral("?&locale=de\n\x1b[31m  \u202e"));
}

void OlvNewsCacheTest::asksForAnAddressThatIsNotQuiteRight() {
    cache->setFeedBaseURL(QStringLiteral("https://h.example/a b\"c%zz"));
    const auto request = cache->feedRequest();
    QVERIFY(request);
    QCOMPARE(request->toEncoded(), "https://h.example/a%20b%22c%25zz?");
}

void OlvNewsCacheTest::asksForSixtySecondsOfPatience() {
    download(feedOfTitles("en", {"a"}));
    QCOMPARE(loader->requests().size(), 1);
    QCOMPARE(loader->requests().first().url.toEncoded(), (base + "?").toUtf8());
    QCOMPARE(loader->requests().first().idleTimeoutSeconds, 60);
}

void OlvNewsCacheTest::takesAFeedAndWritesItToTheFile() {
    const QString text = feedOfTitles("de", {"erster", "zweiter \u4e16\U0001F600"});
    download(text);
    QCOMPARE(titles(*cache), (QStringList{"erster", "zweiter \u4e16\U0001F600"}));
    QCOMPARE(cache->retrievedLocale(), QStringLiteral("de"));
    QCOMPARE(readBytes(file()), byteOrderMark() + utf16Bytes(text));
    QCOMPARE(kinds(*logger), QStringList{asked});
    QCOMPARE(QDir(cacheFolder(identifier)).entryList(QDir::Files | QDir::Hidden).size(), 1);
}

void OlvNewsCacheTest::aFeedThatIsInPlaceAlreadyLeavesItemsAndFileAndDatesTheFileAnew() {
    const QString feed = feedOfTitles("en", {"a", "b"});
    download(feed);
    const auto item = cache->itemAtIndex(0);
    const QDateTime past = QDateTime::currentDateTimeUtc().addSecs(-1);
    const LocalCacheFile::Stamp before = LocalCacheFile(file()).stamp().value();
    // So that the new date is later even on file systems with coarse timestamps.
    QTest::qSleep(20);
    download(feed);
    QCOMPARE(titles(*cache), QStringList({"a", "b"}));
    QCOMPARE(cache->retrievedLocale(), QStringLiteral("en"));
    QCOMPARE(cache->itemAtIndex(0), item);
    QCOMPARE(readBytes(file()), byteOrderMark() + utf16Bytes(feed));
    const LocalCacheFile::Stamp after = LocalCacheFile(file()).stamp().value();
    QCOMPARE(after.number, before.number);
    QVERIFY(after.modified > before.modified);
    QVERIFY(QFileInfo(file()).lastModified() > past);
    QCOMPARE(kinds(*logger), QStringList({asked, asked}));
    // Once more, to test with the date that the file has now.
    download(feed);
    QCOMPARE(cache->itemAtIndex(0), item);
}

void OlvNewsCacheTest::aFeedThatIsInPlaceAlreadyIsWrittenAgainWhereTheFileIsNotAsItWas_data() {
    QTest::addColumn<std::function<void()>>("change");
    using Change = std::function<void()>;
    QTest::newRow("gone") << Change([] { QVERIFY(QFile::remove(file())); });
    QTest::newRow("replaced") << Change([] {
        QVERIFY(QFile::remove(file()));
        QVERIFY(putFile(feedOfTitles("en", {"x"})));
    });
    QTest::newRow("changed in its place") << Change([] {
        QFile changed(file());
        QVERIFY(changed.open(QIODevice::ReadWrite) && changed.seek(100));
        QCOMPARE(changed.write("!"), 1);
    });
    QTest::newRow("a folder") << Change([] {
        QVERIFY(QFile::remove(file()) && QDir().mkdir(file()));
        QVERIFY(QDir().rmdir(file()));
    });
}

void OlvNewsCacheTest::aFeedThatIsInPlaceAlreadyIsWrittenAgainWhereTheFileIsNotAsItWas() {
    QFETCH(const std::function<void()>, change);
    const QString feed = feedOfTitles("en", {"a"});
    download(feed);
    QTest::qSleep(20);
    change();
    download(feed);
    QCOMPARE(readBytes(file()), byteOrderMark() + utf16Bytes(feed));
    QCOMPARE(titles(*cache), QStringList{"a"});
}

void OlvNewsCacheTest::aFeedThatComesAgainAfterOneThatDidNotParseIsWrittenAgain() {
    const QString good = feedOfTitles("en", {"a"});
    const QString bad = QStringLiteral("<rss>");
    download(good);
    download(bad);
    QCOMPARE(titles(*cache), QStringList{"a"});
    QCOMPARE(readBytes(file()), byteOrderMark() + utf16Bytes(bad));
    download(good);
    QCOMPARE(titles(*cache), QStringList{"a"});
    QCOMPARE(readBytes(file()), byteOrderMark() + utf16Bytes(good));
}

void OlvNewsCacheTest::aFeedThatCameBeforeIsReadAgainWhereOtherItemsHaveTakenItsPlace() {
    const QString feed = feedOfTitles("en", {"a"});
    download(feed);
    QVERIFY(cache->parseFeed(feedOfTitles("de", {"x"}), nullptr));
    QCOMPARE(titles(*cache), QStringList{"x"});
    download(feed);
    QCOMPARE(titles(*cache), QStringList{"a"});
    QCOMPARE(cache->retrievedLocale(), QStringLiteral("en"));
    download(feedOfTitles("en", {"b"}));
    download(feed);
    QCOMPARE(titles(*cache), QStringList{"a"});
    QCOMPARE(readBytes(file()), byteOrderMark() + utf16Bytes(feed));
}

void OlvNewsCacheTest::aFeedOfTheSameLengthIsAnother() {
    download(feedOfTitles("en", {"a"}));
    download(feedOfTitles("en", {"b"}));
    QCOMPARE(titles(*cache), QStringList{"b"});
    const QByteArray locale = qgetenv("LC_ALL");
    qputenv("LC_ALL", "de_DE.UTF-8");
    const auto item = cache->itemAtIndex(0);
    download(feedOfTitles("en", {"b"}));
    qputenv("LC_ALL", locale);
    QVERIFY2(cache->itemAtIndex(0) != item, "dates may be others in another language");
}

void OlvNewsCacheTest::takesAResponseWithoutAStatus() {
    loader->setOutcome({UrlResponse{}, feedOfTitles("en", {"a"}).toUtf8(), {}});
    QVERIFY(!refreshAndWait(cache).error);
    QCOMPARE(titles(*cache), QStringList{"a"});
    loader->setOutcome({{}, feedOfTitles("en", {"b"}).toUtf8(), {}});
    QVERIFY(!refreshAndWait(cache).error);
    QCOMPARE(titles(*cache), QStringList{"b"});
}

void OlvNewsCacheTest::aStatusBelow400IsNoError_data() {
    QTest::addColumn<int>("status");
    for (const int status : {200, 204, 304, 399})
        QTest::addRow("%d", status) << status;
}

void OlvNewsCacheTest::aStatusBelow400IsNoError() {
    QFETCH(int, status);
    loader->setOutcome(ScriptedLoader::answer(status, feedOfTitles("en", {"new"}).toUtf8()));
    const RefreshOutcome outcome = refreshAndWait(cache);
    QVERIFY(outcome.ended);
    QVERIFY(!outcome.error);
    QCOMPARE(titles(*cache), QStringList{"new"});
}

void OlvNewsCacheTest::aStatusOf400OrMoreIsAnErrorAndTheFileRestoresTheItems_data() {
    QTest::addColumn<int>("status");
    QTest::addColumn<bool>("withConnectionError");
    for (const int status : {400, 404, 503, 999}) {
        QTest::addRow("%d", status) << status << false;
        QTest::addRow("%d and a connection error", status) << status << true;
    }
}

void OlvNewsCacheTest::aStatusOf400OrMoreIsAnErrorAndTheFileRestoresTheItems() {
    QFETCH(int, status);
    QFETCH(bool, withConnectionError);
    QVERIFY(putFile(feedOfTitles("fr", {"from the file"})));
    auto outcome = ScriptedLoader::answer(status, feedOfTitles("en", {"error page"}).toUtf8());
    if (withConnectionError)
        outcome.connectionError = refused;
    loader->setOutcome(outcome);
    const RefreshOutcome ended = refreshAndWait(cache);
    QCOMPARE(ended.error,
             std::optional(Error{QStringLiteral("HTTP Property Status Code"), status, {}}));
    QVERIFY(!ended.onCallersThread);
    QCOMPARE(titles(*cache), QStringList{"from the file"});
    QCOMPARE(cache->retrievedLocale(), QStringLiteral("fr"));
    QCOMPARE(kinds(*logger), QStringList{asked});
}

void OlvNewsCacheTest::aConnectionErrorDiscardsTheBytesThatCame() {
    download(feedOfTitles("en", {"old"}));
    const QByteArray before = readBytes(file());
    loader->setOutcome({UrlResponse{200}, feedOfTitles("en", {"half"}).toUtf8(), refused});
    QCOMPARE(refreshAndWait(cache).error, std::optional(refused));
    QCOMPARE(titles(*cache), QStringList{"old"});
    QCOMPARE(readBytes(file()), before);
}

void OlvNewsCacheTest::neitherDataNorErrorIsAnErrorOfItsOwn() {
    QVERIFY(putFile(feedOfTitles("fr", {"from the file"})));
    loader->setOutcome({});
    QCOMPARE(refreshAndWait(cache).error, std::optional(Error{cacheDomain, -4, {}}));
    QCOMPARE(titles(*cache), QStringList{"from the file"});
    loader->setOutcome({UrlResponse{200}, {}, {}});
    QCOMPARE(refreshAndWait(cache).error, std::optional(Error{cacheDomain, -4, {}}));
}

void OlvNewsCacheTest::dataThatDoNotParseKeepTheItemsAndReachTheFile_data() {
    QTest::addColumn<QString>("text");
    QTest::newRow("no language") << feedOfTitles(QString(), {"new"});
    QTest::newRow("no feed") << QStringLiteral("<html>sign in</html>");
    QTest::newRow("no XML") << QStringLiteral("hello");
    QTest::newRow("empty body") << QStringLiteral("");
}

void OlvNewsCacheTest::dataThatDoNotParseKeepTheItemsAndReachTheFile() {
    QFETCH(QString, text);
    download(feedOfTitles("en", {"old"}));
    download(text);
    QCOMPARE(titles(*cache), QStringList{"old"});
    QCOMPARE(cache->retrievedLocale(), QStringLiteral("en"));
    QCOMPARE(readBytes(file()), byteOrderMark() + utf16Bytes(text));
    QCOMPARE(kinds(*logger), (QStringList{asked, asked, error(LogVocabulary::parsingFeedFailed)}));

    // A later fallback fails to parse it as well.
    failDownloads();
    QVERIFY(refreshAndWait(cache).error);
    QCOMPARE(titles(*cache), QStringList{"old"});
    QCOMPARE(kinds(*logger).mid(3), (QStringList{asked, error(LogVocabulary::parsingFeedFailed)}));
}

void OlvNewsCacheTest::dataThatAreNotUtf8KeepTheItemsAndTheFile_data() {
    QTest::addColumn<QByteArray>("body");
    const QByteArray feed = feedOfTitles("en", {"new"}).toUtf8();
    QTest::newRow("a byte that is none") << feed + '\xff';
    QTest::newRow("a last character cut short") << feed + "\xe4\xb8";
    QTest::newRow("an overlong form") << feed + "\xc0\xaf";
    QTest::newRow("a surrogate") << feed + "\xed\xa0\x80";
    QTest::newRow("Latin-1") << QByteArray(feed).replace("new", "n\xe4u");
}

void OlvNewsCacheTest::dataThatAreNotUtf8KeepTheItemsAndTheFile() {
    QFETCH(QByteArray, body);
    download(feedOfTitles("en", {"old"}));
    const QByteArray before = readBytes(file());
    loader->setOutcome(ScriptedLoader::answer(200, body));
    const RefreshOutcome outcome = refreshAndWait(cache);
    QVERIFY(outcome.ended);
    QVERIFY(!outcome.error);
    QCOMPARE(titles(*cache), QStringList{"old"});
    QCOMPARE(readBytes(file()), before);
    QCOMPARE(kinds(*logger), (QStringList{asked, asked, error(LogVocabulary::parsingFeedFailed)}));
}

void OlvNewsCacheTest::anEmptyFeedReplacesTheItems() {
    download(feedOfTitles("en", {"old"}));
    download(feedOfTitles("de", {}));
    QCOMPARE(cache->count(), 0U);
    QCOMPARE(cache->retrievedLocale(), QStringLiteral("de"));
}

void OlvNewsCacheTest::aFeedThatBreaksOffGivesTheItemsBefore() {
    const QString text = feedOfTitles("en", {"first", "second"});
    download(text.left(text.indexOf(QStringLiteral("second"))));
    QCOMPARE(titles(*cache), QStringList{"first"});
    QCOMPARE(kinds(*logger), QStringList{asked});
}

void OlvNewsCacheTest::aFeedOfTooManyItemsGivesThoseBeforeAndReachesTheFile() {
    const QString text = QStringLiteral("<rss><language>en</language>") +
                         QStringLiteral("<item/>").repeated(100'000) +
                         QStringLiteral("<item><title>one more</title></item></rss>");
    download(text);
    QCOMPARE(cache->count(), 100'000U);
    QVERIFY(cache->itemAtIndex(99'999)->title().isNull());
    QCOMPARE(kinds(*logger), QStringList{asked});
    QVERIFY(readBytes(file()) == byteOrderMark() + utf16Bytes(text));
}

void OlvNewsCacheTest::aByteOrderMarkIsKeptInTheFileAndReadOver() {
    const QString text = QChar(QChar::ByteOrderMark) + feedOfTitles("en", {"a"});
    download(text);
    QCOMPARE(titles(*cache), QStringList{"a"});
    QCOMPARE(readBytes(file()), byteOrderMark() + utf16Bytes(text));
    cache = make<OlvNewsCache>();
    failDownloads();
    QVERIFY(refreshAndWait(cache).error);
    QCOMPARE(titles(*cache), QStringList{"a"});
}

void OlvNewsCacheTest::aFailedWriteIsLoggedOnly_data() {
    QTest::addColumn<bool>("folderIsGone");
    QTest::newRow("a folder stands in the file's place") << false;
    QTest::newRow("a file stands in the folder's place") << true;
}

void OlvNewsCacheTest::aFailedWriteIsLoggedOnly() {
    QFETCH(bool, folderIsGone);
    if (folderIsGone) {
        QVERIFY(QDir().rmdir(cacheFolder(identifier)));
        QVERIFY(writeBytes(cacheFolder(identifier), "in the way"));
    } else {
        QVERIFY(QDir().mkdir(file()));
    }
    download(feedOfTitles("en", {"new"}));
    QCOMPARE(titles(*cache), QStringList{"new"});
    QCOMPARE(kinds(*logger), (QStringList{asked, error(LogVocabulary::writingLocalCacheFailed)}));
    QVERIFY(logger->entries().last().text.startsWith(QLatin1String(
        "News Cache -refresh failed to write local cache: Error Domain=QFileDevice Code=")));
}

void OlvNewsCacheTest::aFallbackFileThatCannotBeReadIsLogged() {
    download(feedOfTitles("en", {"old"}));
    failDownloads();
    QVERIFY(QFile::remove(file()));
    QCOMPARE(refreshAndWait(cache).error, std::optional(refused));
    QCOMPARE(titles(*cache), QStringList{"old"});
    QVERIFY(writeBytes(file(), "odd"));
    QCOMPARE(refreshAndWait(cache).error, std::optional(refused));
    QCOMPARE(titles(*cache), QStringList{"old"});
    const QString unreadable = error(LogVocabulary::readingLocalCacheFailed);
    QCOMPARE(kinds(*logger), (QStringList{asked, asked, unreadable, asked, unreadable}));
    QVERIFY(logger->entries().last().text.startsWith(QLatin1String(
        "News Cache -refresh failed to read local cache: Error Domain=QFileDevice Code=")));
}

void OlvNewsCacheTest::aFallbackFileThatDoesNotParseIsLogged() {
    download(feedOfTitles("en", {"old"}));
    QVERIFY(putFile(QStringLiteral("<rss>")));
    failDownloads();
    QCOMPARE(refreshAndWait(cache).error, std::optional(refused));
    QCOMPARE(titles(*cache), QStringList{"old"});
    QCOMPARE(kinds(*logger), (QStringList{asked, asked, error(LogVocabulary::parsingFeedFailed)}));
}

void OlvNewsCacheTest::aFallbackFileThatDoesNotParseIsLoggedOnceMoreWhereThereIsNoList() {
    auto listless = make<Listless>();
    listless->loseItems();
    QVERIFY(putFile(QStringLiteral("<rss>")));
    failDownloads();
    QCOMPARE(refreshAndWait(listless).error, std::optional(refused));
    QCOMPARE(listless->count(), 0U);
    QVERIFY(!listless->itemAtIndex(0));
    QCOMPARE(kinds(*logger), (QStringList{asked, error(LogVocabulary::parsingFeedFailed),
                                          error(LogVocabulary::parsingLocalCacheFailed)}));
    QVERIFY(logger->entries().last().text.startsWith(
        QLatin1String("News Cache -refresh failed to parse local cache: Error Domain=")));
}

void OlvNewsCacheTest::aDownloadThatDoesNotParseIsAnErrorWhereThereIsNoList() {
    auto listless = make<Listless>();
    listless->loseItems();
    QVERIFY(putFile(feedOfTitles("fr", {"from the file"})));
    loader->setOutcome(ScriptedLoader::answer(200, "<rss>"));
    const RefreshOutcome outcome = refreshAndWait(listless);
    QVERIFY(outcome.error);
    QVERIFY(!outcome.error->domain.isEmpty());
    QCOMPARE(titles(*listless), QStringList{"from the file"});
}

void OlvNewsCacheTest::aFolderThatCannotBeMadeIsLoggedAndTheCacheWorksFromMemory() {
    download(feedOfTitles("en", {"old"}));
    QVERIFY(QDir(cacheFolder(identifier)).removeRecursively());
    QVERIFY(writeBytes(cacheFolder(identifier), "in the way"));
    cache->initializeLocalCache();
    const QString unmakable = error(LogVocabulary::creatingCacheFolderFailed);
    QCOMPARE(kinds(*logger), (QStringList{asked, unmakable}));
    const QString line = logger->entries().last().text;
    QVERIFY2(line.startsWith(QLatin1String(
                 "News Cache -initializeLocalCache failed to create folder: Error Domain=")),
             qPrintable(line));

    download(feedOfTitles("en", {"new"}));
    QCOMPARE(titles(*cache), QStringList{"new"});
    failDownloads();
    QCOMPARE(refreshAndWait(cache).error, std::optional(refused));
    QCOMPARE(titles(*cache), QStringList{"new"});
    QCOMPARE(kinds(*logger).mid(2),
             (QStringList{asked, error(LogVocabulary::writingLocalCacheFailed), asked,
                          error(LogVocabulary::readingLocalCacheFailed)}));
}

void OlvNewsCacheTest::parseFeedLogsThePlaceForTheError() {
    Error place;
    QVERIFY(!cache->parseFeed(QStringLiteral("<rss>"), &place));
    QVERIFY(!place.domain.isEmpty());
    QVERIFY(!cache->parseFeed(QString(), nullptr));
    const auto lines = logger->entries();
    QCOMPARE(lines.size(), 2);
    const QString text = QStringLiteral(
        "News Cache -parseFeed:error: failed to parse, "
        "using old data (%1)");
    const QString address =
        QLatin1String("0x") + QString::number(reinterpret_cast<quintptr>(&place), 16);
    QCOMPARE(lines[0], (RecordingLogger::Entry{1, text.arg(address)}));
    QCOMPARE(lines[1], (RecordingLogger::Entry{1, text.arg(QLatin1String("(null)"))}));
    QVERIFY(cache->parseFeed(feedOfTitles("en", {"a", "b"}), nullptr));
    QCOMPARE(cache->count(), 2U);
    QCOMPARE(logger->entries().size(), 2);
}

void OlvNewsCacheTest::logsNothingWithoutALogger() {
    cache->setLogger(nullptr);
    QVERIFY(QDir().mkdir(file()));
    download(feedOfTitles("en", {"new"}));
    download(QStringLiteral("<rss>"));
    failDownloads();
    QCOMPARE(refreshAndWait(cache).error, std::optional(refused));
    QCOMPARE(titles(*cache), QStringList{"new"});
    QVERIFY(logger->entries().isEmpty());
}

void OlvNewsCacheTest::itemAtIndexGivesNothingBeyondTheEnd() {
    QVERIFY(!cache->itemAtIndex(0));
    download(feedOfTitles("en", {"a", "b"}));
    QCOMPARE(cache->itemAtIndex(1)->title(), QStringLiteral("b"));
    QVERIFY(!cache->itemAtIndex(2));
    QVERIFY(!cache->itemAtIndex(std::numeric_limits<quint64>::max()));
}

void OlvNewsCacheTest::isRetrievingUntilTheCompletionHasReturned() {
    loader->setOutcome(ScriptedLoader::answer(200, feedOfTitles("en", {"a"}).toUtf8()));
    loader->hold();
    QSemaphore inside;
    QSemaphore mayReturn;
    cache->refresh([&](const std::optional<Error> &) {
        inside.release();
        mayReturn.acquire();
    });
    QVERIFY(cache->retrievingContent());
    loader->release();
    QVERIFY(inside.tryAcquire(1, 10000));
    QCOMPARE(cache->count(), 1U);
    QVERIFY(cache->retrievingContent());
    mayReturn.release();
    QTRY_VERIFY(!cache->retrievingContent());
}

void OlvNewsCacheTest::twoRefreshesAtOnceBothEnd() {
    loader->setOutcome(ScriptedLoader::answer(200, feedOfTitles("en", {"a"}).toUtf8()));
    loader->hold();
    std::atomic<int> ended = 0;
    for (int refresh = 0; refresh < 2; ++refresh)
        cache->refresh(
            [&ended](const std::optional<Error> &outcome) { ended += outcome ? 10 : 1; });
    QCOMPARE(loader->requests().size(), 2);
    loader->release();
    QTRY_COMPARE(ended.load(), 2);
    QTRY_VERIFY(!cache->retrievingContent());
    QCOMPARE(titles(*cache), QStringList{"a"});
}

void OlvNewsCacheTest::theCacheLivesUntilItsCompletionHasRun() {
    loader->setOutcome(ScriptedLoader::answer(200, feedOfTitles("en", {"a"}).toUtf8()));
    loader->hold();
    const std::weak_ptr<OlvNewsCache> watched = cache;
    QSemaphore ended;
    std::atomic<bool> alive = false;
    cache->refresh([&](const std::optional<Error> &) {
        alive = !watched.expired();
        ended.release();
    });
    cache.reset();
    QVERIFY(!watched.expired());
    // The last reference is released on a thread of the cache's own queue.
    loader->release();
    QVERIFY(ended.tryAcquire(1, 10000));
    QVERIFY(alive);
    QTRY_VERIFY(watched.expired());
}

void OlvNewsCacheTest::refreshesFromAnyThread() {
    loader->setOutcome(ScriptedLoader::answer(200, feedOfTitles("en", {"a"}).toUtf8()));
    RefreshOutcome outcome;
    std::thread([&] { outcome = refreshAndWait(cache); }).join();
    QVERIFY(outcome.ended);
    QVERIFY(!outcome.onCallersThread);
    QVERIFY(outcome.stillRetrieving);
    QCOMPARE(titles(*cache), QStringList{"a"});
}

void OlvNewsCacheTest::letsGoOfItemsOffTheMainThread() {
    std::atomic<Qt::HANDLE> destroyedOn = nullptr;
    const auto makeList = [&destroyedOn] {
        auto list = std::make_shared<OlvNewsItemList>();
        list->emplace_back(std::make_unique<OlvNewsCacheItem>().release(),
                           [&destroyedOn](const OlvNewsCacheItem *item) {
                               delete item;
                               destroyedOn = QThread::currentThreadId();
                           });
        return shareItemList(std::move(list));
    };
    OlvNewsItemListRef list = makeList();
    list.reset();
    QTRY_VERIFY(destroyedOn.load() != nullptr);
    QVERIFY(destroyedOn.load() != QThread::currentThreadId());

    destroyedOn = nullptr;
    list = makeList();
    Qt::HANDLE background = nullptr;
    std::thread([&] {
        background = QThread::currentThreadId();
        list.reset();
    }).join();
    QCOMPARE(destroyedOn.load(), background);
    QVERIFY(!shareItemList(nullptr));
}

PELORIN_CORE_TEST_MAIN(OlvNewsCacheTest)
#include "OlvNewsCacheTest.moc"
