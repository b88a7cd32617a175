// Where an item's links lead.

#include "TestMain.h"
#include "WindowFixture.h"
#include "page/BareHttpLinks.h"

#include <QApplication>
#include <QDesktopServices>
#include <QTextBrowser>

using namespace pelorinnews;
using namespace pelorinnews::test;

class LinksTest : public QObject {
    Q_OBJECT

public:
    Q_INVOKABLE void open(const QUrl &url) { _opened.append(url); }

private Q_SLOTS:
    void init() { _opened.clear(); }

    void resolvesAgainstABareHttp_data();
    void resolvesAgainstABareHttp();
    void rebasesWhatAnEngineResolved();
    void opensClickedLinksWithTheDesktopsHandlerAndStays();
    void aRelativeLinkIsResolvedBeforeItIsOpened();
    void allowsEveryOtherNavigation();

private:
    QList<QUrl> _opened;
};

void LinksTest::resolvesAgainstABareHttp_data() {
    QTest::addColumn<QString>("link");
    QTest::addColumn<QString>("address");
    QTest::newRow("a.html") << "a.html"
                            << "http:///a.html";
    QTest::newRow("/a") << "/a"
                        << "http:///a";
    QTest::newRow("//h/a") << "//h/a"
                           << "http://h/a";
    QTest::newRow("#a") << "#a"
                        << "http://#a";
    QTest::newRow("?q") << "?q"
                        << "http://?q";
    QTest::newRow("b/../a") << "b/../../a"
                            << "http:///a";
    QTest::newRow("absolute") << "https://olvane.example/x?y#z"
                              << "https://olvane.example/x?y#z";
    QTest::newRow("mail") << "mailto:a@olvane.example"
                          << "mailto:a@olvane.example";
}

void LinksTest::resolvesAgainstABareHttp() {
    QFETCH(const QString, link);
    QFETCH(const QString, address);
    QCOMPARE(resolvedAgainstBareHttp(link).toString(QUrl::FullyEncoded), address);
}

void LinksTest::rebasesWhatAnEngineResolved() {
    const QUrl page(QStringLiteral("pelorin-news-item://item/?page-7"));
    const auto rebased = [&page](const char *link) {
        return rebasedOnBareHttp(page.resolved(QUrl(QLatin1String(link))), page)
            .toString(QUrl::FullyEncoded);
    };
    QCOMPARE(rebased("a.html"), QStringLiteral("http:///a.html"));
    QCOMPARE(rebased("/a"), QStringLiteral("http:///a"));
    QCOMPARE(rebased("//h/a"), QStringLiteral("http://h/a"));
    QCOMPARE(rebased("#a"), QStringLiteral("http://#a"));
    QCOMPARE(rebased("?q"), QStringLiteral("http://?q"));
    QCOMPARE(rebased("?q#a"), QStringLiteral("http://?q#a"));
    QCOMPARE(rebased(""), QStringLiteral("http://"));
    QCOMPARE(rebased("ftp://h/a"), QStringLiteral("ftp://h/a"));
}

void LinksTest::opensClickedLinksWithTheDesktopsHandlerAndStays() {
    QDesktopServices::setUrlHandler(QStringLiteral("pelorin-test"), this, "open");
    WindowFixture fixture;
    fixture.prefer(QStringLiteral("newsShowOnStart"), false);
    auto items = WindowFixture::items(1);
    items[0].html = QStringLiteral("<a href='pelorin-test://h/a'>here</a>");
    fixture.serve(items);
    const auto controller = fixture.makeController();
    controller->showWindow();
    QTRY_COMPARE(controller->webView()->outerHTML(), items[0].html);
    auto *browser = controller->webView()->findChild<QTextBrowser *>();
    QVERIFY(browser);
    QTRY_VERIFY(!browser->anchorAt(QPoint(20, 20)).isEmpty());
    QTest::mouseClick(browser->viewport(), Qt::LeftButton, {}, QPoint(20, 20));
    const QUrl link(QStringLiteral("pelorin-test://h/a"));
    QCOMPARE(_opened, QList<QUrl>{link});
    QCOMPARE(controller->webViewDecidePolicyForNavigationAction(NavigationType::LinkClicked, link),
             NavigationDecision::Ignore);
    QCOMPARE(browser->toPlainText(), QStringLiteral("here"));
    QDesktopServices::unsetUrlHandler(QStringLiteral("pelorin-test"));
}

void LinksTest::aRelativeLinkIsResolvedBeforeItIsOpened() {
    class Recorder : public NavigationPolicyDelegate {
    public:
        QList<QUrl> clicked;
        NavigationDecision webViewDecidePolicyForNavigationAction(NavigationType type,
                                                                  const QUrl &url) override {
            if (type == NavigationType::LinkClicked)
                clicked.append(url);
            return NavigationDecision::Ignore;
        }
    } recorder;
    OlvNewsWebView view;
    view.resize(400, 200);
    view.setPolicyDelegate(&recorder);
    view.loadHtmlString(QStringLiteral("<a href='a%20b.html?x=%25'>here</a>"));
    view.show();
    auto *browser = view.findChild<QTextBrowser *>();
    QVERIFY(browser);
    QTRY_VERIFY(!browser->anchorAt(QPoint(20, 20)).isEmpty());
    QTest::mouseClick(browser->viewport(), Qt::LeftButton, {}, QPoint(20, 20));
    QCOMPARE(recorder.clicked.size(), 1);
    QCOMPARE(recorder.clicked.first().toString(QUrl::FullyEncoded),
             QStringLiteral("http:///a%20b.html?x=%25"));
    view.setPolicyDelegate(nullptr);
}

void LinksTest::allowsEveryOtherNavigation() {
    QDesktopServices::setUrlHandler(QStringLiteral("pelorin-test"), this, "open");
    WindowFixture fixture;
    fixture.serve({});
    const auto controller = fixture.makeController();
    for (const auto type :
         {NavigationType::FormSubmitted, NavigationType::BackForward, NavigationType::Reload,
          NavigationType::FormResubmitted, NavigationType::Other})
        QCOMPARE(controller->webViewDecidePolicyForNavigationAction(
                     type, QUrl(QStringLiteral("pelorin-test://h/b"))),
                 NavigationDecision::Use);
    QDesktopServices::unsetUrlHandler(QStringLiteral("pelorin-test"));
    QCOMPARE(_opened, QList<QUrl>());
}

PELORIN_WIDGET_TEST_MAIN(LinksTest)
#include "LinksTest.moc"
