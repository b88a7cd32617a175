#include "FeedServer.h"
#include "Gzip.h"
#include "LoadedAddress.h"
#include "ScriptedServer.h"
#include "TestAuthority.h"
#include "TestMain.h"
#include "network/NetworkUrlLoader.h"
#include "network/TransportError.h"

#include <QElapsedTimer>
#include <QFile>
#include <QNetworkProxy>
#include <QProcess>
#include <QSslConfiguration>
#include <QSslSocket>
#include <QTcpServer>
#include <QTcpSocket>

#include <arpa/inet.h>
#include <atomic>
#include <cerrno>
#include <fcntl.h>
#include <map>
#include <mutex>
#include <netinet/in.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <thread>
#include <unistd.h>

using namespace pelorinnews;
using namespace pelorinnews::test;
using namespace std::chrono_literals;
using Kind = DevelopmentCertificates::Kind;

namespace {

/// In an expected result: any error code. The choice is left to the transport.
constexpr int someError = -1;
/// In an expected result: no status, or any below 400. A reset may come before the header fields or
/// after them.
constexpr int someStatus = -1;

QUrl tolerant(const QString &address) {
    return QUrl(address, QUrl::TolerantMode);
}

/// A reply of the feed server, and the result that the loader must report.
struct Answer {
    const char *name;
    const char *reply;
    int status;           // 0: no response
    QByteArray data;      // null: no body
    int connectionError;  // 0: no error

    [[nodiscard]] QString on(bool tls) const {
        return QLatin1String(name) + QLatin1String(tls ? " over HTTPS" : " over HTTP");
    }
    [[nodiscard]] bool stalls() const { return connectionError == int(TransportError::TimedOut); }
};

QList<Answer> answers() {
    const QByteArray whole = "<rss>grün</rss>";
    return {
        {"a feed", "", 200, whole, 0},
        {"an empty body", "empty", 200, "", 0},
        {"no body and no length", "empty,framing=close", 200, "", 0},
        {"a body that the connection's end ends", "framing=close", 200, whole, 0},
        {"a chunked body", "framing=chunked", 200, whole, 0},
        {"a slow body", "drip=5:20", 200, whole, 0},
        {"a late head", "delay=300", 200, whole, 0},
        {"bytes that are no UTF-8", "invalid-utf8", 200, whole + '\xff', 0},
        {"a body that is longer than said", "length=-9", 200, whole.chopped(9), 0},
        {"204", "status=204", 204, "", 0},
        {"304 without a body", "status=304", 304, "", 0},
        {"399", "status=399,body=odd", 399, "odd", 0},
        {"400", "status=400,body=bad", 400, "bad", 0},
        {"401 asks nobody", "status=401,body=who", 401, "who", 0},
        {"404", "status=404,body=gone", 404, "gone", 0},
        {"404 with an empty body", "status=404,empty", 404, "", 0},
        {"407 asks nobody", "status=407,body=who", 407, "who", 0},
        {"500", "status=500,body=ouch", 500, "ouch", 0},
        {"503 with an empty body", "status=503,empty", 503, "", 0},
        {"503 without length", "status=503,body=wait,framing=close", 503, "wait", 0},
        {"599", "status=599,body=odd", 599, "odd", 0},
        {"a cut before the head", "cut-head", 0, {}, someError},
        {"a reset before the head", "cut-head,reset", 0, {}, someError},
        {"a body shorter than said", "length=1", 200, {}, int(TransportError::Incomplete)},
        {"a cut in the body", "cut=7", 200, {}, int(TransportError::Incomplete)},
        {"a cut after the head", "cut=0", 200, {}, int(TransportError::Incomplete)},
        {"a compressed body", "gzip", 200, whole, 0},
        {"a cut compressed body", "gzip,cut=12", 200, {}, int(TransportError::Incomplete)},
        {"a large body cut half-way", "size=1m,cut=500k", 200, {}, someError},
        {"a large body reset half-way", "size=1m,cut=500k,reset", someStatus, {}, someError},
        {"a reset in the body", "cut=7,reset", someStatus, {}, someError},
        {"a malformed chunk", "chunk-error=malformed", 200, {}, someError},
        {"a chunked body without its last chunk", "chunk-error=cut", 200, {}, someError},
        {"a cut between chunks", "framing=chunked,cut=7", 200, {}, someError},
        {"a large chunked body cut half-way",
         "framing=chunked,size=1m,cut=500k",
         200,
         {},
         someError},
        {"a large chunked body reset half-way",
         "framing=chunked,size=1m,cut=500k,reset",
         someStatus,
         {},
         someError},
        {"a stall in the body", "stall=7", 200, {}, int(TransportError::TimedOut)},
        {"a head that does not come", "delay=60000", 0, {}, int(TransportError::TimedOut)},
        {"a status of 400 or more wins over a cut", "status=500,body=ouch!,cut=4", 500, "ouch",
         int(TransportError::Incomplete)},
        {"a status of 400 or more wins over a stall", "status=503,body=ouch!,stall=4", 503, "ouch",
         int(TransportError::TimedOut)},
    };
}

}  // namespace

class NetworkUrlLoaderTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void cleanup();

    void answersArriveAsTheyWere_data();
    void answersArriveAsTheyWere();
    void theRequestLineIsTheAddressAsGiven_data();
    void theRequestLineIsTheAddressAsGiven();
    void noHeaderBeyondTheStacksOwnIsSent();
    void cookiesAreNotKept();
    void redirectsAreFollowed_data();
    void redirectsAreFollowed();
    void aRedirectFromHttpsToHttpIsAnError();
    void aRedirectOutOfHttpIsAnError();
    void certificatesAreChecked_data();
    void certificatesAreChecked();
    void anUntrustedAuthorityIsAnError();
    void theEnvironmentAddsNoAuthority();
    void aHandshakeThatNeverAnswersTimesOut();
    void aRefusedConnectionIsAnError();
    void unusableAddressesAreErrors_data();
    void unusableAddressesAreErrors();
    void filesAreResponsesWithoutAStatus_data();
    void filesAreResponsesWithoutAStatus();
    void aMissingFileIsAnError();
    void aFileThatIsNotRegularIsAnErrorAtOnce_data();
    void aFileThatIsNotRegularIsAnErrorAtOnce();
    void aFileBeyondTheLimitIsAnError();
    void theLimitIsThatOfAFeed();
    void proxiesAreThoseOfTheApplicationAndTheEnvironment();
    void aProxyThatRefusesATunnelIsUnreachable_data();
    void aProxyThatRefusesATunnelIsUnreachable();
    void anAddressWithAUserNamesItWhereAsked();
    void anOrderlyEndCountsForItsOwnConnectionAlone_data();
    void anOrderlyEndCountsForItsOwnConnectionAlone();
    void onlyTheTimeWithoutProgressCounts();
    void aSteadyTransferEndsAfterTheMaximumDuration();
    void theHostsOwnTrafficIsNoProgress();
    void aBodyBeyondTheLimitIsAnError_data();
    void aBodyBeyondTheLimitIsAnError();
    void aLongBodyComesWhole_data();
    void aLongBodyComesWhole();
    void aHugeClaimedLengthTakesNoMemory();
    void aLargeBodyCostsItsSizeOnce();
    void theCompletionRunsOnTheQueueAndNeverOnTheCallersStack();
    void aMissingQueueStandsForTheGlobalOne();
    void aMissingCompletionIsFine();
    void manyRequestsFromManyThreadsEachCompleteOnce();
    void noConnectionStaysWhenNothingIsUnderWay();
    void stopEndsWhatIsUnderWay();
    void stopWithoutARequestIsFine();
    void requestsAfterStopEndWithAnError();
    void requestsDuringStopEachCompleteOnce();
    void theSharedLoaderIsOne();

private:
    [[nodiscard]] FeedServer &serverFor(bool tls) { return tls ? *_https : *_http; }
    [[nodiscard]] LoadedAddress load(const QUrl &url, std::chrono::seconds idleTimeout = 10s) {
        return {_loader, url, &_queue, idleTimeout};
    }

    /// The address at which the server answers with `reply`.
    [[nodiscard]] QUrl replying(bool tls, const QString &reply);
    void loadStalls();

    /// The process's default TLS configuration, which trusts the system's authorities.
    const QSslConfiguration _untouched = QSslConfiguration::defaultConfiguration();
    std::unique_ptr<TestAuthority> _authority;
    std::unique_ptr<FeedServer> _http;
    std::unique_ptr<FeedServer> _https;
    QThreadPool _queue;
    NetworkUrlLoader _loader;
    QTemporaryDir _feeds;
    std::map<QString, LoadedAddress> _stalls;
};

void NetworkUrlLoaderTest::initTestCase() {
    for (const char *proxy :
         {"http_proxy", "https_proxy", "HTTP_PROXY", "HTTPS_PROXY", "all_proxy"})
        qunsetenv(proxy);
    _authority = std::make_unique<TestAuthority>();
    QFile feed(_feeds.filePath(QStringLiteral("plain.xml")));
    QVERIFY(feed.open(QIODevice::WriteOnly));
    feed.write("<rss>grün</rss>");
    feed.close();

    FeedServerOptions options;
    options.feedFolder = _feeds.path();
    _http = std::make_unique<FeedServer>(options);
    QString whyNot;
    QVERIFY2(_http->start(&whyNot), qPrintable(whyNot));
    const auto files = _authority->issue(Kind::Valid);
    options.certificateFile = files.certificate;
    options.privateKeyFile = files.privateKey;
    _https = std::make_unique<FeedServer>(options);
    QVERIFY2(_https->start(&whyNot), qPrintable(whyNot));
}

void NetworkUrlLoaderTest::cleanup() {
    for (FeedServer *server : {_http.get(), _https.get()}) {
        server->clearReplies();
        server->clearRequests();
    }
}

void NetworkUrlLoaderTest::answersArriveAsTheyWere_data() {
    QTest::addColumn<bool>("tls");
    QTest::addColumn<QString>("reply");
    QTest::addColumn<int>("status");           // 0: no response
    QTest::addColumn<QByteArray>("data");      // null: no body
    QTest::addColumn<int>("connectionError");  // 0: no error

    const QList<Answer> all = answers();
    for (const Answer &row : all)
        for (const bool tls : {false, true})
            QTest::newRow(qPrintable(row.on(tls))) << tls << QString::fromUtf8(row.reply)
                                                   << row.status << row.data << row.connectionError;
}

QUrl NetworkUrlLoaderTest::replying(bool tls, const QString &reply) {
    const QString options = reply.isEmpty() ? QString() : QStringLiteral("/+") + reply;
    return tolerant(serverFor(tls).address(options + QStringLiteral("/plain.xml")));
}

// Each of these requests takes as long as the timeout, so they all run at the same time.
void NetworkUrlLoaderTest::loadStalls() {
    const QList<Answer> all = answers();
    for (const Answer &answer : all)
        for (const bool tls : {false, true})
            if (answer.stalls())
                _stalls.emplace(answer.on(tls),
                                load(replying(tls, QString::fromUtf8(answer.reply)), 1s));
}

void NetworkUrlLoaderTest::answersArriveAsTheyWere() {
    QFETCH(const bool, tls);
    QFETCH(const QString, reply);
    QFETCH(const int, status);
    QFETCH(const QByteArray, data);
    QFETCH(const int, connectionError);
    QVERIFY(FeedReply::parse(reply));
    const bool waitsForTimeout = connectionError == int(TransportError::TimedOut);
    if (waitsForTimeout && _stalls.empty())
        loadStalls();
    LoadedAddress loaded = waitsForTimeout ? _stalls.at(QLatin1String(QTest::currentDataTag()))
                                           : load(replying(tls, reply));
    QVERIFY(loaded.wait());
    if (status != someStatus) {
        QCOMPARE(loaded.status().value_or(0), status);
        QCOMPARE(loaded.hasResponse(), status != 0);
    }
    QCOMPARE(loaded.data().has_value(), !data.isNull());
    QCOMPARE(loaded.data().value_or(QByteArray()), data);
    const std::optional<Error> error = loaded.connectionError();
    QCOMPARE(error.has_value(), connectionError != 0);
    if (error) {
        QCOMPARE(error->domain, transportErrorDomain());
        if (connectionError != someError)
            QCOMPARE(error->code, connectionError);
        QVERIFY(!error->userInfo.value(Error::localizedDescriptionKey()).toString().isEmpty());
    }
}

void NetworkUrlLoaderTest::theRequestLineIsTheAddressAsGiven_data() {
    QTest::addColumn<QString>("rest");
    QTest::addColumn<QByteArray>("line");
    const QString path = QStringLiteral("/RSS_Feed/PelorinNews.php");
    QTest::newRow("language and type")
        << path + QStringLiteral("?&locale=de&type=standard")
        << QByteArray("GET /RSS_Feed/PelorinNews.php?&locale=de&type=standard HTTP/1.1");
    QTest::newRow("type only") << path + QStringLiteral("?&type=standard")
                               << QByteArray(
                                      "GET /RSS_Feed/PelorinNews.php?&type=standard HTTP/1.1");
    QTest::newRow("a bare question mark")
        << path + QStringLiteral("?") << QByteArray("GET /RSS_Feed/PelorinNews.php? HTTP/1.1");
    QTest::newRow("a static file")
        << QStringLiteral("/plain.xml") << QByteArray("GET /plain.xml HTTP/1.1");
    QTest::newRow("no path") << QStringLiteral("?&locale=de")
                             << QByteArray("GET /?&locale=de HTTP/1.1");
    QTest::newRow("a space and an umlaut are encoded")
        << path + QStringLiteral("?&locale=d e&type=grün")
        << QByteArray("GET /RSS_Feed/PelorinNews.php?&locale=d%20e&type=gr%C3%BCn HTTP/1.1");
    QTest::newRow("encoded characters stay")
        << path + QStringLiteral("?&type=a%2Fb+c%20d")
        << QByteArray("GET /RSS_Feed/PelorinNews.php?&type=a%2Fb+c%20d HTTP/1.1");
}

void NetworkUrlLoaderTest::theRequestLineIsTheAddressAsGiven() {
    QFETCH(const QString, rest);
    QFETCH(const QByteArray, line);
    for (const bool tls : {false, true}) {
        FeedServer &server = serverFor(tls);
        LoadedAddress loaded = load(tolerant(server.address(rest)));
        QVERIFY(loaded.wait());
        const auto requests = server.requests();
        QCOMPARE(requests.size(), std::size_t(1));
        QCOMPARE(requests.front().requestLine, line);
    }
}

void NetworkUrlLoaderTest::noHeaderBeyondTheStacksOwnIsSent() {
    LoadedAddress loaded = load(tolerant(_http->address(QStringLiteral("/plain.xml"))));
    QVERIFY(loaded.wait());
    QStringList names;
    const std::vector<FeedRequest> requests = _http->requests();
    for (const auto &[name, value] : requests.front().headers)
        names += QString::fromLatin1(name);
    names.sort();
    const QStringList expected = {QStringLiteral("Accept"), QStringLiteral("Accept-Encoding"),
                                  QStringLiteral("Host"), QStringLiteral("User-Agent")};
    QCOMPARE(names, expected);
    QCOMPARE(requests.front().header("Accept-Encoding"), QByteArray("gzip, deflate"));
}

void NetworkUrlLoaderTest::cookiesAreNotKept() {
    FeedReply reply;
    reply.headers = {{"Set-Cookie", "who=you; Path=/"}};
    reply.redirects = 1;
    _http->setReplyForPath("/plain.xml", reply);
    // Another transfer runs all the time, so that the loader discards no state between the two
    // requests.
    FeedReply endless;
    endless.stallAfter = 3;
    _http->setReplyForPath("/endless.xml", endless);
    NetworkUrlLoader loader;
    const LoadedAddress lasting(loader, tolerant(_http->address(QStringLiteral("/endless.xml"))),
                                &_queue, 60s);
    QVERIFY(_http->waitForRequests(1));
    const QUrl address = tolerant(_http->address(QStringLiteral("/plain.xml")));
    LoadedAddress first(loader, address, &_queue, 10s);
    QVERIFY(first.wait());
    LoadedAddress second(loader, address, &_queue, 10s);
    QVERIFY(second.wait());
    QCOMPARE(lasting.calls(), 0);
    const std::vector<FeedRequest> requests = _http->requests();
    for (const FeedRequest &request : requests)
        QVERIFY2(request.header("Cookie").isNull(), request.requestLine.constData());
    QCOMPARE(requests.size(), std::size_t(5));
}

void NetworkUrlLoaderTest::redirectsAreFollowed_data() {
    QTest::addColumn<bool>("tls");
    QTest::addColumn<QString>("reply");
    QTest::addColumn<int>("status");
    QTest::addColumn<int>("connectionError");
    for (const bool tls : {false, true}) {
        const auto row = [tls](const char *name) -> QTestData & {
            return QTest::addRow("%s over %s", name, tls ? "HTTPS" : "HTTP");
        };
        row("a relative one") << tls << "redirect=plain.xml" << 200 << 0;
        row("one with a body") << tls << "redirect=plain.xml,body=moved" << 200 << 0;
        row("a permanent one") << tls << "status=301,redirect=plain.xml" << 200 << 0;
        row("a temporary one") << tls << "status=307,redirect=plain.xml" << 200 << 0;
        row("an absolute one") << tls << "redirect=SAME/plain.xml" << 200 << 0;
        row("a chain") << tls << "redirect=/%2Bredirects%3D5/plain.xml" << 200 << 0;
        row("to what is not there") << tls << "redirect=none.xml" << 404 << 0;
        row("in a circle") << tls << "loop" << 302 << int(TransportError::BadRedirect);
    }
    QTest::newRow("from HTTP to HTTPS") << false << "redirect=HTTPS/plain.xml" << 200 << 0;
}

void NetworkUrlLoaderTest::redirectsAreFollowed() {
    QFETCH(const bool, tls);
    QFETCH(QString, reply);
    const auto encoded = [](const FeedServer &server) {
        return QString::fromLatin1(QUrl::toPercentEncoding(server.address()));
    };
    reply.replace(QLatin1String("SAME"), encoded(serverFor(tls)));
    reply.replace(QLatin1String("HTTPS"), encoded(*_https));
    QFETCH(const int, status);
    QFETCH(const int, connectionError);
    const auto parsed = FeedReply::parse(reply);
    QVERIFY(parsed);
    serverFor(tls).setReplyForPath("/from.xml", *parsed);
    LoadedAddress loaded = load(tolerant(serverFor(tls).address(QStringLiteral("/from.xml"))));
    QVERIFY(loaded.wait());
    QCOMPARE(loaded.status().value_or(0), status);
    QCOMPARE(loaded.connectionError().value_or(Error()).code, connectionError);
    if (status == 200)
        QCOMPARE(loaded.data(), std::optional(QByteArray("<rss>grün</rss>")));
    if (connectionError != 0)
        QVERIFY(!loaded.data());
}

void NetworkUrlLoaderTest::aRedirectFromHttpsToHttpIsAnError() {
    FeedReply reply;
    reply.redirectTo = _http->address(QStringLiteral("/plain.xml")).toLatin1();
    _https->setReplyForPath("/from.xml", reply);
    LoadedAddress loaded = load(tolerant(_https->address(QStringLiteral("/from.xml"))));
    QVERIFY(loaded.wait());
    QVERIFY(loaded.connectionError());
    QCOMPARE(loaded.connectionError()->code, int(TransportError::BadRedirect));
    QVERIFY(!loaded.data());
    QVERIFY(_http->requests().empty());
}

void NetworkUrlLoaderTest::aRedirectOutOfHttpIsAnError() {
    FeedReply reply;
    reply.redirectTo =
        QUrl::fromLocalFile(_feeds.filePath(QStringLiteral("plain.xml"))).toEncoded();
    for (const bool tls : {false, true}) {
        serverFor(tls).setReplyForPath("/from.xml", reply);
        LoadedAddress loaded = load(tolerant(serverFor(tls).address(QStringLiteral("/from.xml"))));
        QVERIFY(loaded.wait());
        QVERIFY(loaded.connectionError());
        QVERIFY(!loaded.data());
    }
}

void NetworkUrlLoaderTest::certificatesAreChecked_data() {
    QTest::addColumn<int>("kind");
    QTest::addColumn<int>("connectionError");
    const int refused = int(TransportError::Insecure);
    QTest::newRow("a valid one is taken") << int(Kind::Valid) << 0;
    QTest::newRow("another host's is an error") << int(Kind::WrongName) << refused;
    QTest::newRow("an expired one is an error") << int(Kind::Expired) << refused;
    QTest::newRow("a self-signed one is an error") << int(Kind::SelfSigned) << refused;
}

void NetworkUrlLoaderTest::certificatesAreChecked() {
    QFETCH(const int, kind);
    QFETCH(const int, connectionError);
    const auto files = _authority->issue(Kind(kind));
    FeedServerOptions options;
    options.feedFolder = _feeds.path();
    options.certificateFile = files.certificate;
    options.privateKeyFile = files.privateKey;
    FeedServer server(options);
    QVERIFY(server.start());
    LoadedAddress loaded = load(tolerant(server.address(QStringLiteral("/plain.xml"))));
    QVERIFY(loaded.wait());
    QCOMPARE(loaded.connectionError().value_or(Error()).code, connectionError);
    QCOMPARE(loaded.data().has_value(), connectionError == 0);
    QCOMPARE(loaded.hasResponse(), connectionError == 0);
    QCOMPARE(server.requests().empty(), connectionError != 0);
}

void NetworkUrlLoaderTest::anUntrustedAuthorityIsAnError() {
    const QSslConfiguration trusting = QSslConfiguration::defaultConfiguration();
    QSslConfiguration distrusting = trusting;
    distrusting.setCaCertificates(QSslConfiguration::systemCaCertificates());
    QSslConfiguration::setDefaultConfiguration(distrusting);
    LoadedAddress loaded = load(tolerant(_https->address(QStringLiteral("/plain.xml"))));
    const bool came = loaded.wait();
    QSslConfiguration::setDefaultConfiguration(trusting);
    QVERIFY(came);
    QCOMPARE(loaded.connectionError().value_or(Error()).code, int(TransportError::Insecure));
    QVERIFY(_https->requests().empty());
}

void NetworkUrlLoaderTest::theEnvironmentAddsNoAuthority() {
    const QSslConfiguration trusting = QSslConfiguration::defaultConfiguration();
    QSslConfiguration::setDefaultConfiguration(_untouched);
    qputenv("SSL_CERT_FILE", QFile::encodeName(_authority->path() + QStringLiteral("/ca.pem")));
    LoadedAddress loaded = load(tolerant(_https->address(QStringLiteral("/plain.xml"))));
    const bool came = loaded.wait();
    qunsetenv("SSL_CERT_FILE");
    QSslConfiguration::setDefaultConfiguration(trusting);
    QVERIFY(came);
    QCOMPARE(loaded.connectionError().value_or(Error()).code, int(TransportError::Insecure));
}

void NetworkUrlLoaderTest::aHandshakeThatNeverAnswersTimesOut() {
    QTcpServer silent;
    QVERIFY(silent.listen(QHostAddress::LocalHost));
    QElapsedTimer elapsed;
    elapsed.start();
    LoadedAddress loaded =
        load(tolerant(QStringLiteral("https://127.0.0.1:%1/a.xml").arg(silent.serverPort())), 1s);
    QVERIFY(loaded.wait());
    QCOMPARE(loaded.connectionError().value_or(Error()).code, int(TransportError::TimedOut));
    QVERIFY2(elapsed.elapsed() < 5000, qPrintable(QString::number(elapsed.elapsed())));
}

void NetworkUrlLoaderTest::aRefusedConnectionIsAnError() {
    FeedServer gone;
    QVERIFY(gone.start());
    const QString address = gone.address(QStringLiteral("/plain.xml"));
    gone.stop();
    LoadedAddress loaded = load(tolerant(address));
    QVERIFY(loaded.wait());
    QCOMPARE(loaded.connectionError().value_or(Error()).code, int(TransportError::Unreachable));
    QVERIFY(!loaded.hasResponse());
    QVERIFY(!loaded.data());
}

void NetworkUrlLoaderTest::unusableAddressesAreErrors_data() {
    QTest::addColumn<QUrl>("url");
    QTest::newRow("none") << QUrl();
    QTest::newRow("no scheme") << tolerant(QStringLiteral("feed"));
    QTest::newRow("an unknown scheme") << tolerant(QStringLiteral("olvane:feed"));
    QTest::newRow("no host") << tolerant(QStringLiteral("http://"));
    QTest::newRow("a port out of range") << tolerant(QStringLiteral("http://127.0.0.1:99999/"));
}

void NetworkUrlLoaderTest::unusableAddressesAreErrors() {
    QFETCH(const QUrl, url);
    LoadedAddress loaded = load(url);
    QVERIFY(loaded.wait());
    QVERIFY(loaded.connectionError());
    QVERIFY(!loaded.hasResponse());
    QVERIFY(!loaded.data());
}

void NetworkUrlLoaderTest::filesAreResponsesWithoutAStatus_data() {
    QTest::addColumn<QByteArray>("content");
    QTest::addColumn<QString>("query");
    QTest::newRow("a file") << QByteArray("<rss>grün</rss>") << QString();
    QTest::newRow("a query is left aside")
        << QByteArray("<rss/>") << QStringLiteral("?&locale=de&type=standard");
    QTest::newRow("a bare question mark is left aside")
        << QByteArray("<rss/>") << QStringLiteral("?");
    QTest::newRow("an empty file") << QByteArray("") << QString();
    QTest::newRow("a large file") << QByteArray(3'000'000, 'x') << QString();
}

void NetworkUrlLoaderTest::filesAreResponsesWithoutAStatus() {
    QFETCH(const QByteArray, content);
    QFETCH(const QString, query);
    QTemporaryDir folder;
    const QString path = folder.filePath(QStringLiteral("feed with space.xml"));
    QFile file(path);
    QVERIFY(file.open(QIODevice::WriteOnly));
    file.write(content);
    file.close();
    LoadedAddress loaded = load(tolerant(QStringLiteral("file://") + path + query));
    QVERIFY(loaded.wait());
    QVERIFY(loaded.hasResponse());
    QVERIFY(!loaded.status());
    QVERIFY(!loaded.connectionError());
    QVERIFY(loaded.data());
    QCOMPARE(loaded.data()->size(), content.size());
    QVERIFY(*loaded.data() == content);
}

void NetworkUrlLoaderTest::aMissingFileIsAnError() {
    for (const QString &path : {_feeds.filePath(QStringLiteral("none.xml")), _feeds.path()}) {
        LoadedAddress loaded = load(QUrl::fromLocalFile(path));
        QVERIFY(loaded.wait());
        QVERIFY(loaded.connectionError());
        QVERIFY(!loaded.data());
    }
}

void NetworkUrlLoaderTest::aFileThatIsNotRegularIsAnErrorAtOnce_data() {
    QTest::addColumn<QString>("address");
    const QString pipe = _feeds.filePath(QStringLiteral("pipe.xml"));
    // Nobody writes into this pipe: opening it would block for ever.
    QVERIFY(mkfifo(QFile::encodeName(pipe).constData(), 0600) == 0 || errno == EEXIST);
    QVERIFY(QFile::link(pipe, _feeds.filePath(QStringLiteral("link.xml"))));
    QTest::newRow("pipe") << QStringLiteral("file://") + pipe;
    QTest::newRow("pipe with a query") << QStringLiteral("file:") + pipe + QStringLiteral("?&a=b");
    QTest::newRow("pipe of localhost") << QStringLiteral("file://localhost") + pipe;
    QTest::newRow("link to a pipe")
        << QStringLiteral("FILE:") + _feeds.filePath(QStringLiteral("link.xml"));
    QTest::newRow("folder") << QStringLiteral("file:") + _feeds.path();
    QTest::newRow("device") << QStringLiteral("file:///dev/zero");
}

void NetworkUrlLoaderTest::aFileThatIsNotRegularIsAnErrorAtOnce() {
    QFETCH(const QString, address);
    // The file might make the loader's thread hang, so use a separate loader: the other tests need
    // the shared one.
    NetworkUrlLoader own;
    LoadedAddress loaded(own, tolerant(address), &_queue, 10s);
    QVERIFY(loaded.wait());
    QCOMPARE(loaded.connectionError().value_or(Error()).domain, QStringLiteral("QFileDevice"));
    QVERIFY(!loaded.hasResponse());
    QVERIFY(!loaded.data());
    LoadedAddress next(own, tolerant(_http->address(QStringLiteral("/plain.xml"))), &_queue, 10s);
    QVERIFY(next.wait());
    QVERIFY(next.data());
}

void NetworkUrlLoaderTest::aFileBeyondTheLimitIsAnError() {
    NetworkUrlLoader limited(1000);
    QFile file(_feeds.filePath(QStringLiteral("long.xml")));
    for (const int size : {1000, 1001}) {
        QVERIFY(file.open(QIODevice::WriteOnly));
        file.write(QByteArray(size, 'x'));
        file.close();
        LoadedAddress loaded(limited, QUrl::fromLocalFile(file.fileName()), &_queue, 10s);
        QVERIFY(loaded.wait());
        QCOMPARE(loaded.data().has_value(), size == 1000);
        QCOMPARE(loaded.connectionError().value_or(Error()).domain,
                 size == 1000 ? QString() : QStringLiteral("QFileDevice"));
    }
}

void NetworkUrlLoaderTest::theLimitIsThatOfAFeed() {
    QCOMPARE(NetworkUrlLoader::defaultMaxBody, qint64(32) * 1024 * 1024);
    // The limit counts decompressed bytes: this body is over it, but far smaller when compressed.
    ScriptedServer server([](const QByteArray &) {
        const QByteArray packed = gzip(QByteArray(33 * 1024 * 1024, 'x'));
        return Script{{"HTTP/1.1 200 OK\r\nContent-Encoding: gzip\r\nContent-Length: " +
                       QByteArray::number(packed.size()) + "\r\n\r\n" + packed}};
    });
    LoadedAddress loaded = load(QUrl(server.address(QStringLiteral("/"))));
    QVERIFY(loaded.wait());
    QCOMPARE(loaded.connectionError().value_or(Error()).code, int(TransportError::TooLong));
    QCOMPARE(loaded.connectionError()->userInfo.value(Error::localizedDescriptionKey()).toString(),
             QStringLiteral("The body is longer than 33554432 bytes"));
    QVERIFY(!loaded.data());
}

void NetworkUrlLoaderTest::proxiesAreThoseOfTheApplicationAndTheEnvironment() {
    // The request line of a request to a proxy contains the full address.
    std::atomic<int> asked = 0;
    ScriptedServer proxy([&asked](const QByteArray &head) {
        if (head.startsWith("GET http://feed.invalid/plain.xml HTTP/1.1\r\n"))
            ++asked;
        return Script{{"HTTP/1.1 200 OK\r\nContent-Length: 3\r\n\r\nvia"}};
    });
    const QUrl behind(QStringLiteral("http://feed.invalid/plain.xml"));
    qputenv("http_proxy", proxy.address({}).toLatin1());
    LoadedAddress byEnvironment = load(behind);
    QVERIFY(byEnvironment.wait());
    qunsetenv("http_proxy");
    QCOMPARE(byEnvironment.data(), std::optional(QByteArray("via")));

    QNetworkProxy::setApplicationProxy(
        {QNetworkProxy::HttpProxy, QStringLiteral("127.0.0.1"), quint16(proxy.port())});
    LoadedAddress byApplication = load(behind);
    QVERIFY(byApplication.wait());
    // Restores the system's proxy configuration.
    QNetworkProxyFactory::setUseSystemConfiguration(true);
    QCOMPARE(byApplication.data(), std::optional(QByteArray("via")));
    QCOMPARE(asked.load(), 2);

    LoadedAddress direct = load(behind);
    QVERIFY(direct.wait());
    QCOMPARE(direct.connectionError().value_or(Error()).code, int(TransportError::Unreachable));
}

void NetworkUrlLoaderTest::aProxyThatRefusesATunnelIsUnreachable_data() {
    QTest::addColumn<QByteArray>("refusal");
    QTest::newRow("forbidden") << QByteArray("403 Forbidden");
    QTest::newRow("wants a password")
        << QByteArray("407 Who\r\nProxy-Authenticate: Basic realm=\"p\"");
    QTest::newRow("cannot reach the host") << QByteArray("502 Bad Gateway");
}

void NetworkUrlLoaderTest::aProxyThatRefusesATunnelIsUnreachable() {
    QFETCH(const QByteArray, refusal);
    std::atomic<bool> asked = false;
    ScriptedServer proxy([&](const QByteArray &head) {
        asked = head.startsWith("CONNECT feed.invalid:443 HTTP/1.1\r\n");
        return Script{{"HTTP/1.1 " + refusal + "\r\nContent-Length: 0\r\n\r\n"}};
    });
    qputenv("https_proxy", proxy.address({}).toLatin1());
    LoadedAddress loaded = load(QUrl(QStringLiteral("https://feed.invalid/plain.xml")));
    QVERIFY(loaded.wait());
    qunsetenv("https_proxy");
    QVERIFY(asked);
    QCOMPARE(loaded.connectionError().value_or(Error()).code, int(TransportError::Unreachable));
    // The proxy's answer must not be reported as the feed service's.
    QVERIFY(!loaded.hasResponse());
    QVERIFY(!loaded.data());
}

void NetworkUrlLoaderTest::anAddressWithAUserNamesItWhereAsked() {
    std::mutex mutex;
    QList<QByteArray> heads;
    ScriptedServer server([&](const QByteArray &head) {
        const std::lock_guard lock(mutex);
        heads += head;
        if (head.contains("Authorization: Basic dTpw"))
            return Script{{"HTTP/1.1 200 OK\r\nContent-Length: 2\r\n\r\nin"}};
        return Script{
            {"HTTP/1.1 401 Who\r\nWWW-Authenticate: Basic realm=\"feeds\"\r\n"
             "Content-Length: 0\r\nConnection: close\r\n\r\n"}};
    });
    QUrl url(server.address(QStringLiteral("/")));
    url.setUserInfo(QStringLiteral("u:p"));
    LoadedAddress loaded = load(url);
    QVERIFY(loaded.wait());
    QCOMPARE(loaded.data(), std::optional(QByteArray("in")));
    const std::lock_guard lock(mutex);
    QCOMPARE(heads.size(), 2);
    QVERIFY(!heads[0].contains("Authorization"));
}

void NetworkUrlLoaderTest::anOrderlyEndCountsForItsOwnConnectionAlone_data() {
    QTest::addColumn<bool>("cut");
    QTest::newRow("the second one ends in order, too") << false;
    QTest::newRow("the second one is cut") << true;
}

void NetworkUrlLoaderTest::anOrderlyEndCountsForItsOwnConnectionAlone() {
    QFETCH(const bool, cut);
    const auto files = _authority->issue(Kind::Valid);
    // The responses state no length, so each ends with its connection.
    ScriptedServer server(
        [cut](const QByteArray &head) {
            if (head.contains("Authorization: Basic dTpw"))
                return Script{{"HTTP/1.1 200 OK\r\n\r\nin"},
                              cut ? Script::End::Cut : Script::End::Close};
            return Script{
                {"HTTP/1.1 401 Who\r\nWWW-Authenticate: Basic realm=\"feeds\"\r\n\r\nwho"}};
        },
        files.certificate, files.privateKey);
    QUrl url(server.address(QStringLiteral("/")));
    url.setUserInfo(QStringLiteral("u:p"));
    LoadedAddress loaded = load(url);
    QVERIFY(loaded.wait());
    QCOMPARE(loaded.status().value_or(0), 200);
    QCOMPARE(loaded.data(), cut ? std::nullopt : std::optional(QByteArray("in")));
    QCOMPARE(loaded.connectionError().value_or(Error()).code,
             cut ? int(TransportError::Incomplete) : 0);
}

void NetworkUrlLoaderTest::aSteadyTransferEndsAfterTheMaximumDuration() {
    // A byte every 160 ms.
    FeedReply reply;
    reply.body = QByteArray(1000, 'x');
    reply.drip = FeedReply::Drip{1, std::chrono::milliseconds(160)};
    NetworkUrlLoader loader(NetworkUrlLoader::defaultMaxBody, {}, std::chrono::seconds(1));
    for (const bool tls : {false, true}) {
        serverFor(tls).setReply(reply);
        LoadedAddress loaded(loader, tolerant(serverFor(tls).address(QStringLiteral("/x"))),
                             &_queue, std::chrono::seconds(60));
        QVERIFY(loaded.wait());
        QVERIFY(!loaded.data());
        const Error error = loaded.connectionError().value_or(Error());
        QCOMPARE(error.code, int(TransportError::TimedOut));
        QVERIFY(error.description().contains(QStringLiteral("Not complete after 1 seconds")));
    }
}

void NetworkUrlLoaderTest::onlyTheTimeWithoutProgressCounts() {
    // 16 bytes in 2.6 seconds: together longer than the timeout, but each pause is far shorter.
    constexpr std::chrono::seconds timeout{2};
    FeedReply reply;
    reply.drip = FeedReply::Drip{1, std::chrono::milliseconds(160)};
    QElapsedTimer elapsed;
    elapsed.start();
    std::vector<LoadedAddress> loads;
    for (const bool tls : {false, true}) {
        serverFor(tls).setReply(reply);
        loads.push_back(
            load(tolerant(serverFor(tls).address(QStringLiteral("/plain.xml"))), timeout));
    }
    for (LoadedAddress &loaded : loads) {
        QVERIFY(loaded.wait());
        QCOMPARE(loaded.data(), std::optional(QByteArray("<rss>grün</rss>")));
        QVERIFY2(std::chrono::milliseconds(elapsed.elapsed()) > timeout,
                 "the transfer was shorter than the timeout, so it proves nothing");
    }
}

namespace {

/// The descriptor of this process's client-side connection to one of its own ports; -1 if there is
/// none.
int connectionTo(int port) {
    constexpr int maxDescriptors = 1024;
    for (int descriptor = 3; descriptor < maxDescriptors; ++descriptor) {
        sockaddr_in peer{};
        socklen_t size = sizeof peer;
        if (::getpeername(descriptor, reinterpret_cast<sockaddr *>(&peer), &size) == 0 &&
            peer.sin_family == AF_INET && ntohs(peer.sin_port) == port)
            return descriptor;
    }
    return -1;
}

}  // namespace

void NetworkUrlLoaderTest::theHostsOwnTrafficIsNoProgress() {
    // The host's own connection, which receives data all the time.
    QTcpServer listening;
    QVERIFY(listening.listen(QHostAddress::LocalHost));
    QTcpSocket sending;
    sending.connectToHost(QHostAddress::LocalHost, listening.serverPort());
    QVERIFY(sending.waitForConnected(testPatience) && listening.waitForNewConnection(testPatience));
    const std::unique_ptr<QTcpSocket> receiving(listening.nextPendingConnection());
    const int traffic = int(sending.socketDescriptor());
    const int arriving = int(receiving->socketDescriptor());
    std::atomic<bool> done = false;
    std::thread sender([&] {
        while (!done) {
            ::send(traffic, "x", 1, MSG_NOSIGNAL | MSG_DONTWAIT);
            std::this_thread::sleep_for(std::chrono::milliseconds(50));
        }
    });
    // Reserve two descriptor numbers for the two ends of the second connection. So the number of
    // the first connection stays free after that connection is closed.
    const int spare[] = {::dup(traffic), ::dup(traffic)};
    std::atomic<int> first = -1;
    std::atomic<int> taken = -1;
    {
        std::atomic<int> port = 0;
        ScriptedServer server([&](const QByteArray &head) {
            if (!head.contains("Authorization")) {
                first = connectionTo(port);
                ::close(spare[0]);
                ::close(spare[1]);
                return Script{
                    {"HTTP/1.1 401 Who\r\nWWW-Authenticate: Basic realm=\"feeds\"\r\n"
                     "Content-Length: 0\r\nConnection: close\r\n\r\n"}};
            }
            // The host reuses the descriptor number of the closed connection.
            taken = ::fcntl(arriving, F_DUPFD_CLOEXEC, first.load());
            return Script{{}, Script::End::Hold};
        });
        port = server.port();
        QUrl url(server.address(QStringLiteral("/")));
        url.setUserInfo(QStringLiteral("u:p"));
        LoadedAddress loaded = load(url, 1s);
        const bool ended = loaded.wait();
        done = true;
        sender.join();
        QVERIFY(first >= 0);
        QCOMPARE(taken.load(), first.load());
        QVERIFY2(ended, "the loader counts the host's traffic as progress");
        QCOMPARE(loaded.connectionError().value_or(Error()).code, int(TransportError::TimedOut));
    }
    ::close(taken);
}

void NetworkUrlLoaderTest::aBodyBeyondTheLimitIsAnError_data() {
    QTest::addColumn<QString>("reply");
    QTest::addColumn<bool>("fits");
    QTest::newRow("of just the limit") << "size=200k" << true;
    QTest::newRow("longer by its length") << "size=300k" << false;
    QTest::newRow("longer in chunks") << "size=300k,framing=chunked" << false;
    QTest::newRow("without an end") << "endless,framing=chunked" << false;
    QTest::newRow("without an end or chunks") << "endless,framing=close" << false;
}

void NetworkUrlLoaderTest::aBodyBeyondTheLimitIsAnError() {
    QFETCH(const QString, reply);
    QFETCH(const bool, fits);
    NetworkUrlLoader limited(200 * 1024);
    // Several times: the result must not depend on whether the server or the reader is faster.
    for (const bool tls : {false, true, false, true, false, true}) {
        serverFor(tls).setReply(FeedReply::parse(reply).value());
        LoadedAddress loaded(
            limited, tolerant(serverFor(tls).address(QStringLiteral("/plain.xml"))), &_queue, 10s);
        QVERIFY(loaded.wait());
        QCOMPARE(loaded.data().has_value(), fits);
        QCOMPARE(loaded.connectionError().has_value(), !fits);
        QTRY_COMPARE(serverFor(tls).openConnections(), 0);
    }
}

void NetworkUrlLoaderTest::aLongBodyComesWhole_data() {
    QTest::addColumn<QString>("framing");
    QTest::newRow("by its length") << "length";
    QTest::newRow("in chunks") << "chunked";
    QTest::newRow("to the connection's end") << "close";
}

void NetworkUrlLoaderTest::aLongBodyComesWhole() {
    QFETCH(const QString, framing);
    constexpr qsizetype size = qsizetype(20) * 1024 * 1024;
    for (const bool tls : {false, true}) {
        FeedReply elsewhere;
        elsewhere.redirectTo = "/+size=20m,framing=" + framing.toLatin1() + "/plain.xml";
        serverFor(tls).setReply(elsewhere);
        LoadedAddress loaded = load(tolerant(serverFor(tls).address(QStringLiteral("/moved.xml"))));
        QVERIFY(loaded.wait());
        const QByteArray body = loaded.data().value_or(QByteArray());
        QCOMPARE(body.size(), size);
        QVERIFY(body.startsWith("<?xml"));
        QVERIFY2(body.trimmed().endsWith("</rss>"), body.right(100).constData());
    }
}

void NetworkUrlLoaderTest::aHugeClaimedLengthTakesNoMemory() {
    _http->setReply(FeedReply::parse(QStringLiteral("length=1000000000000")).value());
    LoadedAddress loaded = load(tolerant(_http->address(QStringLiteral("/plain.xml"))));
    QVERIFY(loaded.wait());
    QVERIFY(loaded.connectionError());
    QVERIFY(!loaded.data());
}

namespace {

qint64 statusKiB(const QByteArray &field) {
    QFile status(QStringLiteral("/proc/self/status"));
    if (!status.open(QIODevice::ReadOnly))
        return -1;
    for (const QByteArray &line : status.readAll().split('\n'))
        if (line.startsWith(field + ':'))
            return line.mid(field.size() + 1).trimmed().split(' ').front().toLongLong();
    return -1;
}

}  // namespace

void NetworkUrlLoaderTest::aLargeBodyCostsItsSizeOnce() {
#if defined(__SANITIZE_THREAD__) || defined(__SANITIZE_ADDRESS__) || defined(__clang__)
    QSKIP("a sanitizer's own memory distorts the measurement");
#endif
    constexpr qint64 size = qint64(30) * 1024 * 1024;
    // A separate process keeps the server's memory out of the measurement.
    QProcess server;
    server.start(QStringLiteral(PELORIN_APP_DIR "/bin/pelorin-feedserver"),
                 {QStringLiteral("--tls"), _authority->path(), QStringLiteral("--reply"),
                  QStringLiteral("size=30m")});
    QVERIFY2(server.waitForReadyRead(testPatience), qPrintable(server.errorString()));
    const QString address = QString::fromLatin1(server.readLine().trimmed());
    QFile reset(QStringLiteral("/proc/self/clear_refs"));
    QVERIFY(reset.open(QIODevice::WriteOnly));
    reset.write("5");
    reset.close();
    const qint64 before = statusKiB("VmRSS");
    LoadedAddress loaded = load(tolerant(address), 30s);
    QVERIFY(loaded.wait());
    const qint64 peak = statusKiB("VmHWM");
    server.terminate();
    QVERIFY(server.waitForFinished(testPatience));
    QCOMPARE(loaded.data().value_or(QByteArray()).size(), size);
    const double ratio = double(peak - before) * 1024 / double(size);
    qInfo("peak memory of a 30 MiB body: %.2f times its size", ratio);
    QVERIFY2(ratio < 1.5, qPrintable(QString::number(ratio)));
}

void NetworkUrlLoaderTest::theCompletionRunsOnTheQueueAndNeverOnTheCallersStack() {
    QThreadPool single;
    single.setMaxThreadCount(1);
    std::atomic<bool> release = false;
    // While the queue's only thread is busy, no callback may run.
    single.start([&] {
        while (!release)
            std::this_thread::sleep_for(std::chrono::milliseconds(5));
    });
    LoadedAddress good(_loader, tolerant(_http->address(QStringLiteral("/plain.xml"))), &single,
                       10s);
    LoadedAddress bad(_loader, QUrl(), &single, 10s);
    QVERIFY(_http->waitForRequests(1));
    QVERIFY(!good.wait(std::chrono::milliseconds(200)));
    QVERIFY(!bad.wait(std::chrono::milliseconds(0)));
    release = true;
    QVERIFY(good.wait());
    QVERIFY(bad.wait());
    QCOMPARE(good.thread(), bad.thread());
    QVERIFY(good.thread() != QThread::currentThread());
}

void NetworkUrlLoaderTest::aMissingQueueStandsForTheGlobalOne() {
    LoadedAddress loaded(_loader, tolerant(_http->address(QStringLiteral("/plain.xml"))), nullptr,
                         10s);
    QVERIFY(loaded.wait());
    QVERIFY(loaded.data());
}

void NetworkUrlLoaderTest::aMissingCompletionIsFine() {
    _loader.sendAsynchronousRequest(tolerant(_http->address(QStringLiteral("/plain.xml"))), 10s,
                                    &_queue, {});
    QVERIFY(_http->waitForRequests(1));
    QVERIFY(_queue.waitForDone(testPatience));
}

void NetworkUrlLoaderTest::manyRequestsFromManyThreadsEachCompleteOnce() {
    constexpr int threads = 4;
    constexpr int each = 15;
    std::vector<LoadedAddress> loads[threads];
    std::vector<std::thread> senders;
    for (int number = 0; number < threads; ++number)
        senders.emplace_back([&, number] {
            for (int i = 0; i < each; ++i)
                loads[number].push_back(load(
                    tolerant(serverFor(i % 2 == 1)
                                 .address(QStringLiteral("/plain.xml?%1-%2").arg(number).arg(i)))));
        });
    for (std::thread &sender : senders)
        sender.join();
    for (auto &loadsOfOne : loads)
        for (LoadedAddress &loaded : loadsOfOne) {
            QVERIFY(loaded.wait());
            QCOMPARE(loaded.data(), std::optional(QByteArray("<rss>grün</rss>")));
        }
    _queue.waitForDone();
    for (const auto &loadsOfOne : loads)
        for (const LoadedAddress &loaded : loadsOfOne)
            QCOMPARE(loaded.calls(), 1);
    QCOMPARE(_http->requests().size() + _https->requests().size(), std::size_t(threads * each));
}

void NetworkUrlLoaderTest::noConnectionStaysWhenNothingIsUnderWay() {
    FeedReply reply;
    reply.keepAlive = true;
    for (const bool tls : {false, true}) {
        serverFor(tls).setReply(reply);
        LoadedAddress loaded = load(tolerant(serverFor(tls).address(QStringLiteral("/plain.xml"))));
        QVERIFY(loaded.wait());
        QVERIFY(loaded.data());
        QTRY_COMPARE(serverFor(tls).openConnections(), 0);
    }
}

void NetworkUrlLoaderTest::stopEndsWhatIsUnderWay() {
    FeedReply never;
    never.stallAfter = 3;
    for (const bool tls : {false, true}) {
        FeedServer &server = serverFor(tls);
        server.setReply(never);
        NetworkUrlLoader ending;
        std::vector<LoadedAddress> loads;
        for (int i = 0; i < 3; ++i)
            loads.emplace_back(ending, tolerant(server.address(QStringLiteral("/plain.xml"))),
                               &_queue, 60s);
        QVERIFY(server.waitForRequests(3));
        QElapsedTimer elapsed;
        elapsed.start();
        ending.stop();
        QVERIFY2(elapsed.elapsed() < NetworkUrlLoader::stopTimeout.count(),
                 qPrintable(QString::number(elapsed.elapsed())));
        for (LoadedAddress &loaded : loads) {
            QVERIFY(loaded.wait());
            QCOMPARE(loaded.connectionError().value_or(Error()).code,
                     int(TransportError::Cancelled));
            QVERIFY(!loaded.data());
            QCOMPARE(loaded.calls(), 1);
        }
        QTRY_COMPARE(server.openConnections(), 0);
    }
}

void NetworkUrlLoaderTest::stopWithoutARequestIsFine() {
    NetworkUrlLoader idle;
    idle.stop();
    idle.stop();
}

void NetworkUrlLoaderTest::requestsAfterStopEndWithAnError() {
    NetworkUrlLoader ended;
    LoadedAddress before(ended, tolerant(_http->address(QStringLiteral("/plain.xml"))), &_queue,
                         10s);
    QVERIFY(before.wait());
    ended.stop();
    LoadedAddress after(ended, tolerant(_http->address(QStringLiteral("/plain.xml"))), &_queue,
                        10s);
    QVERIFY(after.wait());
    QCOMPARE(after.connectionError().value_or(Error()).code, int(TransportError::Cancelled));
    QVERIFY(after.thread() != QThread::currentThread());
    QCOMPARE(_http->requests().size(), std::size_t(1));
}

void NetworkUrlLoaderTest::requestsDuringStopEachCompleteOnce() {
    for (int round = 0; round < 10; ++round) {
        NetworkUrlLoader ending;
        std::vector<LoadedAddress> loads;
        std::thread sender([&] {
            for (int i = 0; i < 10; ++i)
                loads.emplace_back(ending, tolerant(_http->address(QStringLiteral("/plain.xml"))),
                                   &_queue, 10s);
        });
        std::this_thread::sleep_for(std::chrono::milliseconds(round));
        ending.stop();
        sender.join();
        for (LoadedAddress &loaded : loads)
            QVERIFY(loaded.wait());
        _queue.waitForDone();
        for (const LoadedAddress &loaded : loads)
            QCOMPARE(loaded.calls(), 1);
    }
}

void NetworkUrlLoaderTest::theSharedLoaderIsOne() {
    QVERIFY(UrlLoader::shared());
    QCOMPARE(UrlLoader::shared(), UrlLoader::shared());
    LoadedAddress loaded(*UrlLoader::shared(),
                         tolerant(_http->address(QStringLiteral("/plain.xml"))), &_queue, 10s);
    QVERIFY(loaded.wait());
    QVERIFY(loaded.data());
}

PELORIN_CORE_TEST_MAIN(NetworkUrlLoaderTest)
#include "NetworkUrlLoaderTest.moc"
