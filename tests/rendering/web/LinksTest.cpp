// Clicked links: each is reported once, as a clicked link with its full address, and the page
// stays.

#include "RendererFixture.h"
#include "TestMain.h"

#include <QTextBrowser>

using namespace pelorinnews;
using namespace pelorinnews::test;

namespace {

const QPoint place(50, 60);
const QColor linkColor(0x20, 0xc0, 0x40);

// A link so large that `place` is inside it, in both renderers.
QString link(const QString &attributes) {
    return QStringLiteral(
               "<body style='margin:0'><p style='margin:0'><a style='background-color:#20c040;"
               "color:#20c040;font-size:60px;line-height:120px' %1>MMMMMM</a></p>"
               "<p>The page</p>")
        .arg(attributes);
}

QString linkTo(const QString &address) {
    return link(QStringLiteral("href=\"%1\"").arg(address));
}

}  // namespace

class LinksTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void initTestCase_data();
    void init();
    void cleanup() { _fixture.reset(); }

    void arriveResolved_data();
    void arriveResolved();
    void arriveWhateverTheyAskFor_data();
    void arriveWhateverTheyAskFor();
    void arriveWhateverButtonAndKeyIsHeld_data();
    void arriveWhateverButtonAndKeyIsHeld();
    void arriveFromTheKeyboard();
    void arriveWhileTheAnswerWouldAllowThem();
    void areRefusedWithoutADelegate();
    void otherButtonsFollowNothing_data();
    void otherButtonsFollowNothing();
    void areFoundInMapsDrawingsAndFrames_data();
    void areFoundInMapsDrawingsAndFrames();
    void resolveAgainstTheirPagesBase();

private:
    void show(const QString &html);
    void click(Qt::MouseButton button = Qt::LeftButton, Qt::KeyboardModifiers held = {}) const {
        _fixture->click(place, button, held);
    }
    // Waits until the policy delegate was asked all expected questions, each written as by
    // `asLine`, and checks that it is asked no more.
    void compareQuestions(const QStringList &expected);

    std::unique_ptr<RendererFixture> _fixture;
};

void LinksTest::initTestCase_data() {
    QTest::addColumn<Painter>("painter");
    QTest::newRow("web") << Painter::Web;
    QTest::newRow("text") << Painter::Text;
}

void LinksTest::init() {
    QFETCH_GLOBAL(const Painter, painter);
    _fixture = std::make_unique<RendererFixture>(painter);
}

void LinksTest::show(const QString &html) {
    _fixture->load(html);
    waitUntil([this] { return _fixture->pixel(place) == linkColor; }, "no link is painted");
    QCOMPARE(_fixture->questions.size(), 0);
}

void LinksTest::compareQuestions(const QStringList &expected) {
    const auto lines = [this] {
        QStringList all;
        for (const auto &question : std::as_const(_fixture->questions))
            all.append(asLine(question));
        return all;
    };
    QTRY_COMPARE(lines(), expected);
    QTest::qWait(50);
    QCOMPARE(lines(), expected);
}

void LinksTest::arriveResolved_data() {
    QTest::addColumn<QString>("address");
    QTest::addColumn<QString>("arrives");
    const auto row = [](const char *address, const char *arrives) {
        QTest::newRow(address) << QString::fromUtf8(address) << QString::fromUtf8(arrives);
    };
    row("a.html", "http:///a.html");
    row("b/../a.html?x=%25#y", "http:///a.html?x=%25#y");
    row("/a", "http:///a");
    row("//h/a", "http://h/a");
    row("//h/", "http://h/");
    row("/", "http://");
    row("./?q#a", "http://?q#a");
    row("a/..", "http://");
    row("#a", "http://#a");
    row("?q", "http://?q");
    row("https://olvane.example/x?y#z", "https://olvane.example/x?y#z");
    row("  http://h/a b ", "http://h/a%20b");
    row("HTTP://H/\u00e4?\u00fc", "http://h/%C3%A4?%C3%BC");
    row("mailto:a@olvane.example?subject=b", "mailto:a@olvane.example?subject=b");
    row("tel:1", "tel:1");
    row("ftp://h/a", "ftp://h/a");
    row("file:///etc/hostname", "file:///etc/hostname");
    row("javascript:document.write('ran')", "javascript:document.write('ran')");
    row("data:text/html,a", "data:text/html,a");
    row("about:blank", "about:blank");
    row("qrc:/a", "qrc:/a");
    row("chrome://gpu/", "chrome://gpu/");
    row("view-source:http://h/", "view-source:http://h/");
    row("blob:http://h/a", "blob:http://h/a");
    row("unknown:a", "unknown:a");
}

void LinksTest::arriveResolved() {
    QFETCH(const QString, address);
    QFETCH(const QString, arrives);
    show(linkTo(address));
    click();
    compareQuestions({QStringLiteral("0 ") + arrives});
    QVERIFY(_fixture->text().contains(QStringLiteral("The page")));
}

void LinksTest::arriveWhateverTheyAskFor_data() {
    QTest::addColumn<QString>("attributes");
    QTest::newRow("a new window") << "target=_blank";
    QTest::newRow("a named window") << "target=other rel=noopener";
    QTest::newRow("its own frame") << "target=_self";
    QTest::newRow("a download") << "download=b.html";
    QTest::newRow("a report elsewhere") << "ping='http://127.0.0.1:9/ping'";
}

void LinksTest::arriveWhateverTheyAskFor() {
    QFETCH(const QString, attributes);
    for (const char *address : {"a.html", "#a", "mailto:a@b", "javascript:1"}) {
        _fixture->questions.clear();
        show(link(QStringLiteral("href='%1' ").arg(QLatin1String(address)) + attributes));
        click();
        const QString resolved =
            QLatin1String(address) == QLatin1String("a.html") ? QStringLiteral("http:///a.html")
            : QLatin1String(address) == QLatin1String("#a")   ? QStringLiteral("http://#a")
                                                              : QLatin1String(address);
        compareQuestions({QStringLiteral("0 ") + resolved});
        QVERIFY(_fixture->text().contains(QStringLiteral("The page")));
    }
}

void LinksTest::arriveWhateverButtonAndKeyIsHeld_data() {
    QTest::addColumn<Qt::MouseButton>("button");
    QTest::addColumn<Qt::KeyboardModifiers>("held");
    const auto row = [](const char *name, Qt::MouseButton button, Qt::KeyboardModifiers held) {
        QTest::newRow(name) << button << held;
    };
    row("middle", Qt::MiddleButton, {});
    row("shift", Qt::LeftButton, Qt::ShiftModifier);
    row("control", Qt::LeftButton, Qt::ControlModifier);
    row("control and shift", Qt::LeftButton, Qt::ControlModifier | Qt::ShiftModifier);
    row("alt", Qt::LeftButton, Qt::AltModifier);
}

void LinksTest::arriveWhateverButtonAndKeyIsHeld() {
    QFETCH(const Qt::MouseButton, button);
    QFETCH(const Qt::KeyboardModifiers, held);
    show(linkTo(QStringLiteral("a.html")));
    click(button, held);
    compareQuestions({QStringLiteral("0 http:///a.html")});
    QVERIFY(_fixture->text().contains(QStringLiteral("The page")));
}

void LinksTest::arriveFromTheKeyboard() {
    show(linkTo(QStringLiteral("a.html")));
    _fixture->view.setFocus();
    QTRY_VERIFY(QApplication::focusWidget() != nullptr);
    QTest::keyClick(QApplication::focusWidget(), Qt::Key_Tab);
    if (_fixture->isWeb())
        QTRY_VERIFY(_fixture->hasFocusInPage());
    QTest::keyClick(QApplication::focusWidget(), Qt::Key_Return);
    compareQuestions({QStringLiteral("0 http:///a.html")});
}

void LinksTest::arriveWhileTheAnswerWouldAllowThem() {
    class Allowing final : public NavigationPolicyDelegate {
    public:
        int asked = 0;
        NavigationDecision webViewDecidePolicyForNavigationAction(NavigationType,
                                                                  const QUrl &) override {
            ++asked;
            return NavigationDecision::Use;
        }
    } allowing;
    _fixture->view.setPolicyDelegate(&allowing);
    show(linkTo(QStringLiteral("a.html")));
    click();
    QTRY_COMPARE(allowing.asked, 1);
    QVERIFY(_fixture->text().contains(QStringLiteral("The page")));
    _fixture->view.setPolicyDelegate(nullptr);
}

void LinksTest::areRefusedWithoutADelegate() {
    _fixture->view.setPolicyDelegate(nullptr);
    show(linkTo(QStringLiteral("about:blank")));
    click();
    QTest::qWait(300);
    QCOMPARE(_fixture->pixel(place), linkColor);
    QVERIFY(_fixture->text().contains(QStringLiteral("The page")));
}

void LinksTest::otherButtonsFollowNothing_data() {
    QTest::addColumn<Qt::MouseButton>("button");
    QTest::newRow("right") << Qt::RightButton;
    QTest::newRow("back") << Qt::BackButton;
    QTest::newRow("forward") << Qt::ForwardButton;
}

void LinksTest::otherButtonsFollowNothing() {
    QFETCH(const Qt::MouseButton, button);
    _fixture->load(QStringLiteral("<p>The page before</p>"));
    show(linkTo(QStringLiteral("a.html")));
    click(button);
    // Any effect of the first click would arrive before the effect of this one.
    click();
    compareQuestions({QStringLiteral("0 http:///a.html")});
    QVERIFY(_fixture->text().contains(QStringLiteral("The page")));
    QVERIFY(!_fixture->text().contains(QStringLiteral("before")));
}

void LinksTest::areFoundInMapsDrawingsAndFrames_data() {
    QTest::addColumn<QString>("page");
    QTest::newRow("map") << QStringLiteral(
        "<body style='margin:0'><map name=m><area shape=rect coords='0,0,200,200' href='a.html'>"
        "</map><img usemap='#m' width=200 height=200 style='display:block;background:#20c040'>"
        "<p>The page");
    QTest::newRow("drawing") << QStringLiteral(
        "<body style='margin:0'><svg width=200 height=200 style='display:block'><a href='a.html'>"
        "<rect width=200 height=200 fill='#20c040'/></a></svg><p>The page");
    QTest::newRow("drawing, old way") << QStringLiteral(
        "<body style='margin:0'><svg width=200 height=200 style='display:block'><a "
        "xlink:href='a.html'><rect width=200 height=200 fill='#20c040'/></a></svg><p>The page");
    QTest::newRow("frame") << QStringLiteral(
        "<body style='margin:0'><iframe width=200 height=200 style='border:0;display:block' "
        "srcdoc=\"<body style='margin:0;background:#20c040'><a style='display:block;height:200px'"
        " href='a.html'>\"></iframe><p>The page");
    QTest::newRow("closed frame") << QStringLiteral(
        "<body style='margin:0'><iframe width=200 height=200 style='border:0;display:block' "
        "sandbox srcdoc=\"<body style='margin:0;background:#20c040'><a "
        "style='display:block;height:200px' href='a.html'>\"></iframe><p>The page");
}

void LinksTest::areFoundInMapsDrawingsAndFrames() {
    QFETCH(const QString, page);
    QFETCH_GLOBAL(const Painter, painter);
    if (painter == Painter::Text)
        QSKIP("the text renderer shows none of these");
    _fixture->load(page);
    QTRY_COMPARE(_fixture->pixel(place), linkColor);
    _fixture->questions.clear();
    click();
    compareQuestions({QStringLiteral("0 http:///a.html")});
    QVERIFY(_fixture->text().contains(QStringLiteral("The page")));
}

void LinksTest::resolveAgainstTheirPagesBase() {
    QFETCH_GLOBAL(const Painter, painter);
    if (painter == Painter::Text)
        QSKIP("the text renderer ignores <base>");
    show(QStringLiteral("<base href='http://h/b/' target=_blank>") +
         linkTo(QStringLiteral("a.html")));
    click();
    compareQuestions({QStringLiteral("0 http://h/b/a.html")});
}

PELORIN_WIDGET_TEST_MAIN(LinksTest)
#include "LinksTest.moc"
