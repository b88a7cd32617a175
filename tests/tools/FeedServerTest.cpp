#include "FeedServer.h"
#include "RawExchange.h"
#include "TestAuthority.h"
#include "TestMain.h"

#include <QElapsedTimer>
#include <QFile>

using namespace pelorinnews;
using namespace pelorinnews::test;

namespace {

const QByteArray plainBody = "<rss>0123456789</rss>";

}  // namespace

class FeedServerTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void cleanup();

    void feedsAreChosenByLocaleAndType_data();
    void feedsAreChosenByLocaleAndType();
    void repliesMisbehaveAsTold_data();
    void repliesMisbehaveAsTold();
    void aDelayComesBeforeTheHead();
    void aStalledBodyKeepsTheConnection();
    void aDripSendsAFewBytesAtATime();
    void anEndlessBodyKeepsComing();
    void aGeneratedFeedHasItsExactLength_data();
    void aGeneratedFeedHasItsExactLength();
    void aResetIsNoOrderlyEnd();
    void redirectsLeadToTheAnswer();
    void aPathCanHaveItsOwnReply();
    void requestsAreRecordedByteForByte();
    void aConnectionCanCarryTwoRequests();
    void badRequestsAreRefused_data();
    void badRequestsAreRefused();
    void itAnswersWhileTheCallersThreadIsBlocked();
    void stoppingCutsConnectionsAndStartingAgainWorks();
    void aTakenPortIsAnError();
    void unusableCertificatesAreAnError();

private:
    [[nodiscard]] FeedServer &serverFor(bool tls) { return tls ? *_https : *_http; }

    QTemporaryDir _feeds;
    std::unique_ptr<TestAuthority> _authority;
    std::unique_ptr<FeedServer> _http;
    std::unique_ptr<FeedServer> _https;
};

void FeedServerTest::initTestCase() {
    const std::pair<const char *, QByteArray> files[] = {
        {"plain.xml", plainBody},
        {"standard.en.xml", "english {{now}}"},
        {"standard.de.xml", "deutsch {{now-1d}}"},
        {"standard.pt-BR.xml", "brasil"},
        {"beta.de.xml", "beta"},
    };
    for (const auto &[name, content] : files) {
        QFile file(_feeds.filePath(QLatin1String(name)));
        QVERIFY(file.open(QIODevice::WriteOnly));
        file.write(content);
    }
    _authority = std::make_unique<TestAuthority>();
    FeedServerOptions options;
    options.feedFolder = _feeds.path();
    _http = std::make_unique<FeedServer>(options);
    QVERIFY(_http->start());
    const auto issued = _authority->issue(DevelopmentCertificates::Kind::Valid);
    options.certificateFile = issued.certificate;
    options.privateKeyFile = issued.privateKey;
    _https = std::make_unique<FeedServer>(options);
    QVERIFY(_https->start());
}

void FeedServerTest::cleanup() {
    for (FeedServer *server : {_http.get(), _https.get()}) {
        server->clearReplies();
        server->clearRequests();
    }
}

void FeedServerTest::feedsAreChosenByLocaleAndType_data() {
    QTest::addColumn<QByteArray>("target");
    QTest::addColumn<QByteArray>("status");
    QTest::addColumn<QByteArray>("bodyBegin");
    const QByteArray service = "/RSS_Feed/PelorinNews.php?";
    const auto row = [&](const char *name, const QByteArray &rest, const QByteArray &begin) {
        QTest::newRow(name) << service + rest << QByteArray(begin.isNull() ? "404" : "200")
                            << begin;
    };
    row("German", "&locale=de&type=standard", "deutsch ");
    row("English", "&locale=en&type=standard", "english ");
    row("a region falls back to its language", "&locale=de-AT&type=standard", "deutsch ");
    row("an underscore is a hyphen", "&locale=pt_BR&type=standard", "brasil");
    row("a language without a feed gets English", "&locale=fr&type=standard", "english ");
    row("no locale gets English", "&type=standard", "english ");
    row("no type is standard", "&locale=de", "deutsch ");
    row("no query", "", "english ");
    row("another type", "&locale=de&type=beta", "beta");
    row("another type without English", "&locale=fr&type=beta", {});
    row("an unknown type", "&locale=de&type=none", {});
    row("a type that leaves the folder", "&locale=de&type=../standard", {});
    row("a locale that leaves the folder", "&locale=../de&type=standard", "english ");
    QTest::newRow("a static file") << QByteArray("/plain.xml") << QByteArray("200") << plainBody;
    QTest::newRow("a static file in its own language")
        << QByteArray("/standard.de.xml") << QByteArray("200") << QByteArray("deutsch ");
    QTest::newRow("a static file that is not there")
        << QByteArray("/none.xml") << QByteArray("404") << QByteArray();
    QTest::newRow("a static file outside")
        << QByteArray("/../plain.xml") << QByteArray("404") << QByteArray();
    QTest::newRow("the root") << QByteArray("/") << QByteArray("404") << QByteArray();
}

void FeedServerTest::feedsAreChosenByLocaleAndType() {
    QFETCH(const QByteArray, target);
    QFETCH(const QByteArray, status);
    QFETCH(const QByteArray, bodyBegin);
    RawExchange exchange(_http->port(), false);
    exchange.sendGet(target);
    exchange.gather();
    QVERIFY(exchange.statusLine().startsWith("HTTP/1.1 " + status + ' '));
    if (!bodyBegin.isNull())
        QVERIFY2(exchange.body().startsWith(bodyBegin), exchange.body().constData());
    QVERIFY(!exchange.body().contains("{{"));
}

void FeedServerTest::repliesMisbehaveAsTold_data() {
    QTest::addColumn<bool>("tls");
    QTest::addColumn<QByteArray>("options");
    QTest::addColumn<QByteArray>("status");   // null: no response
    QTest::addColumn<QByteArray>("header");   // a line the response must have; null: not checked
    QTest::addColumn<QByteArray>("missing");  // a header it must not have; null: not checked
    QTest::addColumn<QByteArray>("body");

    struct Row {
        const char *name;
        const char *options;
        const char *status;
        const char *header;
        const char *missing;
        QByteArray body;
    };
    const Row rows[] = {
        {"nothing", "drip=100:0", "200 OK", "Content-Length: 21", nullptr, plainBody},
        {"304", "status=304", "304 Not Modified", nullptr, "Content-Length", ""},
        {"399", "status=399", "399 Status", "Content-Length: 21", nullptr, plainBody},
        {"400 with a body", "status=400,body=a%2Cb", "400 Bad Request", "Content-Length: 3",
         nullptr, "a,b"},
        {"404 with an empty body", "status=404,empty", "404 Not Found", "Content-Length: 0",
         nullptr, ""},
        {"500", "status=500", "500 Internal Server Error", nullptr, nullptr, plainBody},
        {"503", "status=503,empty", "503 Service Unavailable", nullptr, nullptr, ""},
        {"no body at all", "empty,framing=close", "200 OK", nullptr, "Content-Length", ""},
        {"a cut before the head", "cut-head", nullptr, nullptr, nullptr, ""},
        {"a cut in the body", "cut=5", "200 OK", "Content-Length: 21", nullptr, "<rss>"},
        {"a cut after the head", "cut=0", "200 OK", "Content-Length: 21", nullptr, ""},
        {"too long a length", "length=5", "200 OK", "Content-Length: 26", nullptr, plainBody},
        {"too short a length", "length=-5", "200 OK", "Content-Length: 16", nullptr, plainBody},
        {"chunks", "framing=chunked", "200 OK", "Transfer-Encoding: chunked", "Content-Length",
         "15\r\n" + plainBody + "\r\n0\r\n\r\n"},
        {"chunks cut", "chunk-error=cut", "200 OK", "Transfer-Encoding: chunked", nullptr,
         "15\r\n" + plainBody + "\r\n"},
        {"chunks malformed", "chunk-error=malformed", "200 OK", "Transfer-Encoding: chunked",
         nullptr, "1\r\n<\r\nzz\r\nrss>0123456789</rss>\r\n0\r\n\r\n"},
        {"invalid UTF-8", "invalid-utf8", "200 OK", "Content-Length: 22", nullptr,
         plainBody + '\xff'},
        {"an absolute redirect", "redirect=http:%2F%2Felsewhere.example%2F", "302 Found",
         "Location: http://elsewhere.example/", nullptr, ""},
        {"a permanent redirect", "status=301,redirect=b.xml", "301 Moved Permanently",
         "Location: b.xml", nullptr, ""},
        {"a chain", "redirects=3", "302 Found", "Location: /+redirects=2/plain.xml", nullptr, ""},
        {"an unknown option", "flip", "400 Bad Request", nullptr, nullptr,
         "Unknown option: flip\n"},
        {"an unreadable value", "status=many", "400 Bad Request", nullptr, nullptr,
         "Unknown option: status=many\n"},
    };
    for (const Row &row : rows)
        for (const bool tls : {false, true})
            QTest::addRow("%s over %s", row.name, tls ? "HTTPS" : "HTTP")
                << tls << QByteArray(row.options) << QByteArray(row.status)
                << QByteArray(row.header) << QByteArray(row.missing) << row.body;
}

void FeedServerTest::repliesMisbehaveAsTold() {
    QFETCH(const bool, tls);
    QFETCH(const QByteArray, options);
    QFETCH(const QByteArray, status);
    QFETCH(const QByteArray, header);
    QFETCH(const QByteArray, missing);
    QFETCH(const QByteArray, body);
    RawExchange exchange(serverFor(tls).port(), tls);
    QVERIFY(exchange.isConnected());
    exchange.sendGet("/+" + options + "/plain.xml");
    exchange.gather();
    QVERIFY(exchange.hasEnded());
    QCOMPARE(exchange.received.isEmpty(), status.isNull());
    if (!status.isNull())
        QCOMPARE(exchange.statusLine(), "HTTP/1.1 " + status);
    if (!header.isNull())
        QVERIFY2(exchange.head().contains("\r\n" + header + "\r\n"), exchange.head().constData());
    if (!missing.isNull())
        QVERIFY2(!exchange.head().contains("\r\n" + missing + ":"), exchange.head().constData());
    QCOMPARE(exchange.body(), body);
}

void FeedServerTest::aDelayComesBeforeTheHead() {
    RawExchange exchange(_http->port(), false);
    exchange.sendGet("/+delay=600/plain.xml");
    exchange.gather(std::chrono::milliseconds(200));
    QVERIFY(exchange.received.isEmpty());
    QVERIFY(!exchange.hasEnded());
    exchange.gather();
    QCOMPARE(exchange.body(), plainBody);
}

void FeedServerTest::aStalledBodyKeepsTheConnection() {
    for (const bool tls : {false, true}) {
        RawExchange exchange(serverFor(tls).port(), tls);
        exchange.sendGet("/+stall=7/plain.xml");
        exchange.gather(std::chrono::milliseconds(400));
        QCOMPARE(exchange.body(), plainBody.left(7));
        QVERIFY(!exchange.hasEnded());
        QCOMPARE(serverFor(tls).openConnections(), 1);
    }
}

void FeedServerTest::aDripSendsAFewBytesAtATime() {
    QElapsedTimer elapsed;
    elapsed.start();
    RawExchange exchange(_http->port(), false);
    exchange.sendGet("/+drip=7:100/plain.xml");
    exchange.gather();
    QCOMPARE(exchange.body(), plainBody);
    QVERIFY2(elapsed.elapsed() >= 200, qPrintable(QString::number(elapsed.elapsed())));
}

void FeedServerTest::anEndlessBodyKeepsComing() {
    constexpr qint64 wantedBytes = 3'000'000;
    RawExchange exchange(_http->port(), false);
    exchange.sendGet("/+endless/plain.xml");
    exchange.gather(std::chrono::milliseconds(testPatience), wantedBytes);
    QVERIFY(exchange.received.size() >= wantedBytes);
    QVERIFY(!exchange.hasEnded());
    QVERIFY(!exchange.head().contains("Content-Length"));
}

void FeedServerTest::aGeneratedFeedHasItsExactLength_data() {
    QTest::addColumn<bool>("tls");
    QTest::addColumn<qint64>("size");
    for (const bool tls : {false, true})
        for (const qint64 size : {1024, 3000, 5000, 100'000, 5'000'000})
            QTest::addRow("%lld bytes over %s", size, tls ? "HTTPS" : "HTTP") << tls << size;
}

void FeedServerTest::aGeneratedFeedHasItsExactLength() {
    QFETCH(const bool, tls);
    QFETCH(const qint64, size);
    RawExchange exchange(serverFor(tls).port(), tls);
    exchange.sendGet("/+size=" + QByteArray::number(size) + "/RSS_Feed/PelorinNews.php?&locale=de");
    exchange.gather();
    QVERIFY(exchange.head().contains("\r\nContent-Length: " + QByteArray::number(size) + "\r\n"));
    QCOMPARE(exchange.body().size(), size);
    QVERIFY(exchange.body().contains("<language>de</language>"));
    QVERIFY(exchange.body().endsWith("</channel></rss>\n"));
    QCOMPARE(exchange.body().count("<item>"), exchange.body().count("</item>"));
}

void FeedServerTest::aResetIsNoOrderlyEnd() {
    for (const bool tls : {false, true}) {
        RawExchange exchange(serverFor(tls).port(), tls);
        exchange.sendGet("/+cut=5,reset/plain.xml");
        exchange.gather();
        QVERIFY(exchange.hasEnded());
        QVERIFY(exchange.body().size() <= 5);
    }
}

void FeedServerTest::redirectsLeadToTheAnswer() {
    QByteArray target = "/+redirects=2/plain.xml?&locale=de";
    for (const QByteArray next :
         {"/+redirects=1/plain.xml?&locale=de", "/+redirects=0/plain.xml?&locale=de"}) {
        RawExchange exchange(_http->port(), false);
        exchange.sendGet(target);
        exchange.gather();
        QVERIFY2(exchange.head().contains("\r\nLocation: " + next + "\r\n"),
                 exchange.head().constData());
        target = next;
    }
    RawExchange last(_http->port(), false);
    last.sendGet(target);
    last.gather();
    QCOMPARE(last.body(), plainBody);

    RawExchange loop(_http->port(), false);
    loop.sendGet("/+loop/plain.xml?a=b");
    loop.gather();
    QVERIFY(loop.head().contains("\r\nLocation: /+loop/plain.xml?a=b\r\n"));
}

void FeedServerTest::aPathCanHaveItsOwnReply() {
    FeedReply all;
    all.status = 503;
    _http->setReply(all);
    FeedReply own;
    own.body = "own";
    own.headers = {{"X-Own", "yes"}};
    _http->setReplyForPath("/own.xml", own);

    RawExchange ofAll(_http->port(), false);
    ofAll.sendGet("/plain.xml");
    ofAll.gather();
    QCOMPARE(ofAll.statusLine(), QByteArray("HTTP/1.1 503 Service Unavailable"));
    RawExchange ofOwn(_http->port(), false);
    ofOwn.sendGet("/own.xml?&locale=de");
    ofOwn.gather();
    QCOMPARE(ofOwn.statusLine(), QByteArray("HTTP/1.1 200 OK"));
    QVERIFY(ofOwn.head().contains("\r\nX-Own: yes\r\n"));
    QCOMPARE(ofOwn.body(), QByteArray("own"));
}

void FeedServerTest::requestsAreRecordedByteForByte() {
    RawExchange exchange(_http->port(), false);
    exchange.send("GET /a%20b?&locale=de&&x=%C3 HTTP/1.1\r\nHost: h\r\nx-odd:   two words \r\n");
    exchange.gather(std::chrono::milliseconds(100));
    QVERIFY(_http->requests().empty());
    exchange.send("\r\n");
    QVERIFY(_http->waitForRequests(1));
    const std::vector<FeedRequest> requests = _http->requests();
    QCOMPARE(requests.size(), std::size_t(1));
    QCOMPARE(requests[0].requestLine, QByteArray("GET /a%20b?&locale=de&&x=%C3 HTTP/1.1"));
    QCOMPARE(requests[0].target(), QByteArray("/a%20b?&locale=de&&x=%C3"));
    QCOMPARE(requests[0].headers.size(), std::size_t(2));
    QCOMPARE(requests[0].header("X-Odd"), QByteArray("two words"));
    QVERIFY(requests[0].header("Cookie").isNull());
    QVERIFY(!_http->waitForRequests(2, std::chrono::milliseconds(50)));
}

void FeedServerTest::aConnectionCanCarryTwoRequests() {
    RawExchange exchange(_http->port(), false);
    exchange.sendGet("/+keep-alive/plain.xml");
    exchange.gather(std::chrono::milliseconds(300));
    QCOMPARE(exchange.body(), plainBody);
    QVERIFY(!exchange.hasEnded());
    exchange.received.clear();
    exchange.sendGet("/plain.xml");
    exchange.gather();
    QCOMPARE(exchange.body(), plainBody);
    QVERIFY(exchange.hasEnded());
    QCOMPARE(_http->requests().size(), std::size_t(2));
}

void FeedServerTest::badRequestsAreRefused_data() {
    QTest::addColumn<QByteArray>("request");
    QTest::addColumn<QByteArray>("status");  // null: the connection ends without an answer
    QTest::newRow("another method")
        << QByteArray("POST /plain.xml HTTP/1.1\r\n\r\n") << QByteArray("HTTP/1.1 405");
    QTest::newRow("no request") << QByteArray("hello\r\n\r\n") << QByteArray("HTTP/1.1 400");
    QTest::newRow("only line ends") << QByteArray("\r\n\r\n") << QByteArray("HTTP/1.1 400");
    QTest::newRow("a head without an end") << QByteArray(100'000, 'a') << QByteArray();
}

void FeedServerTest::badRequestsAreRefused() {
    QFETCH(const QByteArray, request);
    QFETCH(const QByteArray, status);
    RawExchange exchange(_http->port(), false);
    exchange.send(request);
    exchange.gather();
    QVERIFY(exchange.hasEnded());
    QCOMPARE(exchange.received.left(12), status);
}

void FeedServerTest::itAnswersWhileTheCallersThreadIsBlocked() {
    // The exchange blocks this thread, so the server answers although this thread runs no event
    // loop.
    FeedServer server;
    QVERIFY(server.start());
    FeedReply reply;
    reply.body = "here";
    server.setReply(reply);
    RawExchange exchange(server.port(), false);
    exchange.sendGet("/");
    exchange.gather();
    QCOMPARE(exchange.body(), QByteArray("here"));
}

void FeedServerTest::stoppingCutsConnectionsAndStartingAgainWorks() {
    FeedServer server;
    QCOMPARE(server.port(), quint16(0));
    QVERIFY(server.start());
    const quint16 first = server.port();
    QVERIFY(first != 0);
    QCOMPARE(server.address(QStringLiteral("/a")),
             QStringLiteral("http://127.0.0.1:%1/a").arg(first));
    RawExchange exchange(first, false);
    exchange.sendGet("/+delay=60000/x");
    QVERIFY(server.waitForRequests(1));
    QElapsedTimer elapsed;
    elapsed.start();
    server.stop();
    QVERIFY(elapsed.elapsed() < 2000);
    QCOMPARE(server.openConnections(), 0);
    exchange.gather();
    QVERIFY(exchange.hasEnded());
    QVERIFY(!RawExchange(first, false).isConnected());
    server.stop();
    QVERIFY(server.start());
    QVERIFY(RawExchange(server.port(), false).isConnected());
}

void FeedServerTest::aTakenPortIsAnError() {
    FeedServerOptions options;
    options.port = _http->port();
    FeedServer server(options);
    QString whyNot;
    QVERIFY(!server.start(&whyNot));
    QVERIFY(!whyNot.isEmpty());
    QCOMPARE(server.port(), quint16(0));
}

void FeedServerTest::unusableCertificatesAreAnError() {
    const auto issued = _authority->issue(DevelopmentCertificates::Kind::Valid);
    for (const auto &[certificate, key] :
         {std::pair{QStringLiteral("/none.pem"), issued.privateKey},
          std::pair{issued.certificate, QStringLiteral("/none.key")},
          std::pair{issued.certificate, issued.certificate}}) {
        FeedServerOptions options;
        options.certificateFile = certificate;
        options.privateKeyFile = key;
        FeedServer server(options);
        QString whyNot;
        QVERIFY(!server.start(&whyNot));
        QVERIFY(!whyNot.isEmpty());
    }
}

PELORIN_CORE_TEST_MAIN(FeedServerTest)
#include "FeedServerTest.moc"
