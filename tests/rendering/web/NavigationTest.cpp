// How pages navigate without a click, and how one page replaces another.

#include "PageServer.h"
#include "RendererFixture.h"
#include "TestMain.h"

#include <QBuffer>
#include <QNetworkProxy>
#include <QWebEnginePage>

#include <csignal>

using namespace pelorinnews;
using namespace pelorinnews::test;

namespace {

const QString button = QStringLiteral("<button style='width:300px;height:200px'>Send</button>");

// The `data:` URL of an image of one colour.
QString picture(QSize size, const QColor &color, const QByteArray &format) {
    QImage image(size, QImage::Format_Grayscale8);
    image.fill(color);
    QBuffer buffer;
    image.save(&buffer, format.constData());
    return QStringLiteral("data:image/png;base64,") + QString::fromLatin1(buffer.data().toBase64());
}

}  // namespace

class NavigationTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void initTestCase_data();
    void initTestCase();
    void cleanupTestCase();
    void init();
    void cleanup() { _fixture.reset(); }

    void tellsWhyAPageLeaves_data();
    void tellsWhyAPageLeaves();
    void tellsOfRedirectionsToo();
    void tellsOfGoingBackForwardAndAnew();
    void tellsOfLoadingAnItemAnew();
    void ownLoadsAreNotToldOf();
    void loadsWithoutADelegate();
    void thePageBeforeNeverStays_data();
    void thePageBeforeNeverStays();
    void theLastOfManyLoadsWins();
    void aPageFollowsOneThatLeft();
    void aPageThatNeverRestsMakesWay();
    void aLateRequestForAnEarlierItemChangesNothing();
    void takesNoCookies();
    void usesTheHostsProxy();
    void startsAtTheTop();
    void aHangingEngineDoesNotHoldUpTheNextPage();
    void aDeadEngineDoesNotHoldUpTheNextPage();
    void anEngineThatDiesShowsItsPageAnew();
    void showsPicturesThatThePageCarries_data();
    void showsPicturesThatThePageCarries();
    void everyPageMayCarryAsMuch();
    // Runs last: the pages that it examines are discarded ten seconds after their windows have
    // closed. The other functions run meanwhile.
    void aClosedWindowsPageRestsAndAMinimisedOnesDoesNot();

private:
    void waitFor(const QString &text) const { QTRY_COMPARE(_fixture->text(), text); }

    // Clicks the upper left of a page with this background, once it is painted.
    void press(const QColor &background = ground) const {
        _fixture->waitForColour(QPoint(400, 250), background);
        _fixture->click(QPoint(50, 50));
    }
    [[nodiscard]] int finishedLoads() const {
        return _fixture->engine().state()[u"loadsFinished"].toInt();
    }
    // Does what a key or button of the engine would do, and waits until that has ended.
    void trigger(QWebEnginePage::WebAction action) const {
        const int before = finishedLoads();
        static_cast<void>(
            _fixture->engine().ask(QStringLiteral("trigger"), QString::number(action)));
        QTRY_VERIFY(finishedLoads() > before);
    }
    [[nodiscard]] qint64 engineProcess() const {
        return _fixture->engine().state()[u"engineProcess"].toInteger();
    }
    [[nodiscard]] QStringList asked() const {
        QStringList lines;
        for (const auto &question : _fixture->questions)
            lines.append(asLine(question));
        return lines;
    }

    std::unique_ptr<RendererFixture> _fixture;
    std::unique_ptr<RendererFixture> _closed;
    std::unique_ptr<RendererFixture> _minimised;
    std::unique_ptr<RendererFixture> _closedWhileMinimised;
};

void NavigationTest::initTestCase_data() {
    QTest::addColumn<Painter>("painter");
    QTest::newRow("web") << Painter::Web;
    QTest::newRow("text") << Painter::Text;
}

void NavigationTest::initTestCase() {
    for (auto *each : {&_minimised, &_closedWhileMinimised, &_closed}) {
        *each = std::make_unique<RendererFixture>(Painter::Web);
        (*each)->load(QStringLiteral("Again<script>document.body.append(' RAN')</script>"));
        QTRY_COMPARE((*each)->text(), QStringLiteral("Again"));
    }
    for (const auto *each : {&_minimised, &_closedWhileMinimised}) {
        (*each)->view.showMinimized();
        QTRY_VERIFY(!(*each)->engine().state()[u"isVisible"].toBool());
    }
    _closedWhileMinimised->view.close();
    _closed->view.hide();
}

void NavigationTest::cleanupTestCase() {
    _closedWhileMinimised.reset();
    _minimised.reset();
    _closed.reset();
}

void NavigationTest::init() {
    QFETCH_GLOBAL(const Painter, painter);
    _fixture = std::make_unique<RendererFixture>(painter);
}

void NavigationTest::tellsWhyAPageLeaves_data() {
    QTest::addColumn<QString>("html");
    QTest::addColumn<bool>("click");
    QTest::addColumn<QString>("question");
    QTest::addColumn<QString>("request");
    QTest::addColumn<QString>("then");
    QTest::newRow("form, sent by address")
        << QStringLiteral("<form action='%1/there'><input type=hidden name=a value=b>") + button
        << true << "1 %1/there?a=b"
        << "GET /there?a=b"
        << "There";
    QTest::newRow("form, sent by body")
        << QStringLiteral("<form action='%1/there' method=post>") + button << true << "1 %1/there"
        << "POST /there"
        << "There";
    QTest::newRow("refresh") << QStringLiteral("<meta http-equiv=refresh content='0;url=%1/there'>")
                             << false << "5 %1/there"
                             << "GET /there"
                             << "There";
    QTest::newRow("frame") << QStringLiteral("Here<iframe src='%1/there'></iframe>") << false
                           << "5 %1/there"
                           << "GET /there"
                           << "Here\n\nThere";
}

void NavigationTest::tellsWhyAPageLeaves() {
    QFETCH_GLOBAL(const Painter, painter);
    QFETCH(const QString, html);
    QFETCH(const bool, click);
    QFETCH(const QString, question);
    QFETCH(const QString, request);
    QFETCH(const QString, then);
    if (painter == Painter::Text)
        QSKIP("the text renderer does not navigate");
    PageServer server;
    server.setAnswer("/there", {"There"});
    const QString address = server.address();
    _fixture->load(page(html.arg(address)));
    if (click)
        press();
    QTRY_COMPARE(server.requests(), QStringList{request});
    QTRY_COMPARE(asked(), QStringList{question.arg(address)});
    waitFor(then);
}

void NavigationTest::tellsOfRedirectionsToo() {
    if (!_fixture->isWeb())
        QSKIP("the text renderer does not navigate");
    PageServer server;
    const QString address = server.address();
    server.setAnswer("/first", {{}, "text/html", "302 Found", "Location: /second\r\n"});
    server.setAnswer("/second", {"There"});
    _fixture->load(QStringLiteral("Here<iframe src='%1/first'></iframe>").arg(address));
    QTRY_COMPARE(asked(), (QStringList{QStringLiteral("5 %1/first").arg(address),
                                       QStringLiteral("5 %1/second").arg(address)}));
    waitFor(QStringLiteral("Here\n\nThere"));
    QVERIFY(server.requests().contains(QStringLiteral("GET /second")));
}

void NavigationTest::tellsOfGoingBackForwardAndAnew() {
    if (!_fixture->isWeb())
        QSKIP("the text renderer does not navigate");
    PageServer server;
    const QString address = server.address();
    server.setAnswer("/one", {"<body style='margin:0;background:#c02040'><form action=two>" +
                              button.toLatin1() + "</form>One"});
    server.setAnswer("/two", {"Two"});
    _fixture->load(page(QStringLiteral("<form action='%1/one'>").arg(address) + button));
    press();
    waitFor(QStringLiteral("Send\nOne"));
    press(QColor(0xc0, 0x20, 0x40));
    waitFor(QStringLiteral("Two"));

    struct Step {
        QWebEnginePage::WebAction action;
        QString question;
        QString then;
    };
    const QList<Step> steps = {
        {QWebEnginePage::Back, QStringLiteral("2 %1/one?"), QStringLiteral("Send\nOne")},
        {QWebEnginePage::Forward, QStringLiteral("2 %1/two?"), QStringLiteral("Two")},
        {QWebEnginePage::Reload, QStringLiteral("3 %1/two?"), QStringLiteral("Two")},
    };
    for (const Step &step : steps) {
        server.clear();
        _fixture->questions.clear();
        trigger(step.action);
        QTRY_COMPARE(asked(), QStringList{step.question.arg(address)});
        QCOMPARE(_fixture->text(), step.then);
    }
    QCOMPARE(server.requests(), QStringList{QStringLiteral("GET /two?")});
}

void NavigationTest::tellsOfLoadingAnItemAnew() {
    if (!_fixture->isWeb())
        QSKIP("the text renderer does not navigate");
    _fixture->load(QStringLiteral("The item"));
    waitFor(QStringLiteral("The item"));
    trigger(QWebEnginePage::Reload);
    QTRY_COMPARE(asked(), QStringList{QStringLiteral("3 http://")});
    QCOMPARE(_fixture->text(), QStringLiteral("The item"));
}

void NavigationTest::ownLoadsAreNotToldOf() {
    class Refusing final : public NavigationPolicyDelegate {
    public:
        int asked = 0;
        NavigationDecision webViewDecidePolicyForNavigationAction(NavigationType,
                                                                  const QUrl &) override {
            ++asked;
            return NavigationDecision::Ignore;
        }
    } refusing;
    _fixture->view.setPolicyDelegate(&refusing);
    for (const char *each : {"One", "Two", "Three"}) {
        _fixture->load(QString::fromLatin1(each));
        waitFor(QString::fromLatin1(each));
    }
    QCOMPARE(refusing.asked, 0);
    _fixture->view.setPolicyDelegate(nullptr);
}

void NavigationTest::loadsWithoutADelegate() {
    _fixture->view.setPolicyDelegate(nullptr);
    _fixture->load(QStringLiteral("Here"));
    waitFor(QStringLiteral("Here"));
}

void NavigationTest::thePageBeforeNeverStays_data() {
    QTest::addColumn<QString>("html");
    QTest::addColumn<QString>("text");
    QTest::newRow("absent") << QString() << QString();
    QTest::newRow("empty") << QStringLiteral("") << QString();
    QTest::newRow("without text") << QStringLiteral("<p></p>") << QString();
    QTest::newRow("10 MB") << QStringLiteral("<!--") + QString(10'000'000, u'a') +
                                  QStringLiteral("-->After all")
                           << QStringLiteral("After all");
    QTest::newRow("the same") << QStringLiteral("The page before")
                              << QStringLiteral("The page before");
}

void NavigationTest::thePageBeforeNeverStays() {
    QFETCH(const QString, html);
    QFETCH(const QString, text);
    _fixture->load(QStringLiteral("The page before"));
    waitFor(QStringLiteral("The page before"));
    _fixture->load(html);
    waitFor(text);
}

void NavigationTest::theLastOfManyLoadsWins() {
    for (int each = 1; each <= 30; ++each)
        _fixture->view.loadHtmlString(page(QStringLiteral("Page %1").arg(each)));
    waitFor(QStringLiteral("Page 30"));
    QTest::qWait(200);
    QCOMPARE(_fixture->text(), QStringLiteral("Page 30"));
}

void NavigationTest::aPageFollowsOneThatLeft() {
    PageServer server;
    server.setAnswer("/there", {"There"});
    _fixture->load(QStringLiteral("Here<meta http-equiv=refresh content='0;url=%1/there'>")
                       .arg(server.address()));
    if (_fixture->isWeb())
        waitFor(QStringLiteral("There"));
    _fixture->load(QStringLiteral("The next item"));
    waitFor(QStringLiteral("The next item"));
}

void NavigationTest::aPageThatNeverRestsMakesWay() {
    for (int each = 0; each < 5; ++each) {
        _fixture->load(QStringLiteral("<meta http-equiv=refresh content=0>"));
        QTest::qWait(100);
        _fixture->load(QStringLiteral("The next item %1").arg(each));
        waitFor(QStringLiteral("The next item %1").arg(each));
    }
}

void NavigationTest::aLateRequestForAnEarlierItemChangesNothing() {
    if (!_fixture->isWeb())
        QSKIP("the text renderer does not navigate");
    _fixture->load(QStringLiteral("The earlier item"));
    waitFor(QStringLiteral("The earlier item"));
    const QString earlier = _fixture->engine().state()[u"address"].toString();
    _fixture->load(QStringLiteral("The item"));
    waitFor(QStringLiteral("The item"));
    const int before = finishedLoads();
    static_cast<void>(_fixture->engine().ask(QStringLiteral("load"), earlier));
    QTRY_VERIFY(finishedLoads() > before);
    QCOMPARE(_fixture->text(), QStringLiteral("The item"));
}

void NavigationTest::takesNoCookies() {
    if (!_fixture->isWeb())
        QSKIP("the text renderer does not navigate");
    PageServer server;
    server.setAnswer("/there", {"There", "text/html", "200 OK", "Set-Cookie: reader=7\r\n"});
    for (int visit = 0; visit < 2; ++visit) {
        server.clear();
        _fixture->load(QStringLiteral("Here<meta http-equiv=refresh content='0;url=%1/there'>")
                           .arg(server.address()));
        waitFor(QStringLiteral("There"));
        QCOMPARE(server.requests(), QStringList{QStringLiteral("GET /there")});
    }
}

void NavigationTest::usesTheHostsProxy() {
    if (!_fixture->isWeb())
        QSKIP("the text renderer loads nothing from the network");
    const auto restore = qScopeGuard([] { QNetworkProxy::setApplicationProxy({}); });
    PageServer first;
    PageServer second;
    for (PageServer *server : {&first, &second}) {
        QNetworkProxy::setApplicationProxy(
            {QNetworkProxy::HttpProxy, QStringLiteral("127.0.0.1"), server->port()});
        server->setAnswer(
            "http://elsewhere.example/picture",
            {"<svg xmlns='http://www.w3.org/2000/svg' width='30' height='20'/>", "image/svg+xml"});
        _fixture->load(
            QStringLiteral("<img src='http://elsewhere.example/picture?%1'>").arg(server->port()));
        QTRY_COMPARE(_fixture->evaluated(QStringLiteral("document.images[0].width")).toInt(), 30);
    }
    QNetworkProxy::setApplicationProxy({});
    _fixture->load(QStringLiteral("<img src='%1/picture'>").arg(second.address()));
    QTRY_COMPARE(second.requests().size(), 2);
    QCOMPARE(second.requests().last(), QStringLiteral("GET /picture"));
    QCOMPARE(first.requests().size(), 1);
}

void NavigationTest::startsAtTheTop() {
    const QString rows = QStringLiteral("<p>row</p>").repeated(200);
    const QColor top(0xc0, 0x20, 0x40);
    const auto html = [&](const char *name) {
        return QStringLiteral(
                   "<body style='margin:0'><table width='100%' cellspacing=0><tr>"
                   "<td height=100 bgcolor='#c02040'>") +
               QString::fromLatin1(name) + QStringLiteral("</table>") + rows;
    };
    _fixture->load(html("One"));
    waitUntil([&] { return _fixture->pixel(QPoint(250, 18)) == top; }, "the top is not painted");
    QTest::keyClick(_fixture->target(), Qt::Key_End, Qt::ControlModifier);
    QTest::keyClick(_fixture->target(), Qt::Key_End);
    waitUntil([&] { return _fixture->pixel(QPoint(250, 18)) != top; }, "it does not scroll");
    _fixture->load(html("Two"));
    waitUntil([&] { return _fixture->pixel(QPoint(250, 18)) == top; }, "it stays scrolled");
}

void NavigationTest::aHangingEngineDoesNotHoldUpTheNextPage() {
    if (!_fixture->isWeb())
        QSKIP("the text renderer has no engine");
    _fixture->load(QStringLiteral("The page before"));
    waitFor(QStringLiteral("The page before"));
    const qint64 engine = engineProcess();
    QVERIFY(engine > 0);
    QCOMPARE(::kill(static_cast<pid_t>(engine), SIGSTOP), 0);
    _fixture->load(QStringLiteral("The next item"));
    waitFor(QStringLiteral("The next item"));
    ::kill(static_cast<pid_t>(engine), SIGCONT);
}

void NavigationTest::aDeadEngineDoesNotHoldUpTheNextPage() {
    if (!_fixture->isWeb())
        QSKIP("the text renderer has no engine");
    _fixture->load(QStringLiteral("The page before"));
    waitFor(QStringLiteral("The page before"));
    const qint64 engine = engineProcess();
    QVERIFY(engine > 0);
    QCOMPARE(::kill(static_cast<pid_t>(engine), SIGKILL), 0);
    _fixture->load(QStringLiteral("The next item"));
    waitFor(QStringLiteral("The next item"));
}

void NavigationTest::anEngineThatDiesShowsItsPageAnew() {
    if (!_fixture->isWeb())
        QSKIP("the text renderer has no engine");
    const auto kill = [this] {
        const qint64 engine = engineProcess();
        return engine > 0 && ::kill(static_cast<pid_t>(engine), SIGKILL) == 0;
    };
    _fixture->load(QStringLiteral("The page"));
    waitFor(QStringLiteral("The page"));
    // Wait until the renderer's timeout for pages that hang is over: from then on it loads the page
    // again only if the engine's process dies.
    QTest::qWait(1200);
    const qint64 first = engineProcess();
    QVERIFY(kill());
    QTRY_VERIFY(engineProcess() != first);
    waitFor(QStringLiteral("The page"));

    // If the engine's process dies a second time, the page is not loaded again.
    QTest::qWait(1200);
    const QJsonObject before = _fixture->engine().state();
    QVERIFY(kill());
    QTRY_COMPARE(_fixture->engine().state()[u"engineEnds"].toInt(),
                 before[u"engineEnds"].toInt() + 1);
    QTest::qWait(200);
    QCOMPARE(_fixture->engine().state()[u"loadsStarted"], before[u"loadsStarted"]);
    _fixture->load(QStringLiteral("The next item"));
    waitFor(QStringLiteral("The next item"));
}

void NavigationTest::showsPicturesThatThePageCarries_data() {
    QTest::addColumn<QString>("markup");
    QTest::addColumn<QByteArray>("format");
    const QString element = QStringLiteral("<img src='%1' width=100 height=100>");
    QTest::newRow("PNG") << element << QByteArray("PNG");
    QTest::newRow("BMP") << element << QByteArray("BMP");
    QTest::newRow("JPEG") << element << QByteArray("JPG");
    QTest::newRow("background") << QStringLiteral("<p style=\"background-image:url('%1')\">%2</p>")
                                       .arg(QLatin1String("%1"),
                                            QStringLiteral("&nbsp;<br>").repeated(9))
                                << QByteArray("PNG");
}

void NavigationTest::showsPicturesThatThePageCarries() {
    QFETCH(const QString, markup);
    QFETCH(const QByteArray, format);
    _fixture->load(page(markup.arg(picture({100, 100}, Qt::white, format))));
    waitUntil([this] { return _fixture->pixel(QPoint(400, 280)) == QColor(0x20, 0xc0, 0x40); },
              "no page is painted");
    QTRY_COMPARE(_fixture->pixel(QPoint(40, 60)), QColor(Qt::white));
}

void NavigationTest::everyPageMayCarryAsMuch() {
    for (const QColor color : {Qt::white, Qt::black, Qt::white}) {
        _fixture->load(page(QStringLiteral("<img src='%1' width=100 height=100>")
                                .arg(picture({5000, 5000}, color, "PNG"))));
        QTRY_COMPARE(_fixture->pixel(QPoint(40, 60)), color);
    }
}

void NavigationTest::aClosedWindowsPageRestsAndAMinimisedOnesDoesNot() {
    if (!_fixture->isWeb())
        QSKIP("the text renderer has no engine");
    const auto isDiscarded = [](const RendererFixture &fixture) {
        return fixture.engine().state()[u"isDiscarded"].toBool();
    };
    QTRY_VERIFY(isDiscarded(*_closed));
    QTRY_VERIFY(isDiscarded(*_closedWhileMinimised));
    // This window was minimised before the others were closed, so its page would be discarded by
    // now if minimising counted as closing. Timers of ten seconds may be late by half a second.
    QTest::qWait(1000);
    QVERIFY(!isDiscarded(*_minimised));
    _closed->view.show();
    QTRY_COMPARE(_closed->text(), QStringLiteral("Again"));
    QVERIFY(!isDiscarded(*_closed));
}

PELORIN_WIDGET_TEST_MAIN(NavigationTest)
#include "NavigationTest.moc"
