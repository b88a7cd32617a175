#include "CacheTesting.h"
#include "DevelopmentCertificates.h"
#include "FeedServer.h"
#include "RecordingLogger.h"
#include "TestMain.h"
#include "feed/OlvNewsCacheFiltered.h"
#include "logging/LogVocabulary.h"
#include "network/NetworkUrlLoader.h"
#include "network/TransportError.h"
#include "platform/HostBundle.h"

#include <QSslConfiguration>
#include <QTcpServer>
#include <QTemporaryDir>

using namespace pelorinnews;
using namespace pelorinnews::test;
using namespace std::chrono_literals;

namespace {

const QString identifier = QStringLiteral("com.example.NetworkTest");
const QString transportDomain = transportErrorDomain();
const QString statusDomain = QStringLiteral("HTTP Property Status Code");

/// The real transport with a shorter timeout.
class ImpatientLoader : public UrlLoader {
public:
    ImpatientLoader() = default;
    void sendAsynchronousRequest(const QUrl &url, std::chrono::seconds idleTimeout,
                                 QThreadPool *queue, UrlCompletion completion) override {
        _network.sendAsynchronousRequest(url, std::min(idleTimeout, std::chrono::seconds(1)), queue,
                                         std::move(completion));
    }

private:
    NetworkUrlLoader _network;
};

FeedReply reply(const QString &options) {
    QString whyNot;
    const auto parsed = FeedReply::parse(options, &whyNot);
    if (!parsed)
        qFatal("invalid options of a reply: %s", qPrintable(whyNot));
    return *parsed;
}

/// The part of a format of `LogVocabulary` before its first placeholder.
QString beginning(QStringView format) {
    return format.left(format.indexOf(u"%@")).toString();
}

}  // namespace

class OlvNewsCacheNetworkTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void init();
    void cleanup();

    void downloadsFiltersAndStores_data() { schemes(); }
    void downloadsFiltersAndStores();
    void sendsTheAddressByteForByte_data();
    void sendsTheAddressByteForByte();
    void anAnswerThatCameWholeIsTaken_data();
    void anAnswerThatCameWholeIsTaken();
    void aFailedDownloadRestoresTheFileAndIsReported_data();
    void aFailedDownloadRestoresTheFileAndIsReported();
    void anAnswerWithoutAUsableFeedKeepsTheItems_data();
    void anAnswerWithoutAUsableFeedKeepsTheItems();
    void aServerThatStandsStillIsGivenUp_data() { schemes(); }
    void aServerThatStandsStillIsGivenUp();
    void aFailedWriteKeepsTheNewItems_data() { schemes(); }
    void aFailedWriteKeepsTheNewItems();
    void aFallbackFileThatIsOfNoUseKeepsTheItems_data();
    void aFallbackFileThatIsOfNoUseKeepsTheItems();
    void aServerThatIsNotThereIsAConnectionError_data() { schemes(); }
    void aServerThatIsNotThereIsAConnectionError();
    void aCertificateThatCannotBeTrustedIsAConnectionError_data();
    void aCertificateThatCannotBeTrustedIsAConnectionError();
    void anAddressThatIsNoneIsAConnectionError_data();
    void anAddressThatIsNoneIsAConnectionError();
    void readsAFileAddress_data();
    void readsAFileAddress();
    void aFileAddressWithoutAFileIsAConnectionError();

private:
    static void schemes() {
        QTest::addColumn<bool>("secure");
        QTest::newRow("http") << false;
        QTest::newRow("https") << true;
    }
    FeedServer &server(bool secure) { return secure ? *_https : *_http; }
    void useServer(bool secure) { _cache->setFeedBaseURL(server(secure).feedAddress()); }
    /// Writes a feed to the cache file that differs from every feed of the servers.
    static bool putFile() {
        const QString text = feedOfTitles("fr", {"from the file"});
        return writeBytes(file(), byteOrderMark() + utf16Bytes(text));
    }
    void checkFellBack(const Error &error, const QString &domain) {
        QCOMPARE(error.domain, domain);
        QCOMPARE(titles(*_cache), QStringList{"from the file"});
        QCOMPARE(_cache->retrievedLocale(), QStringLiteral("fr"));
    }
    /// Checks the log entries from index `since` on: first the requested address at info level,
    /// then one entry at error level for each of `texts`, which starts with that text.
    void checkLogged(qsizetype since, const QStringList &texts) {
        const auto entries = _logger->entries().mid(since);
        QCOMPARE(entries.size(), texts.size() + 1);
        QCOMPARE(entries.first().level, 3);
        QVERIFY(entries.first().text.startsWith(beginning(LogVocabulary::feedRequestReturning)));
        for (qsizetype at = 0; at < texts.size(); ++at) {
            QCOMPARE(entries[at + 1].level, 1);
            QVERIFY2(entries[at + 1].text.startsWith(texts[at]), qPrintable(entries[at + 1].text));
        }
    }
    static QString file() { return cacheFolder(identifier) + QStringLiteral("/PelorinNews.xml"); }

    QTemporaryDir _folder;
    std::optional<DevelopmentCertificates> _certificates;
    std::unique_ptr<FeedServer> _http;
    std::unique_ptr<FeedServer> _https;
    std::shared_ptr<UrlLoader> _loader;
    std::shared_ptr<RecordingLogger> _logger;
    std::shared_ptr<OlvNewsCacheFiltered> _cache;
};

void OlvNewsCacheNetworkTest::initTestCase() {
    HostBundle::setIdentity({identifier, {}, {}});
    QVERIFY(_folder.isValid());
    const QString feeds = _folder.filePath("feeds");
    QVERIFY(QDir().mkdir(feeds));
    const QList<CacheEntry> german = {{"kritisch", "mac pelorin critical"}, {"alt", "pc"}};
    QVERIFY(writeBytes(feeds + "/standard.de.xml", feedText("de", german).toUtf8()));
    QVERIFY(writeBytes(feeds + "/standard.en.xml", feedOfTitles("en", {"news"}).toUtf8()));
    QVERIFY(writeBytes(feeds + "/static.xml", feedOfTitles("en", {"static"}).toUtf8()));

    QString whyNot;
    QVERIFY(QDir().mkdir(_folder.filePath("ca")));
    _certificates = DevelopmentCertificates::inFolder(_folder.filePath("ca"), &whyNot);
    QVERIFY2(_certificates, qPrintable(whyNot));
    const auto valid = _certificates->issue(DevelopmentCertificates::Kind::Valid, &whyNot);
    QVERIFY2(valid, qPrintable(whyNot));
    QSslConfiguration tls = QSslConfiguration::defaultConfiguration();
    QVERIFY(tls.addCaCertificates(_certificates->authorityFile()));
    QSslConfiguration::setDefaultConfiguration(tls);

    _http = std::make_unique<FeedServer>(FeedServerOptions{feeds, {}, {}});
    _https = std::make_unique<FeedServer>(
        FeedServerOptions{feeds, valid->certificate, valid->privateKey});
    QVERIFY2(_http->start(&whyNot), qPrintable(whyNot));
    QVERIFY2(_https->start(&whyNot), qPrintable(whyNot));
    _loader = std::make_shared<ImpatientLoader>();
}

void OlvNewsCacheNetworkTest::init() {
    QDir(cacheFolder(identifier)).removeRecursively();
    for (FeedServer *each : {_http.get(), _https.get()}) {
        each->clearReplies();
        each->clearRequests();
    }
    _logger = std::make_shared<RecordingLogger>();
    _cache = std::make_shared<OlvNewsCacheFiltered>(_loader);
    _cache->setLogger(_logger);
    _cache->setFeedType(QStringLiteral("standard"));
    _cache->setDesiredLocale(QStringLiteral("en"));
}

void OlvNewsCacheNetworkTest::cleanup() {
    _cache.reset();
}

void OlvNewsCacheNetworkTest::downloadsFiltersAndStores() {
    QFETCH(bool, secure);
    useServer(secure);
    _cache->setDesiredLocale(QStringLiteral("de"));
    _cache->setCategoriesOfInterest({"mac", "pelorin"});
    const RefreshOutcome outcome = refreshAndWait(_cache);
    QVERIFY(outcome.ended);
    QVERIFY2(!outcome.error, qPrintable(outcome.error ? outcome.error->description() : QString()));
    QVERIFY(!outcome.onCallersThread);
    QCOMPARE(titles(*_cache), QStringList{"kritisch"});
    QCOMPARE(_cache->unfilteredCount(), 2U);
    QCOMPARE(_cache->retrievedLocale(), QStringLiteral("de"));
    const QByteArray sent = readBytes(_folder.filePath("feeds/standard.de.xml"));
    QCOMPARE(readBytes(file()), byteOrderMark() + utf16Bytes(QString::fromUtf8(sent)));
}

void OlvNewsCacheNetworkTest::sendsTheAddressByteForByte_data() {
    QTest::addColumn<bool>("secure");
    QTest::addColumn<QString>("path");
    QTest::addColumn<QString>("locale");
    QTest::addColumn<QString>("type");
    QTest::addColumn<QByteArray>("target");
    const QString php = QStringLiteral("/RSS_Feed/PelorinNews.php");
    for (const bool secure : {false, true}) {
        const char *scheme = secure ? "https" : "http";
        const auto row = [&](const char *what, const QString &path, const QString &locale,
                             const QString &type, const char *target) {
            QTest::addRow("%s, %s", scheme, what)
                << secure << path << locale << type << QByteArray(target);
        };
        row("both", php, "de", "standard", "/RSS_Feed/PelorinNews.php?&locale=de&type=standard");
        row("type alone", php, "", "standard", "/RSS_Feed/PelorinNews.php?&type=standard");
        row("locale alone", php, "de_DE", {}, "/RSS_Feed/PelorinNews.php?&locale=de_DE");
        row("neither", php, {}, {}, "/RSS_Feed/PelorinNews.php?");
        row("static", "/static.xml", "de", "standard", "/static.xml");
    }
}

void OlvNewsCacheNetworkTest::sendsTheAddressByteForByte() {
    QFETCH(bool, secure);
    QFETCH(QString, path);
    QFETCH(QString, locale);
    QFETCH(QString, type);
    QFETCH(QByteArray, target);
    _cache->setFeedBaseURL(server(secure).address(path));
    _cache->setDesiredLocale(locale);
    _cache->setFeedType(type);
    QVERIFY(refreshAndWait(_cache).ended);
    const auto requests = server(secure).requests();
    QCOMPARE(requests.size(), 1U);
    QCOMPARE(requests.front().requestLine, "GET " + target + " HTTP/1.1");
}

void OlvNewsCacheNetworkTest::anAnswerThatCameWholeIsTaken_data() {
    QTest::addColumn<bool>("secure");
    QTest::addColumn<QString>("options");
    for (const bool secure : {false, true}) {
        for (const char *options : {"status=399", "framing=chunked", "framing=close", "delay=200",
                                    "drip=40:1", "redirects=3", "gzip"})
            QTest::addRow("%s, %s", secure ? "https" : "http", options)
                << secure << QString::fromLatin1(options);
    }
}

void OlvNewsCacheNetworkTest::anAnswerThatCameWholeIsTaken() {
    QFETCH(bool, secure);
    QFETCH(QString, options);
    QVERIFY(putFile());
    useServer(secure);
    server(secure).setReply(reply(options));
    const RefreshOutcome outcome = refreshAndWait(_cache);
    QVERIFY(outcome.ended);
    QVERIFY2(!outcome.error, qPrintable(outcome.error ? outcome.error->description() : QString()));
    QCOMPARE(titles(*_cache), QStringList{"news"});
}

void OlvNewsCacheNetworkTest::aFailedDownloadRestoresTheFileAndIsReported_data() {
    QTest::addColumn<bool>("secure");
    QTest::addColumn<QString>("options");
    QTest::addColumn<int>("status");
    for (const bool secure : {false, true}) {
        const auto row = [&](const char *options, int status) {
            QTest::addRow("%s, %s", secure ? "https" : "http", options)
                << secure << QString::fromLatin1(options) << status;
        };
        row("status=400", 400);
        row("status=404", 404);
        row("status=503", 503);
        row("status=404,empty", 404);
        row("status=500,cut=20", 500);
        // 0: no status, because the error comes from the transport.
        row("cut-head", 0);
        row("cut-head,reset", 0);
        row("cut=60", 0);
        row("cut=60,reset", 0);
        row("length=5", 0);
        row("gzip,cut=40", 0);
        row("framing=chunked,size=1m,cut=500k", 0);
        row("chunk-error=cut", 0);
        row("chunk-error=malformed", 0);
        row("loop", 0);
    }
}

void OlvNewsCacheNetworkTest::aFailedDownloadRestoresTheFileAndIsReported() {
    QFETCH(bool, secure);
    QFETCH(QString, options);
    QFETCH(int, status);
    QVERIFY(putFile());
    useServer(secure);
    server(secure).setReply(reply(options));
    const RefreshOutcome outcome = refreshAndWait(_cache);
    QVERIFY(outcome.ended);
    QVERIFY(outcome.error);
    checkFellBack(*outcome.error, status == 0 ? transportDomain : statusDomain);
    if (status != 0)
        QCOMPARE(*outcome.error, (Error{statusDomain, status, {}}));
    checkLogged(0, {});
}

void OlvNewsCacheNetworkTest::anAnswerWithoutAUsableFeedKeepsTheItems_data() {
    QTest::addColumn<bool>("secure");
    QTest::addColumn<QString>("options");
    QTest::addColumn<QString>("kept");
    for (const bool secure : {false, true}) {
        const auto row = [&](const char *options, const QString &kept) {
            QTest::addRow("%s, %s", secure ? "https" : "http", options)
                << secure << QString::fromLatin1(options) << kept;
        };
        row("empty", QStringLiteral(""));
        row("status=304,empty", QStringLiteral(""));
        row("body=hello", QStringLiteral("hello"));
        // A body that is not UTF-8 is not written to the file.
        row("invalid-utf8", feedOfTitles("en", {"news"}));
        const QString nameless = feedOfTitles({}, {"of no language"});
        row(("body=" + nameless.toLatin1()).constData(), nameless);
    }
}

void OlvNewsCacheNetworkTest::anAnswerWithoutAUsableFeedKeepsTheItems() {
    QFETCH(bool, secure);
    QFETCH(QString, options);
    QFETCH(QString, kept);
    useServer(secure);
    QVERIFY(!refreshAndWait(_cache).error);
    server(secure).setReply(reply(options));
    const RefreshOutcome outcome = refreshAndWait(_cache);
    QVERIFY(outcome.ended);
    QVERIFY2(!outcome.error, qPrintable(outcome.error ? outcome.error->description() : QString()));
    QCOMPARE(titles(*_cache), QStringList{"news"});
    QCOMPARE(readBytes(file()), byteOrderMark() + utf16Bytes(kept));
    checkLogged(1, {beginning(LogVocabulary::parsingFeedFailed)});
}

void OlvNewsCacheNetworkTest::aFailedWriteKeepsTheNewItems() {
    QFETCH(bool, secure);
    QVERIFY(QDir().mkdir(file()));
    useServer(secure);
    const RefreshOutcome outcome = refreshAndWait(_cache);
    QVERIFY(outcome.ended);
    QVERIFY2(!outcome.error, qPrintable(outcome.error ? outcome.error->description() : QString()));
    QCOMPARE(titles(*_cache), QStringList{"news"});
    QCOMPARE(_cache->retrievedLocale(), QStringLiteral("en"));
    checkLogged(0, {beginning(LogVocabulary::writingLocalCacheFailed) +
                    QStringLiteral("Error Domain=QFileDevice Code=")});
}

void OlvNewsCacheNetworkTest::aFallbackFileThatIsOfNoUseKeepsTheItems_data() {
    QTest::addColumn<bool>("secure");
    QTest::addColumn<QString>("options");
    QTest::addColumn<QByteArray>("content");
    QTest::addColumn<QString>("logged");
    const QString unreadable = beginning(LogVocabulary::readingLocalCacheFailed) +
                               QStringLiteral("Error Domain=QFileDevice Code=");
    const QString unparsable = beginning(LogVocabulary::parsingFeedFailed);
    const auto utf16 = [](const QString &text) { return byteOrderMark() + utf16Bytes(text); };
    for (const bool secure : {false, true}) {
        for (const char *options : {"status=503", "cut=20"}) {
            const auto row = [&](const char *what, const QByteArray &content,
                                 const QString &logged) {
                QTest::addRow("%s, %s, %s", secure ? "https" : "http", options, what)
                    << secure << QString::fromLatin1(options) << content << logged;
            };
            row("no file", {}, unreadable);
            row("no text", "odd", unreadable);
            row("no feed", utf16(QStringLiteral("hello")), unparsable);
            row("no language", utf16(feedOfTitles({}, {"from the file"})), unparsable);
        }
    }
}

void OlvNewsCacheNetworkTest::aFallbackFileThatIsOfNoUseKeepsTheItems() {
    QFETCH(bool, secure);
    QFETCH(QString, options);
    QFETCH(QByteArray, content);
    QFETCH(QString, logged);
    useServer(secure);
    QVERIFY(!refreshAndWait(_cache).error);
    QVERIFY(QFile::remove(file()));
    if (!content.isNull())
        QVERIFY(writeBytes(file(), content));
    server(secure).setReply(reply(options));
    const RefreshOutcome outcome = refreshAndWait(_cache);
    QVERIFY(outcome.error);
    QCOMPARE(outcome.error->domain,
             options.startsWith(QLatin1String("status")) ? statusDomain : transportDomain);
    QCOMPARE(titles(*_cache), QStringList{"news"});
    QCOMPARE(_cache->retrievedLocale(), QStringLiteral("en"));
    QCOMPARE(readBytes(file()), content);
    checkLogged(1, {logged});
}

void OlvNewsCacheNetworkTest::aServerThatStandsStillIsGivenUp() {
    QFETCH(bool, secure);
    QVERIFY(putFile());
    useServer(secure);
    server(secure).setReply(reply(QStringLiteral("stall=60")));
    const RefreshOutcome outcome = refreshAndWait(_cache);
    QVERIFY(outcome.error);
    checkFellBack(*outcome.error, transportDomain);
}

void OlvNewsCacheNetworkTest::aServerThatIsNotThereIsAConnectionError() {
    QFETCH(bool, secure);
    QVERIFY(putFile());
    quint16 freePort = 0;
    {
        QTcpServer probe;
        QVERIFY(probe.listen(QHostAddress::LocalHost));
        freePort = probe.serverPort();
    }
    _cache->setFeedBaseURL(QStringLiteral("%1://127.0.0.1:%2/feed")
                               .arg(secure ? QStringLiteral("https") : QStringLiteral("http"))
                               .arg(freePort));
    const RefreshOutcome outcome = refreshAndWait(_cache);
    QVERIFY(outcome.error);
    checkFellBack(*outcome.error, transportDomain);
    QCOMPARE(outcome.error->code, int(TransportError::Unreachable));
    checkLogged(0, {});
}

void OlvNewsCacheNetworkTest::aCertificateThatCannotBeTrustedIsAConnectionError_data() {
    QTest::addColumn<int>("kind");
    QTest::newRow("wrong name") << int(DevelopmentCertificates::Kind::WrongName);
    QTest::newRow("expired") << int(DevelopmentCertificates::Kind::Expired);
    QTest::newRow("self-signed") << int(DevelopmentCertificates::Kind::SelfSigned);
}

void OlvNewsCacheNetworkTest::aCertificateThatCannotBeTrustedIsAConnectionError() {
    QFETCH(int, kind);
    QVERIFY(putFile());
    QString whyNot;
    const auto files = _certificates->issue(DevelopmentCertificates::Kind(kind), &whyNot);
    QVERIFY2(files, qPrintable(whyNot));
    FeedServer untrusted({_folder.filePath("feeds"), files->certificate, files->privateKey});
    QVERIFY2(untrusted.start(&whyNot), qPrintable(whyNot));
    _cache->setFeedBaseURL(untrusted.feedAddress());
    const RefreshOutcome outcome = refreshAndWait(_cache);
    QVERIFY(outcome.error);
    checkFellBack(*outcome.error, transportDomain);
    QVERIFY(untrusted.requests().empty());
}

void OlvNewsCacheNetworkTest::anAddressThatIsNoneIsAConnectionError_data() {
    QTest::addColumn<QString>("address");
    QTest::newRow("empty") << "";
    QTest::newRow("no scheme") << "news.example/feed";
    QTest::newRow("an unknown scheme") << "gopher://127.0.0.1/feed";
    QTest::newRow("no port") << "http://127.0.0.1:99999999/feed";
    QTest::newRow("a broken host") << "http://[::1/feed";
    QTest::newRow("spaces") << "   ";
}

void OlvNewsCacheNetworkTest::anAddressThatIsNoneIsAConnectionError() {
    QFETCH(QString, address);
    QVERIFY(putFile());
    _cache->setFeedBaseURL(address);
    const RefreshOutcome outcome = refreshAndWait(_cache);
    QVERIFY(outcome.error);
    checkFellBack(*outcome.error, transportDomain);
}

void OlvNewsCacheNetworkTest::readsAFileAddress_data() {
    QTest::addColumn<QString>("name");
    QTest::newRow("static") << "static.xml";
    // A query is added to the address; it does not change which file is read.
    QTest::newRow("with a query") << "feed.php";
}

void OlvNewsCacheNetworkTest::readsAFileAddress() {
    QFETCH(QString, name);
    const QString path = _folder.filePath(name);
    QVERIFY(writeBytes(path, feedOfTitles("en", {"on disk"}).toUtf8()));
    _cache->setFeedBaseURL(QUrl::fromLocalFile(path).toString());
    const RefreshOutcome outcome = refreshAndWait(_cache);
    QVERIFY(outcome.ended);
    QVERIFY2(!outcome.error, qPrintable(outcome.error ? outcome.error->description() : QString()));
    QVERIFY(!outcome.onCallersThread);
    QCOMPARE(titles(*_cache), QStringList{"on disk"});
}

void OlvNewsCacheNetworkTest::aFileAddressWithoutAFileIsAConnectionError() {
    QVERIFY(putFile());
    _cache->setFeedBaseURL(QUrl::fromLocalFile(_folder.filePath("none.xml")).toString());
    const RefreshOutcome outcome = refreshAndWait(_cache);
    QVERIFY(outcome.error);
    checkFellBack(*outcome.error, QStringLiteral("QFileDevice"));
}

PELORIN_CORE_TEST_MAIN(OlvNewsCacheNetworkTest)
#include "OlvNewsCacheNetworkTest.moc"
