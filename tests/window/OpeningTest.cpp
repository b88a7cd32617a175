// When the window opens by itself, and what it shows when news arrives.

#include "HeldFeed.h"
#include "TestMain.h"
#include "WindowTest.h"

#include <QApplication>
#include <QFile>

using namespace pelorinnews;
using namespace pelorinnews::test;

class OpeningTest : public WindowTest {
    Q_OBJECT

private Q_SLOTS:
    void opensWhenThereAreNewItemsInTheUsersLanguage();
    void staysClosedWhenTheFeedIsInAnotherLanguage();
    void aLanguageInOtherLettersIsAnotherLanguage();
    void staysClosedWithoutAFeedLanguage();
    void aFeedThatTellsNoLanguageIsNone();
    void staysClosedWithoutAConfiguredLanguage();
    void staysClosedWhenNothingIsNew();
    void opensWithItemsFromTheLocalFileWhenTheServiceFails();
    void neverOpensByItselfWithShowOnStartOff();
    void newsAppearInAWindowThatWasOpenedBeforeTheyCame();
    void newsOfABackgroundRefreshAppearAtTheNextOpening();
    void newsThatCameStartAgainAtTheFirstItem();

private:
    [[nodiscard]] QString path() const {
        return _fixture->feedFile(QStringLiteral("standard.en-US.xml"));
    }
    [[nodiscard]] QByteArray feed() const {
        QFile file(path());
        return file.open(QFile::ReadOnly) ? file.readAll() : QByteArray();
    }

    void prepare() override { _fixture->serve(WindowFixture::items(5)); }
};

void OpeningTest::opensWhenThereAreNewItemsInTheUsersLanguage() {
    const auto controller = _fixture->makeController();
    QTRY_VERIFY(WindowFixture::isShown());
    QTRY_COMPARE(controller->itemIndicator()->text(), QStringLiteral("1 / 5"));
}

void OpeningTest::staysClosedWhenTheFeedIsInAnotherLanguage() {
    _fixture->serve(WindowFixture::items(3), QStringLiteral("de"));
    const auto controller = _fixture->makeController();
    QCOMPARE(controller->newsCache().unfilteredCount(), 3U);
    QVERIFY(!WindowFixture::isShown());
}

void OpeningTest::aLanguageInOtherLettersIsAnotherLanguage() {
    _fixture->serve(WindowFixture::items(3), QStringLiteral("EN"));
    const auto controller = _fixture->makeController();
    QCOMPARE(controller->newsCache().retrievedLocale(), QStringLiteral("EN"));
    QCOMPARE(controller->newsCache().sinceLastViewingCount(), 3);
    QVERIFY(!WindowFixture::isShown());
}

void OpeningTest::staysClosedWithoutAFeedLanguage() {
    _fixture->serve(WindowFixture::items(3), QString());
    const auto controller = _fixture->makeController();
    QCOMPARE(controller->newsCache().unfilteredCount(), 3U);
    QVERIFY(!WindowFixture::isShown());
}

void OpeningTest::aFeedThatTellsNoLanguageIsNone() {
    const QByteArray silent = feed().replace("<language>en</language>", "");
    QFile file(path());
    QVERIFY(file.open(QFile::WriteOnly) && file.write(silent) == silent.size());
    file.close();
    const auto controller = _fixture->makeController();
    QVERIFY(controller->newsCache().retrievedLocale().isNull());
    QCOMPARE(controller->newsCache().unfilteredCount(), 0U);
    QVERIFY(!WindowFixture::isShown());
}

void OpeningTest::staysClosedWithoutAConfiguredLanguage() {
    _fixture->prefer(QStringLiteral("newsFeedLocale"), QString(QLatin1String("")));
    QFile::copy(_fixture->feedFile(QStringLiteral("standard.en.xml")),
                _fixture->feedFile(QStringLiteral("standard..xml")));
    const auto controller = _fixture->makeController();
    QCOMPARE(controller->newsCache().unfilteredCount(), 5U);
    QCOMPARE(controller->newsCache().retrievedLocale(), QStringLiteral("en"));
    QVERIFY(!WindowFixture::isShown());
}

void OpeningTest::staysClosedWhenNothingIsNew() {
    _fixture->prefer(QStringLiteral("newsLastViewing"), QDateTime::currentDateTimeUtc());
    const auto controller = _fixture->makeController();
    QCOMPARE(controller->newsCache().unfilteredCount(), 5U);
    QVERIFY(!WindowFixture::isShown());
}

void OpeningTest::opensWithItemsFromTheLocalFileWhenTheServiceFails() {
    _fixture->prefer(QStringLiteral("newsShowOnStart"), false);
    _fixture->makeController()->exit();
    _fixture->prefer(QStringLiteral("newsShowOnStart"), true);
    _fixture->prefer(QStringLiteral("newsLastViewing"), QVariant());
    FeedReply broken;
    broken.status = 500;
    _fixture->server().setReply(broken);
    const auto controller = _fixture->makeController();
    QTRY_VERIFY(WindowFixture::isShown());
}

void OpeningTest::neverOpensByItselfWithShowOnStartOff() {
    _fixture->prefer(QStringLiteral("newsShowOnStart"), false);
    const auto controller = _fixture->makeController();
    QCOMPARE(controller->newsCache().count(), 5U);
    QVERIFY(!WindowFixture::isShown());
}

void OpeningTest::newsAppearInAWindowThatWasOpenedBeforeTheyCame() {
    HeldFeed service;
    _fixture->prefer(QStringLiteral("newsFeedBaseURL"), service.address());
    const auto controller = _fixture->beginController();
    controller->showWindow();
    QTRY_COMPARE(controller->webView()->outerHTML(),
                 WindowFixture::localized("StatusRetrievingContent"));
    QCOMPARE(controller->itemIndicator()->text(), QString());
    QVERIFY(!controller->nextItem()->isEnabled());
    QVERIFY(service.isAsked());
    service.answer(feed());
    QTRY_COMPARE(controller->itemIndicator()->text(), QStringLiteral("1 / 5"));
    QTRY_COMPARE(controller->webView()->outerHTML(), QStringLiteral("<p>Body 1</p>"));
    QVERIFY(controller->nextItem()->isEnabled());
    WindowFixture::settle(*controller);
    controller->exit();
}

void OpeningTest::newsOfABackgroundRefreshAppearAtTheNextOpening() {
    HeldFeed service;
    _fixture->prefer(QStringLiteral("newsFeedBaseURL"), service.address());
    _fixture->prefer(QStringLiteral("newsShowOnStart"), false);
    _fixture->prefer(QStringLiteral("newsFilter"), 1);
    const auto controller = _fixture->beginController();
    controller->showWindow();
    const QString status = WindowFixture::localized("StatusRetrievingContent");
    QTRY_COMPARE(controller->webView()->outerHTML(), status);
    QVERIFY(service.isAsked());
    service.answer(feed());
    WindowFixture::settle(*controller);
    QCOMPARE(controller->newsCache().count(), 5U);
    QCOMPARE(controller->webView()->outerHTML(), status);
    QCOMPARE(controller->itemIndicator()->text(), QString());
    QVERIFY(!controller->nextItem()->isEnabled());
    controller->window()->performClose();
    controller->showWindow();
    QTRY_COMPARE(controller->itemIndicator()->text(), QStringLiteral("1 / 5"));
    QTRY_COMPARE(controller->webView()->outerHTML(), QStringLiteral("<p>Body 1</p>"));
    controller->exit();
}

void OpeningTest::newsThatCameStartAgainAtTheFirstItem() {
    auto items = WindowFixture::items(5);
    std::swap(items[0], items[4]);  // an item newer than the first stays unviewed
    _fixture->prefer(QStringLiteral("newsFilter"), 1);
    _fixture->serve(items);
    const auto controller = _fixture->makeController();
    QTRY_COMPARE(controller->itemIndicator()->text(), QStringLiteral("1 / 5"));
    controller->onNextItem();
    QCOMPARE(controller->itemIndicator()->text(), QStringLiteral("2 / 5"));
    controller->refreshCacheShowingWindow();
    WindowFixture::settle(*controller);
    QCOMPARE(_fixture->server().requests().size(), 2U);
    QTRY_COMPARE(controller->itemIndicator()->text(), QStringLiteral("1 / 5"));
}

PELORIN_WIDGET_TEST_MAIN(OpeningTest)
#include "OpeningTest.moc"
