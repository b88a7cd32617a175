// How pages navigate without a click, and how one page replaces another.

#include "PageServer.h"
#include "RendererFixture.h"
#include "RendererTestMain.h"

#include <QBuffer>
#include <QSignalSpy>
#include <QWebEnginePage>
#include <QWebEngineView>

#include <csignal>

using namespace pelorinnews;
using namespace pelorinnews::test;

namespace {

QString page(const QString &body) {
    return QStringLiteral("<body style='margin:0;background:#20c040'>") + body;
}

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
    void staysWhereThatIsRefused_data() { tellsWhyAPageLeaves_data(); }
    void staysWhereThatIsRefused();
    void aRedirectionIsAskedAboutToo();
    void asksBeforeGoingBackForwardAndAnew();
    void asksBeforeLoadingAnItemAnew();
    void refusesAllWithoutADelegate();
    void ownLoadsAreNotAskedAbout();
    void loadsWithoutADelegate();
    void thePageBeforeNeverStays_data();
    void thePageBeforeNeverStays();
    void theLastOfManyLoadsWins();
    void aPageFollowsOneThatLeft();
    void aPageThatNeverRestsMakesWay();
    void aLateRequestForAnEarlierItemChangesNothing();
    void takesNoCookies();
    void startsAtTheTop();
    void aHangingEngineDoesNotHoldUpTheNextPage();
    void aDeadEngineDoesNotHoldUpTheNextPage();
    void anEngineThatDiesShowsItsPageAnew();
    void drawsInTheStandardFontWhereNoneIsNamed();
    void drawsBlackOnWhiteInADarkDesktop();
    void showsPicturesThatThePageCarries_data();
    void showsPicturesThatThePageCarries();
    void everyPageMayCarryAsMuch();
    // Runs last: the pages that it examines are discarded ten seconds after their windows have
    // closed. The other functions run meanwhile.
    void aClosedWindowsPageRestsAndAMinimisedOnesDoesNot();

private:
    void waitFor(const QString &text) const { QTRY_COMPARE(_fixture->text(), text); }

    // Clicks the upper left of a page with this background, once it is painted.
    void press(const QColor &ground = QColor(0x20, 0xc0, 0x40)) const {
        waitUntil([&] { return _fixture->pixel(QPoint(400, 250)) == ground; },
                  "no page is painted");
        // The engine drops clicks on content that it has only just painted.
        QTest::qWait(100);
        QTest::mouseMove(_fixture->target(), QPoint(50, 50));
        QTest::mouseClick(_fixture->target(), Qt::LeftButton, {}, QPoint(50, 50));
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
        QTRY_VERIFY(!(*each)->web()->page()->isVisible());
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
    QCOMPARE(asked(), QStringList{question.arg(address)});
    waitFor(then);
}

void NavigationTest::staysWhereThatIsRefused() {
    QFETCH_GLOBAL(const Painter, painter);
    QFETCH(const QString, html);
    QFETCH(const bool, click);
    QFETCH(const QString, question);
    if (painter == Painter::Text)
        QSKIP("the text renderer does not navigate");
    PageServer server;
    server.setAnswer("/there", {"There"});
    _fixture->refuses = [](const QString &) { return true; };
    _fixture->load(page(html.arg(server.address()) + QStringLiteral("<p>Stays")));
    if (click)
        press();
    QTRY_COMPARE(asked(), QStringList{question.arg(server.address())});
    QTest::qWait(300);
    QCOMPARE(server.requests(), QStringList());
    QVERIFY2(_fixture->text().endsWith(QStringLiteral("Stays")), qPrintable(_fixture->text()));
    QCOMPARE(asked().size(), 1);
}

void NavigationTest::aRedirectionIsAskedAboutToo() {
    if (!_fixture->web())
        QSKIP("the text renderer does not navigate");
    PageServer server;
    const QString address = server.address();
    server.setAnswer("/first", {{}, "text/html", "302 Found", "Location: /second\r\n"});
    server.setAnswer("/second", {"There"});
    const QStringList both{QStringLiteral("5 %1/first").arg(address),
                           QStringLiteral("5 %1/second").arg(address)};
    for (const bool refused : {true, false}) {
        server.clear();
        _fixture->questions.clear();
        _fixture->refuses = [refused](const QString &to) {
            return refused && to.endsWith("second");
        };
        _fixture->load(QStringLiteral("Here<iframe src='%1/first'></iframe>").arg(address));
        QTRY_COMPARE(asked(), both);
        waitFor(refused ? QStringLiteral("Here") : QStringLiteral("Here\n\nThere"));
        QTest::qWait(300);
        QCOMPARE(server.requests().contains(QStringLiteral("GET /second")), !refused);
    }
}

void NavigationTest::asksBeforeGoingBackForwardAndAnew() {
    if (!_fixture->web())
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
        for (const bool refused : {true, false}) {
            const QString before = _fixture->text();
            server.clear();
            _fixture->questions.clear();
            _fixture->refuses = [refused](const QString &) { return refused; };
            QSignalSpy loads(_fixture->web()->page(), &QWebEnginePage::loadFinished);
            _fixture->web()->page()->triggerAction(step.action);
            QTRY_COMPARE(loads.size(), 1);
            QCOMPARE(loads.first().first().toBool(), !refused);
            QCOMPARE(asked(), QStringList{step.question.arg(address)});
            if (refused)
                QCOMPARE(server.requests(), QStringList());
            QCOMPARE(_fixture->text(), refused ? before : step.then);
        }
    }
    QCOMPARE(server.requests(), QStringList{QStringLiteral("GET /two?")});
}

void NavigationTest::asksBeforeLoadingAnItemAnew() {
    if (!_fixture->web())
        QSKIP("the text renderer does not navigate");
    _fixture->load(QStringLiteral("The item"));
    waitFor(QStringLiteral("The item"));
    QSignalSpy loads(_fixture->web()->page(), &QWebEnginePage::loadFinished);
    _fixture->web()->page()->triggerAction(QWebEnginePage::Reload);
    QTRY_COMPARE(loads.size(), 1);
    QCOMPARE(asked(), QStringList{QStringLiteral("3 http://")});
    QVERIFY(loads.first().first().toBool());
    QCOMPARE(_fixture->text(), QStringLiteral("The item"));
}

void NavigationTest::refusesAllWithoutADelegate() {
    PageServer server;
    _fixture->view.setPolicyDelegate(nullptr);
    _fixture->load(QStringLiteral("Here<iframe src='%1/frame'></iframe>"
                                  "<meta http-equiv=refresh content='0;url=%1/there'>")
                       .arg(server.address()));
    waitFor(QStringLiteral("Here"));
    QTest::qWait(300);
    QCOMPARE(server.requests(), QStringList());
    QCOMPARE(_fixture->text(), QStringLiteral("Here"));
}

void NavigationTest::ownLoadsAreNotAskedAbout() {
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
    if (_fixture->web())
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
    if (!_fixture->web())
        QSKIP("the text renderer does not navigate");
    _fixture->load(QStringLiteral("The earlier item"));
    waitFor(QStringLiteral("The earlier item"));
    QWebEnginePage *page = _fixture->web()->page();
    const QUrl earlier = page->url();
    _fixture->load(QStringLiteral("The item"));
    waitFor(QStringLiteral("The item"));
    QSignalSpy loads(page, &QWebEnginePage::loadFinished);
    page->load(earlier);
    QTRY_COMPARE(loads.size(), 1);
    QCOMPARE(_fixture->text(), QStringLiteral("The item"));
}

void NavigationTest::takesNoCookies() {
    if (!_fixture->web())
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
    if (!_fixture->web())
        QSKIP("the text renderer has no engine");
    _fixture->load(QStringLiteral("The page before"));
    waitFor(QStringLiteral("The page before"));
    const qint64 engine = _fixture->web()->page()->renderProcessPid();
    QVERIFY(engine > 0);
    QCOMPARE(::kill(static_cast<pid_t>(engine), SIGSTOP), 0);
    _fixture->load(QStringLiteral("The next item"));
    waitFor(QStringLiteral("The next item"));
    ::kill(static_cast<pid_t>(engine), SIGCONT);
}

void NavigationTest::aDeadEngineDoesNotHoldUpTheNextPage() {
    if (!_fixture->web())
        QSKIP("the text renderer has no engine");
    _fixture->load(QStringLiteral("The page before"));
    waitFor(QStringLiteral("The page before"));
    const qint64 engine = _fixture->web()->page()->renderProcessPid();
    QVERIFY(engine > 0);
    QCOMPARE(::kill(static_cast<pid_t>(engine), SIGKILL), 0);
    _fixture->load(QStringLiteral("The next item"));
    waitFor(QStringLiteral("The next item"));
}

void NavigationTest::anEngineThatDiesShowsItsPageAnew() {
    if (!_fixture->web())
        QSKIP("the text renderer has no engine");
    const auto kill = [this] {
        const qint64 engine = _fixture->web()->page()->renderProcessPid();
        return engine > 0 && ::kill(static_cast<pid_t>(engine), SIGKILL) == 0;
    };
    _fixture->load(QStringLiteral("The page"));
    waitFor(QStringLiteral("The page"));
    // Wait until the renderer's timeout for pages that hang is over: from then on it loads the page
    // again only if the engine's process dies.
    QTest::qWait(1200);
    const qint64 first = _fixture->web()->page()->renderProcessPid();
    QVERIFY(kill());
    QTRY_VERIFY(_fixture->web()->page()->renderProcessPid() != first);
    waitFor(QStringLiteral("The page"));

    // If the engine's process dies a second time, the page is not loaded again.
    QTest::qWait(1200);
    QSignalSpy ends(_fixture->web()->page(), &QWebEnginePage::renderProcessTerminated);
    QSignalSpy loads(_fixture->web()->page(), &QWebEnginePage::loadStarted);
    QVERIFY(kill());
    QTRY_COMPARE(ends.count(), 1);
    QTest::qWait(200);
    QCOMPARE(loads.count(), 0);
    _fixture->load(QStringLiteral("The next item"));
    waitFor(QStringLiteral("The next item"));
}

void NavigationTest::drawsInTheStandardFontWhereNoneIsNamed() {
    const auto drawn = [this](const QString &style) {
        _fixture->load(QStringLiteral("<body style='background:#20c040'><p style='%1'>Quick brown "
                                      "fox WAVE il1</p>")
                           .arg(style));
        waitUntil([this] { return _fixture->pixel(QPoint(480, 280)) == QColor(0x20, 0xc0, 0x40); },
                  "no page is painted");
        QTest::qWait(300);
        QImage image = _fixture->screen().copy(0, 0, 480, 100);
        _fixture->load(QStringLiteral("<body style='background:#ffffff'>"));
        waitUntil([this] { return _fixture->pixel(QPoint(480, 280)) == QColor(Qt::white); },
                  "no page is painted");
        return image;
    };
    const QImage unnamed = drawn(QString());
    QCOMPARE(unnamed, drawn(QStringLiteral("font-family:Verdana")));
    QVERIFY(unnamed != drawn(QStringLiteral("font-family:DejaVu Serif")));
    QVERIFY(unnamed != drawn(QStringLiteral("font-family:DejaVu Sans Mono")));
}

void NavigationTest::drawsBlackOnWhiteInADarkDesktop() {
    QFETCH_GLOBAL(const Painter, painter);
    const QPalette original = QApplication::palette();
    QPalette dark(QColor(0x30, 0x30, 0x30));
    dark.setColor(QPalette::Base, Qt::black);
    dark.setColor(QPalette::Text, Qt::white);
    dark.setColor(QPalette::WindowText, Qt::white);
    dark.setColor(QPalette::Link, QColor(0x99, 0xcc, 0xff));
    QApplication::setPalette(dark);
    _fixture = std::make_unique<RendererFixture>(painter);
    _fixture->load(
        QStringLiteral("<p style='font-size:100px'>\u25a0\u25a0 <a href=a><b>\u25a0</b></a></p>"));
    waitUntil([this] { return _fixture->pixel(QPoint(480, 280)) == QColor(Qt::white); },
              "the page is not white");
    const auto draws = [this](const QColor &color) {
        const QImage screen = _fixture->screen();
        for (int x = 0; x < screen.width(); ++x)
            if (screen.pixelColor(x, 90) == color)
                return true;
        return false;
    };
    waitUntil([&] { return draws(Qt::black); }, "the text is not black");
    waitUntil([&] { return draws(QColor(0x00, 0x00, 0xee)); }, "the link is not blue");
    QApplication::setPalette(original);
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
    if (!_fixture->web())
        QSKIP("the text renderer has no engine");
    using State = QWebEnginePage::LifecycleState;
    QTRY_COMPARE(_closed->web()->page()->lifecycleState(), State::Discarded);
    QTRY_COMPARE(_closedWhileMinimised->web()->page()->lifecycleState(), State::Discarded);
    // This window was minimised before the others were closed, so its page would be discarded by
    // now if minimising counted as closing. Timers of ten seconds may be late by half a second.
    QTest::qWait(1000);
    QCOMPARE(_minimised->web()->page()->lifecycleState(), State::Active);
    _closed->view.show();
    QTRY_COMPARE(_closed->text(), QStringLiteral("Again"));
    QCOMPARE(_closed->web()->page()->lifecycleState(), State::Active);
}

PELORIN_RENDERER_TEST_MAIN(NavigationTest)
#include "NavigationTest.moc"
