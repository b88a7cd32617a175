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

/// A cache whose list of items the test can remove. A parse never does so.
class Listless : public OlvNewsCache {
public:
    using OlvNewsCache::OlvNewsCache;
    void loseItems() { _retrieved.set({}); }
};

/// The log entries as "LEVEL FORMAT", where FORMAT is the format string of the entry's text. A text
/// whose format is not listed here is unchanged.
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
        _loader = std::make_shared<ScriptedLoader>();
        _logger = std::make_shared<RecordingLogger>();
        _cache = make<OlvNewsCache>();
    }
    void cleanup() { _cache.reset(); }

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
        auto made = std::make_shared<Cache>(_loader);
        made->setLogger(_logger);
        made->setFeedBaseURL(base);
        return made;
    }
    void download(const QString &text) {
        _loader->setOutcome(ScriptedLoader::answer(200, text.toUtf8()));
        const RefreshOutcome outcome = refreshAndWait(_cache);
        QVERIFY(outcome.ended);
        QVERIFY(!outcome.error);
    }
    static QString file() { return cacheFolder(identifier) + QStringLiteral("/PelorinNews.xml"); }
    static bool putFile(const QString &text) {
        return writeBytes(file(), byteOrderMark() + utf16Bytes(text));
    }
    void failDownloads() { _loader->setOutcome({{}, {}, refused}); }

    std::shared_ptr<ScriptedLoader> _loader;
    std::shared_ptr<RecordingLogger> _logger;
    std::shared_ptr<OlvNewsCache> _cache;
};

void OlvNewsCacheTest::isEmptyAtFirst() {
    QCOMPARE(_cache->count(), 0U);
    QVERIFY(_cache->retrievedLocale().isNull());
    QVERIFY(!_cache->retrievingContent());
    QVERIFY(QDir(cacheFolder(identifier)).exists());
    QVERIFY(!QFile::exists(file()));
}

void OlvNewsCacheTest::failsAtOnceWithoutABaseAddress() {
    download(feedOfTitles("en", {"old"}));
    const auto before = _logger->entries();
    QTRY_VERIFY(!_cache->retrievingContent());
    _cache->setFeedBaseURL({});
    const RefreshOutcome outcome = refreshAndWait(_cache);
    QVERIFY(outcome.onCallersThread);
    QVERIFY(!outcome.stillRetrieving);
    QCOMPARE(outcome.error, std::optional(Error{cacheDomain, -2, {}}));
    QCOMPARE(titles(*_cache), QStringList{"old"});
    QCOMPARE(_logger->entries(), before);
    QCOMPARE(_loader->requests().size(), 1);
}

void OlvNewsCacheTest::failsAtOnceWithoutARequest() {
    _cache = make<Refusing>();
    bool called = false;
    _cache->refresh([&called](const std::optional<Error> &outcome) {
        called = true;
        QCOMPARE(outcome, std::optional(Error{cacheDomain, -3, {}}));
    });
    QVERIFY(called);
    QVERIFY(!_cache->retrievingContent());
    QVERIFY(_logger->entries().isEmpty());
    QVERIFY(_loader->requests().isEmpty());
}

void OlvNewsCacheTest::needsNoCompletion() {
    _cache->setFeedBaseURL({});
    _cache->refresh({});
    make<Refusing>()->refresh({});
    _cache->setFeedBaseURL(base);
    _loader->setOutcome(ScriptedLoader::answer(200, feedOfTitles("en", {"new"}).toUtf8()));
    _cache->refresh({});
    QTRY_COMPARE(_cache->count(), 1U);
    QTRY_VERIFY(!_cache->retrievingContent());
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
    _cache->setFeedBaseURL(baseURL);
    _cache->setDesiredLocale(locale);
    _cache->setFeedType(type);
    const auto request = _cache->feedRequest();
    QVERIFY(request);
    QCOMPARE(request->toEncoded(), address.toUtf8());
    QCOMPARE(_logger->entries().last().text,
             QStringLiteral("News Cache -feedRequest returning: ") + address);
}

void OlvNewsCacheTest::logsTheAddressAtInfoLevel() {
    _cache->setDesiredLocale(QStringLiteral("de"));
    QVERIFY(_cache->feedRequest());
    const QString line = QStringLiteral("News Cache -feedRequest returning: ") + base +
                         QStringLiteral("?&locale=de");
    QCOMPARE(_logger->entries(), (QList<RecordingLogger::Entry>{{3, line}}));
    _cache->setFeedBaseURL({});
    QVERIFY(!_cache->feedRequest());
    QCOMPARE(_logger->entries().size(), 1);
}

void OlvNewsCacheTest::logsTheAddressAsItStands() {
    _cache->setDesiredLocale(QStringLiteral("de\n\x1b[31m  \u202e"));
    QVERIFY(_cache->feedRequest());
    QCOMPARE(_logger->entries().last().text, QStringLiteral("News Cache -feedRequest returning: ") +
                                                 base +
                                                 QStringLiteral("?&locale=de\n\x1b[31m  \u202e"));
}

void OlvNewsCacheTest::asksForAnAddressThatIsNotQuiteRight() {
    _cache->setFeedBaseURL(QStringLiteral("https://h.example/a b\"c%zz"));
    const auto request = _cache->feedRequest();
    QVERIFY(request);
    QCOMPARE(request->toEncoded(), "https://h.example/a%20b%22c%25zz?");
}

void OlvNewsCacheTest::asksForSixtySecondsOfPatience() {
    download(feedOfTitles("en", {"a"}));
    QCOMPARE(_loader->requests().size(), 1);
    QCOMPARE(_loader->requests().first().url.toEncoded(), (base + "?").toUtf8());
    QCOMPARE(_loader->requests().first().idleTimeout, std::chrono::seconds(60));
}

void OlvNewsCacheTest::takesAFeedAndWritesItToTheFile() {
    const QString text = feedOfTitles("de", {"erster", "zweiter \u4e16\U0001F600"});
    download(text);
    QCOMPARE(titles(*_cache), (QStringList{"erster", "zweiter \u4e16\U0001F600"}));
    QCOMPARE(_cache->retrievedLocale(), QStringLiteral("de"));
    QCOMPARE(readBytes(file()), byteOrderMark() + utf16Bytes(text));
    QCOMPARE(kinds(*_logger), QStringList{asked});
    QCOMPARE(QDir(cacheFolder(identifier)).entryList(QDir::Files | QDir::Hidden).size(), 1);
}

void OlvNewsCacheTest::aFeedThatIsInPlaceAlreadyLeavesItemsAndFileAndDatesTheFileAnew() {
    const QString feed = feedOfTitles("en", {"a", "b"});
    download(feed);
    const auto item = _cache->itemAtIndex(0);
    const QDateTime past = QDateTime::currentDateTimeUtc().addSecs(-1);
    const LocalCacheFile::Stamp before = LocalCacheFile(file()).stamp().value();
    // Wait, so that the new modification time is later even on file systems with coarse timestamps.
    QTest::qSleep(20);
    download(feed);
    QCOMPARE(titles(*_cache), QStringList({"a", "b"}));
    QCOMPARE(_cache->retrievedLocale(), QStringLiteral("en"));
    QCOMPARE(_cache->itemAtIndex(0), item);
    QCOMPARE(readBytes(file()), byteOrderMark() + utf16Bytes(feed));
    const LocalCacheFile::Stamp after = LocalCacheFile(file()).stamp().value();
    QCOMPARE(after.number, before.number);
    QVERIFY(after.modified > before.modified);
    QVERIFY(QFileInfo(file()).lastModified() > past);
    QCOMPARE(kinds(*_logger), QStringList({asked, asked}));
    // Download once more, to check that the cache remembers the file's new modification time, too.
    download(feed);
    QCOMPARE(_cache->itemAtIndex(0), item);
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
    QCOMPARE(titles(*_cache), QStringList{"a"});
}

void OlvNewsCacheTest::aFeedThatComesAgainAfterOneThatDidNotParseIsWrittenAgain() {
    const QString good = feedOfTitles("en", {"a"});
    const QString bad = QStringLiteral("<rss>");
    download(good);
    download(bad);
    QCOMPARE(titles(*_cache), QStringList{"a"});
    QCOMPARE(readBytes(file()), byteOrderMark() + utf16Bytes(bad));
    download(good);
    QCOMPARE(titles(*_cache), QStringList{"a"});
    QCOMPARE(readBytes(file()), byteOrderMark() + utf16Bytes(good));
}

void OlvNewsCacheTest::aFeedThatCameBeforeIsReadAgainWhereOtherItemsHaveTakenItsPlace() {
    const QString feed = feedOfTitles("en", {"a"});
    download(feed);
    QVERIFY(_cache->parseFeed(feedOfTitles("de", {"x"}), nullptr));
    QCOMPARE(titles(*_cache), QStringList{"x"});
    download(feed);
    QCOMPARE(titles(*_cache), QStringList{"a"});
    QCOMPARE(_cache->retrievedLocale(), QStringLiteral("en"));
    download(feedOfTitles("en", {"b"}));
    download(feed);
    QCOMPARE(titles(*_cache), QStringList{"a"});
    QCOMPARE(readBytes(file()), byteOrderMark() + utf16Bytes(feed));
}

void OlvNewsCacheTest::aFeedOfTheSameLengthIsAnother() {
    download(feedOfTitles("en", {"a"}));
    download(feedOfTitles("en", {"b"}));
    QCOMPARE(titles(*_cache), QStringList{"b"});
    const QByteArray locale = qgetenv("LC_ALL");
    qputenv("LC_ALL", "de_DE.UTF-8");
    const auto item = _cache->itemAtIndex(0);
    download(feedOfTitles("en", {"b"}));
    qputenv("LC_ALL", locale);
    QVERIFY2(_cache->itemAtIndex(0) != item, "the dates must be parsed again for another language");
}

void OlvNewsCacheTest::takesAResponseWithoutAStatus() {
    _loader->setOutcome({UrlResponse{}, feedOfTitles("en", {"a"}).toUtf8(), {}});
    QVERIFY(!refreshAndWait(_cache).error);
    QCOMPARE(titles(*_cache), QStringList{"a"});
    _loader->setOutcome({{}, feedOfTitles("en", {"b"}).toUtf8(), {}});
    QVERIFY(!refreshAndWait(_cache).error);
    QCOMPARE(titles(*_cache), QStringList{"b"});
}

void OlvNewsCacheTest::aStatusBelow400IsNoError_data() {
    QTest::addColumn<int>("status");
    for (const int status : {200, 204, 304, 399})
        QTest::addRow("%d", status) << status;
}

void OlvNewsCacheTest::aStatusBelow400IsNoError() {
    QFETCH(int, status);
    _loader->setOutcome(ScriptedLoader::answer(status, feedOfTitles("en", {"new"}).toUtf8()));
    const RefreshOutcome outcome = refreshAndWait(_cache);
    QVERIFY(outcome.ended);
    QVERIFY(!outcome.error);
    QCOMPARE(titles(*_cache), QStringList{"new"});
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
    _loader->setOutcome(outcome);
    const RefreshOutcome ended = refreshAndWait(_cache);
    QCOMPARE(ended.error,
             std::optional(Error{QStringLiteral("HTTP Property Status Code"), status, {}}));
    QVERIFY(!ended.onCallersThread);
    QCOMPARE(titles(*_cache), QStringList{"from the file"});
    QCOMPARE(_cache->retrievedLocale(), QStringLiteral("fr"));
    QCOMPARE(kinds(*_logger), QStringList{asked});
}

void OlvNewsCacheTest::aConnectionErrorDiscardsTheBytesThatCame() {
    download(feedOfTitles("en", {"old"}));
    const QByteArray before = readBytes(file());
    _loader->setOutcome({UrlResponse{200}, feedOfTitles("en", {"half"}).toUtf8(), refused});
    QCOMPARE(refreshAndWait(_cache).error, std::optional(refused));
    QCOMPARE(titles(*_cache), QStringList{"old"});
    QCOMPARE(readBytes(file()), before);
}

void OlvNewsCacheTest::neitherDataNorErrorIsAnErrorOfItsOwn() {
    QVERIFY(putFile(feedOfTitles("fr", {"from the file"})));
    _loader->setOutcome({});
    QCOMPARE(refreshAndWait(_cache).error, std::optional(Error{cacheDomain, -4, {}}));
    QCOMPARE(titles(*_cache), QStringList{"from the file"});
    _loader->setOutcome({UrlResponse{200}, {}, {}});
    QCOMPARE(refreshAndWait(_cache).error, std::optional(Error{cacheDomain, -4, {}}));
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
    QCOMPARE(titles(*_cache), QStringList{"old"});
    QCOMPARE(_cache->retrievedLocale(), QStringLiteral("en"));
    QCOMPARE(readBytes(file()), byteOrderMark() + utf16Bytes(text));
    QCOMPARE(kinds(*_logger), (QStringList{asked, asked, error(LogVocabulary::parsingFeedFailed)}));

    // A later fallback reads this text from the file and fails to parse it, too.
    failDownloads();
    QVERIFY(refreshAndWait(_cache).error);
    QCOMPARE(titles(*_cache), QStringList{"old"});
    QCOMPARE(kinds(*_logger).mid(3), (QStringList{asked, error(LogVocabulary::parsingFeedFailed)}));
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
    _loader->setOutcome(ScriptedLoader::answer(200, body));
    const RefreshOutcome outcome = refreshAndWait(_cache);
    QVERIFY(outcome.ended);
    QVERIFY(!outcome.error);
    QCOMPARE(titles(*_cache), QStringList{"old"});
    QCOMPARE(readBytes(file()), before);
    QCOMPARE(kinds(*_logger), (QStringList{asked, asked, error(LogVocabulary::parsingFeedFailed)}));
}

void OlvNewsCacheTest::anEmptyFeedReplacesTheItems() {
    download(feedOfTitles("en", {"old"}));
    download(feedOfTitles("de", {}));
    QCOMPARE(_cache->count(), 0U);
    QCOMPARE(_cache->retrievedLocale(), QStringLiteral("de"));
}

void OlvNewsCacheTest::aFeedThatBreaksOffGivesTheItemsBefore() {
    const QString text = feedOfTitles("en", {"first", "second"});
    download(text.left(text.indexOf(QStringLiteral("second"))));
    QCOMPARE(titles(*_cache), QStringList{"first"});
    QCOMPARE(kinds(*_logger), QStringList{asked});
}

void OlvNewsCacheTest::aFeedOfTooManyItemsGivesThoseBeforeAndReachesTheFile() {
    const QString text = QStringLiteral("<rss><language>en</language>") +
                         QStringLiteral("<item/>").repeated(100'000) +
                         QStringLiteral("<item><title>one more</title></item></rss>");
    download(text);
    QCOMPARE(_cache->count(), 100'000U);
    QVERIFY(_cache->itemAtIndex(99'999)->title().isNull());
    QCOMPARE(kinds(*_logger), QStringList{asked});
    QVERIFY(readBytes(file()) == byteOrderMark() + utf16Bytes(text));
}

void OlvNewsCacheTest::aByteOrderMarkIsKeptInTheFileAndReadOver() {
    const QString text = QChar(QChar::ByteOrderMark) + feedOfTitles("en", {"a"});
    download(text);
    QCOMPARE(titles(*_cache), QStringList{"a"});
    QCOMPARE(readBytes(file()), byteOrderMark() + utf16Bytes(text));
    _cache = make<OlvNewsCache>();
    failDownloads();
    QVERIFY(refreshAndWait(_cache).error);
    QCOMPARE(titles(*_cache), QStringList{"a"});
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
    QCOMPARE(titles(*_cache), QStringList{"new"});
    QCOMPARE(kinds(*_logger), (QStringList{asked, error(LogVocabulary::writingLocalCacheFailed)}));
    QVERIFY(_logger->entries().last().text.startsWith(QLatin1String(
        "News Cache -refresh failed to write local cache: Error Domain=QFileDevice Code=")));
}

void OlvNewsCacheTest::aFallbackFileThatCannotBeReadIsLogged() {
    download(feedOfTitles("en", {"old"}));
    failDownloads();
    QVERIFY(QFile::remove(file()));
    QCOMPARE(refreshAndWait(_cache).error, std::optional(refused));
    QCOMPARE(titles(*_cache), QStringList{"old"});
    QVERIFY(writeBytes(file(), "odd"));
    QCOMPARE(refreshAndWait(_cache).error, std::optional(refused));
    QCOMPARE(titles(*_cache), QStringList{"old"});
    const QString unreadable = error(LogVocabulary::readingLocalCacheFailed);
    QCOMPARE(kinds(*_logger), (QStringList{asked, asked, unreadable, asked, unreadable}));
    QVERIFY(_logger->entries().last().text.startsWith(QLatin1String(
        "News Cache -refresh failed to read local cache: Error Domain=QFileDevice Code=")));
}

void OlvNewsCacheTest::aFallbackFileThatDoesNotParseIsLogged() {
    download(feedOfTitles("en", {"old"}));
    QVERIFY(putFile(QStringLiteral("<rss>")));
    failDownloads();
    QCOMPARE(refreshAndWait(_cache).error, std::optional(refused));
    QCOMPARE(titles(*_cache), QStringList{"old"});
    QCOMPARE(kinds(*_logger), (QStringList{asked, asked, error(LogVocabulary::parsingFeedFailed)}));
}

void OlvNewsCacheTest::aFallbackFileThatDoesNotParseIsLoggedOnceMoreWhereThereIsNoList() {
    auto listless = make<Listless>();
    listless->loseItems();
    QVERIFY(putFile(QStringLiteral("<rss>")));
    failDownloads();
    QCOMPARE(refreshAndWait(listless).error, std::optional(refused));
    QCOMPARE(listless->count(), 0U);
    QVERIFY(!listless->itemAtIndex(0));
    QCOMPARE(kinds(*_logger), (QStringList{asked, error(LogVocabulary::parsingFeedFailed),
                                           error(LogVocabulary::parsingLocalCacheFailed)}));
    QVERIFY(_logger->entries().last().text.startsWith(
        QLatin1String("News Cache -refresh failed to parse local cache: Error Domain=")));
}

void OlvNewsCacheTest::aDownloadThatDoesNotParseIsAnErrorWhereThereIsNoList() {
    auto listless = make<Listless>();
    listless->loseItems();
    QVERIFY(putFile(feedOfTitles("fr", {"from the file"})));
    _loader->setOutcome(ScriptedLoader::answer(200, "<rss>"));
    const RefreshOutcome outcome = refreshAndWait(listless);
    QVERIFY(outcome.error);
    QVERIFY(!outcome.error->domain.isEmpty());
    QCOMPARE(titles(*listless), QStringList{"from the file"});
}

void OlvNewsCacheTest::aFolderThatCannotBeMadeIsLoggedAndTheCacheWorksFromMemory() {
    download(feedOfTitles("en", {"old"}));
    QVERIFY(QDir(cacheFolder(identifier)).removeRecursively());
    QVERIFY(writeBytes(cacheFolder(identifier), "in the way"));
    _cache->initializeLocalCache();
    const QString unmakable = error(LogVocabulary::creatingCacheFolderFailed);
    QCOMPARE(kinds(*_logger), (QStringList{asked, unmakable}));
    const QString line = _logger->entries().last().text;
    QVERIFY2(line.startsWith(QLatin1String(
                 "News Cache -initializeLocalCache failed to create folder: Error Domain=")),
             qPrintable(line));

    download(feedOfTitles("en", {"new"}));
    QCOMPARE(titles(*_cache), QStringList{"new"});
    failDownloads();
    QCOMPARE(refreshAndWait(_cache).error, std::optional(refused));
    QCOMPARE(titles(*_cache), QStringList{"new"});
    QCOMPARE(kinds(*_logger).mid(2),
             (QStringList{asked, error(LogVocabulary::writingLocalCacheFailed), asked,
                          error(LogVocabulary::readingLocalCacheFailed)}));
}

void OlvNewsCacheTest::parseFeedLogsThePlaceForTheError() {
    Error place;
    QVERIFY(!_cache->parseFeed(QStringLiteral("<rss>"), &place));
    QVERIFY(!place.domain.isEmpty());
    QVERIFY(!_cache->parseFeed(QString(), nullptr));
    const auto lines = _logger->entries();
    QCOMPARE(lines.size(), 2);
    const QString text = QStringLiteral(
        "News Cache -parseFeed:error: failed to parse, "
        "using old data (%1)");
    const QString address =
        QLatin1String("0x") + QString::number(reinterpret_cast<quintptr>(&place), 16);
    QCOMPARE(lines[0], (RecordingLogger::Entry{1, text.arg(address)}));
    QCOMPARE(lines[1], (RecordingLogger::Entry{1, text.arg(QLatin1String("(null)"))}));
    QVERIFY(_cache->parseFeed(feedOfTitles("en", {"a", "b"}), nullptr));
    QCOMPARE(_cache->count(), 2U);
    QCOMPARE(_logger->entries().size(), 2);
}

void OlvNewsCacheTest::logsNothingWithoutALogger() {
    _cache->setLogger(nullptr);
    QVERIFY(QDir().mkdir(file()));
    download(feedOfTitles("en", {"new"}));
    download(QStringLiteral("<rss>"));
    failDownloads();
    QCOMPARE(refreshAndWait(_cache).error, std::optional(refused));
    QCOMPARE(titles(*_cache), QStringList{"new"});
    QVERIFY(_logger->entries().isEmpty());
}

void OlvNewsCacheTest::itemAtIndexGivesNothingBeyondTheEnd() {
    QVERIFY(!_cache->itemAtIndex(0));
    download(feedOfTitles("en", {"a", "b"}));
    QCOMPARE(_cache->itemAtIndex(1)->title(), QStringLiteral("b"));
    QVERIFY(!_cache->itemAtIndex(2));
    QVERIFY(!_cache->itemAtIndex(std::numeric_limits<quint64>::max()));
}

void OlvNewsCacheTest::isRetrievingUntilTheCompletionHasReturned() {
    _loader->setOutcome(ScriptedLoader::answer(200, feedOfTitles("en", {"a"}).toUtf8()));
    _loader->hold();
    QSemaphore inside;
    QSemaphore mayReturn;
    _cache->refresh([&](const std::optional<Error> &) {
        inside.release();
        mayReturn.acquire();
    });
    QVERIFY(_cache->retrievingContent());
    _loader->release();
    QVERIFY(inside.tryAcquire(1, testPatience));
    QCOMPARE(_cache->count(), 1U);
    QVERIFY(_cache->retrievingContent());
    mayReturn.release();
    QTRY_VERIFY(!_cache->retrievingContent());
}

void OlvNewsCacheTest::twoRefreshesAtOnceBothEnd() {
    _loader->setOutcome(ScriptedLoader::answer(200, feedOfTitles("en", {"a"}).toUtf8()));
    _loader->hold();
    std::atomic<int> ended = 0;
    for (int refresh = 0; refresh < 2; ++refresh)
        _cache->refresh(
            [&ended](const std::optional<Error> &outcome) { ended += outcome ? 10 : 1; });
    QCOMPARE(_loader->requests().size(), 2);
    _loader->release();
    QTRY_COMPARE(ended.load(), 2);
    QTRY_VERIFY(!_cache->retrievingContent());
    QCOMPARE(titles(*_cache), QStringList{"a"});
}

void OlvNewsCacheTest::theCacheLivesUntilItsCompletionHasRun() {
    _loader->setOutcome(ScriptedLoader::answer(200, feedOfTitles("en", {"a"}).toUtf8()));
    _loader->hold();
    const std::weak_ptr<OlvNewsCache> watched = _cache;
    QSemaphore ended;
    std::atomic<bool> alive = false;
    _cache->refresh([&](const std::optional<Error> &) {
        alive = !watched.expired();
        ended.release();
    });
    _cache.reset();
    QVERIFY(!watched.expired());
    // The last reference is released on a thread of the cache's own queue.
    _loader->release();
    QVERIFY(ended.tryAcquire(1, testPatience));
    QVERIFY(alive);
    QTRY_VERIFY(watched.expired());
}

void OlvNewsCacheTest::refreshesFromAnyThread() {
    _loader->setOutcome(ScriptedLoader::answer(200, feedOfTitles("en", {"a"}).toUtf8()));
    RefreshOutcome outcome;
    std::thread([&] { outcome = refreshAndWait(_cache); }).join();
    QVERIFY(outcome.ended);
    QVERIFY(!outcome.onCallersThread);
    QVERIFY(outcome.stillRetrieving);
    QCOMPARE(titles(*_cache), QStringList{"a"});
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
