// Failures of the page process: it is killed, crashes or hangs. The host survives them and shows
// the same page again.

#include "RendererFixture.h"
#include "TestMain.h"
#include "rendering/PageWidget.h"
#include "rendering/WebNewsRenderer.h"

#include <QPixmap>
#include <QScreen>
#include <QTextBrowser>

#include <csignal>

using namespace pelorinnews;
using namespace pelorinnews::test;

namespace {

const QPoint corner(480, 280);
}  // namespace

class ProcessTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void init() { _fixture = std::make_unique<RendererFixture>(Painter::Web); }
    void cleanup() { _fixture.reset(); }

    void showsTheSamePageAfterItsProcessHasEnded_data();
    void showsTheSamePageAfterItsProcessHasEnded();
    void paintsTextAfterTheThirdFailure();
    void triesAgainWithTheNextOpening();
    void holdsThroughManyKills();
    void showsNoEarlierPageWhenOpenedAgain();
    void keepsNoPictureWhileClosed();
    void endsItsProcessWithTheView();
    void twoViewsHaveAProcessEach();

private:
    void end(int signal) const {
        QCOMPARE(::kill(static_cast<pid_t>(_fixture->engine().process()), signal), 0);
    }
    void waitFor(const QString &text) const { QTRY_COMPARE(_fixture->text(), text); }

    std::unique_ptr<RendererFixture> _fixture;
};

void ProcessTest::showsTheSamePageAfterItsProcessHasEnded_data() {
    QTest::addColumn<int>("signal");
    QTest::addColumn<QString>("doing");
    for (const char *doing : {"resting", "loading", "typing", "scrolling", "choosing", "closed"}) {
        QTest::addRow("killed, %s", doing) << SIGKILL << doing;
        QTest::addRow("crashed, %s", doing) << SIGSEGV << doing;
    }
    // A stopped process is noticed only when it does not react to input.
    for (const char *doing : {"typing", "scrolling"})
        QTest::addRow("stopped, %s", doing) << SIGSTOP << doing;
}

void ProcessTest::showsTheSamePageAfterItsProcessHasEnded() {
    QFETCH(const int, signal);
    QFETCH(const QString, doing);
    const QString html =
        page(QStringLiteral("<style>select,input{position:fixed;top:0;width:150px;height:80px}"
                            "input{left:300px}</style><select><option>One<option>Two</select>"
                            "<input><p style='margin-top:100px'>The page") +
             QStringLiteral("<p>row").repeated(100));
    _fixture->load(html);
    _fixture->waitForColour(corner, ground);
    const qint64 process = _fixture->engine().process();
    const auto input = [&] {
        if (doing == u"typing")
            QTest::keyClicks(_fixture->target(), QStringLiteral("abc"));
        if (doing == u"scrolling")
            QTest::keyClick(_fixture->target(), Qt::Key_PageDown);
    };
    if (doing == u"typing")
        QTest::mouseClick(_fixture->target(), Qt::LeftButton, {}, QPoint(400, 40));
    input();
    if (doing == u"choosing") {
        QTest::mouseClick(_fixture->target(), Qt::LeftButton, {}, QPoint(50, 50));
        QTRY_VERIFY(QApplication::activePopupWidget() != nullptr);
    }
    if (doing == u"closed")
        _fixture->view.hide();
    if (doing == u"loading")
        _fixture->view.loadHtmlString(html);
    end(signal);
    if (doing == u"closed") {
        _fixture->view.show();
    } else if (signal != SIGSTOP) {
        // The last frame stays on the screen until the next process has painted.
        for (int i = 0; i < 20; ++i) {
            QCOMPARE(_fixture->pixel(corner), ground);
            QTest::qWait(5);
        }
    }
    input();
    QTRY_VERIFY(_fixture->engine().process() != process);
    QTRY_VERIFY(_fixture->text().contains(QStringLiteral("The page")));
    _fixture->waitForColour(corner, ground);
    QVERIFY(QApplication::activePopupWidget() == nullptr);
    QVERIFY(_fixture->browser() == nullptr);
    // Input arrives at the new process, which may have scrolled by now.
    QTest::mouseClick(_fixture->target(), Qt::LeftButton, {}, QPoint(400, 40));
    QTRY_VERIFY(_fixture->hasFocusInPage());
}

void ProcessTest::paintsTextAfterTheThirdFailure() {
    for (int failure = 1; failure <= 3; ++failure) {
        _fixture->load(page(QStringLiteral("The page")));
        waitFor(QStringLiteral("The page"));
        QVERIFY(_fixture->browser() == nullptr);
        end(SIGKILL);
    }
    QTRY_VERIFY(_fixture->browser() != nullptr);
    QCOMPARE(_fixture->browser()->toPlainText(), QStringLiteral("The page"));
    _fixture->view.loadHtmlString(QStringLiteral("The next page"));
    QCOMPARE(_fixture->browser()->toPlainText(), QStringLiteral("The next page"));
}

void ProcessTest::triesAgainWithTheNextOpening() {
    paintsTextAfterTheThirdFailure();
    _fixture->view.hide();
    _fixture->view.show();
    QTRY_VERIFY(_fixture->browser() == nullptr);
    waitFor(QStringLiteral("The next page"));
}

void ProcessTest::holdsThroughManyKills() {
    _fixture.reset();
    EngineAccess::instance().forgetConnections();
    constexpr int kills = 200;
    QWidget window;
    window.resize(500, 300);
    window.show();
    QVERIFY(QTest::qWaitForWindowActive(&window, testPatience));
    WebNewsRenderer renderer(&window, QStringLiteral(PELORIN_PAGE_PROCESS_DIR "/pelorin-news-page"),
                             kills + 1);
    renderer.widget()->setGeometry(window.rect());
    renderer.widget()->show();
    Engine engine;
    renderer.loadHtmlString(page(QStringLiteral("The first page")), PageKind::Item);
    QTRY_COMPARE(engine.ask(QStringLiteral("text")).toString(), QStringLiteral("The first page"));
    // Pseudo-random delays, from a fixed seed so that every run has the same ones.
    quint32 seed = 7;
    for (int kill = 0; kill < kills; ++kill) {
        renderer.loadHtmlString(page(QStringLiteral("Page %1").arg(kill)), PageKind::Item);
        seed = seed * 1664525 + 1013904223;
        QTest::qWait(static_cast<int>(seed >> 24) % 100);
        QVERIFY(window.findChild<QTextBrowser *>() == nullptr);
        const qint64 process = renderer.process();
        if (process > 0)
            ::kill(static_cast<pid_t>(process), SIGKILL);
    }
    renderer.loadHtmlString(page(QStringLiteral("The last page")), PageKind::Item);
    QTRY_COMPARE(engine.ask(QStringLiteral("text")).toString(), QStringLiteral("The last page"));
}

void ProcessTest::showsNoEarlierPageWhenOpenedAgain() {
    const QColor other(0x40, 0x20, 0xc0);
    for (int i = 0; i < 10; ++i) {
        _fixture->load(page(QStringLiteral("The earlier page")));
        _fixture->waitForColour(corner, ground);
        const QPoint place = _fixture->view.mapToGlobal(corner);
        const auto isGone = [&] {
            const QPixmap shot = _fixture->view.screen()->grabWindow(0, place.x(), place.y(), 1, 1);
            return shot.toImage().pixelColor(0, 0) != ground;
        };
        _fixture->view.hide();
        // A window that is shown again before it has left the screen keeps its pixels there until
        // it is painted.
        waitUntil(isGone, "the window stays on the screen");
        QTest::qWait(20 * i);
        _fixture->view.loadHtmlString(
            QStringLiteral("<body style='background:#4020c0'>The next page"));
        _fixture->view.show();
        const auto isNextShown = [&] {
            const QColor now = _fixture->pixel(corner);
            if (now == ground)
                qFatal("the earlier page is shown");
            return now == other;
        };
        waitUntil(isNextShown, "the next page is not painted");
    }
}

void ProcessTest::keepsNoPictureWhileClosed() {
    // This page is animated, so the engine sends new frames all the time.
    const QString restless = QStringLiteral(
        "<style>@keyframes turn { to { background: #c04020 } }"
        "body { background: #20c040; animation: turn 1s infinite alternate }</style>");
    _fixture->load(restless);
    for (int i = 0; i < 10; ++i) {
        _fixture->view.show();
        waitUntil([this] { return _fixture->pixel(corner) != QColor(Qt::white); },
                  "the page is not painted");
        _fixture->view.hide();
        QTest::qWait(100);
        QCOMPARE(_fixture->view.grab().toImage().pixelColor(corner), QColor(Qt::white));
    }
}

void ProcessTest::endsItsProcessWithTheView() {
    const auto process = static_cast<pid_t>(_fixture->engine().process());
    _fixture.reset();
    QTRY_VERIFY(::kill(process, 0) != 0);
}

void ProcessTest::twoViewsHaveAProcessEach() {
    RendererFixture other(Painter::Web);
    QVERIFY(other.engine().process() != _fixture->engine().process());
    other.load(QStringLiteral("The other page"));
    _fixture->load(QStringLiteral("The page"));
    end(SIGKILL);
    waitFor(QStringLiteral("The page"));
    QCOMPARE(other.text(), QStringLiteral("The other page"));
}

PELORIN_WIDGET_TEST_MAIN(ProcessTest)
#include "ProcessTest.moc"
