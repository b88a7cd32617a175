// The layout of the window: reading direction, narrow and small screens, and the keyboard's tab
// order.

#include "TestMain.h"
#include "WindowTest.h"

#include <QApplication>
#include <QLayout>
#include <QScopeGuard>
#include <QScreen>
#include <QToolButton>
#include <QWindow>

using namespace pelorinnews;
using namespace pelorinnews::test;

namespace {

Qt::ArrowType arrow(const QAbstractButton *button) {
    const auto *drawn = qobject_cast<const QToolButton *>(button);
    return drawn ? drawn->arrowType() : Qt::NoArrow;
}

}  // namespace

class LayoutTest : public WindowTest {
    Q_OBJECT

private Q_SLOTS:
    void arrowsFollowTheReadingDirection();
    void theTrianglePointsAtWhatItOpens();
    void isInTheMiddleOfTheScreenBeforeItIsShown();
    void isWideEnoughForALargeFontBeforeItIsShown();
    void isNeverSmallerThanDescribed();
    void bearsTheApplicationsIcon();
    void isNeverTooNarrowForItsTexts();
    void fitsTheScreen();
    void aLargeFontLeavesRoomForThePosition();
    void theKeyboardGoesWhereTheEyeGoes();
    void labelsLeadToTheirControls();
};

void LayoutTest::arrowsFollowTheReadingDirection() {
    const auto controller = _fixture->makeController();
    OlvNewsWindow *window = controller->window();
    QCOMPARE(arrow(controller->previousItem()), Qt::LeftArrow);
    QCOMPARE(arrow(controller->nextItem()), Qt::RightArrow);
    QVERIFY(controller->previousItem()->property("forward") == false);
    window->setLayoutDirection(Qt::RightToLeft);
    QCOMPARE(arrow(controller->previousItem()), Qt::RightArrow);
    QCOMPARE(arrow(controller->nextItem()), Qt::LeftArrow);
    window->show();
    QVERIFY(controller->nextItem()->x() < controller->previousItem()->x());
    window->setLayoutDirection(Qt::LeftToRight);
    QCOMPARE(arrow(controller->nextItem()), Qt::RightArrow);
}

void LayoutTest::theTrianglePointsAtWhatItOpens() {
    const auto controller = _fixture->shown(WindowFixture::items(2));
    OlvNewsWindow *window = controller->window();
    QAbstractButton *triangle = controller->optionsButton();
    QTRY_VERIFY(controller->displayContentFrom()->isHidden());
    QCOMPARE(arrow(triangle), Qt::RightArrow);
    window->setLayoutDirection(Qt::RightToLeft);
    QCOMPARE(arrow(triangle), Qt::LeftArrow);
    triangle->click();
    QCOMPARE(arrow(triangle), Qt::DownArrow);
    QTRY_VERIFY(controller->displayContentFrom()->isVisible());
    window->setLayoutDirection(Qt::LeftToRight);
    QCOMPARE(arrow(triangle), Qt::DownArrow);
    triangle->click();
    QCOMPARE(arrow(triangle), Qt::RightArrow);
    QTRY_VERIFY(controller->displayContentFrom()->isHidden());
}

void LayoutTest::isInTheMiddleOfTheScreenBeforeItIsShown() {
    const auto controller = _fixture->makeController();
    const QPoint off = controller->window()->geometry().center() -
                       QGuiApplication::primaryScreen()->availableGeometry().center();
    QVERIFY2(off.manhattanLength() <= 2,
             qPrintable(QStringLiteral("%1, %2").arg(off.x()).arg(off.y())));
}

void LayoutTest::isWideEnoughForALargeFontBeforeItIsShown() {
    const auto restored =
        qScopeGuard([before = QApplication::font()] { QApplication::setFont(before); });
    QFont large = QApplication::font();
    large.setPointSize(large.pointSize() * 2);
    QApplication::setFont(large);
    const auto controller = _fixture->makeController();
    const OlvNewsWindow *window = controller->window();
    QVERIFY(window->layout()->totalMinimumSize().width() > 400);
    QVERIFY(window->width() >= window->layout()->totalMinimumSize().width());
    const QRect screen = QGuiApplication::primaryScreen()->availableGeometry();
    QVERIFY(qAbs(window->geometry().center().x() - screen.center().x()) <= 1);
}

void LayoutTest::isNeverSmallerThanDescribed() {
    const auto controller = _fixture->shown(WindowFixture::items(2));
    OlvNewsWindow *window = controller->window();
    const auto *area = window->findChild<QWidget *>(QStringLiteral("optionsArea"));
    QVERIFY(area);
    QTRY_VERIFY(area->isHidden());
    window->resize(10, 10);
    QCOMPARE(window->height(), 230);
    controller->onOptionsButton();
    QTRY_VERIFY(controller->displayContentFrom()->isVisible());
    QCOMPARE(window->height(), 268);
    window->resize(10, 10);
    QCOMPARE(window->height(), 268);
    controller->onOptionsButton();
    QTRY_VERIFY(area->isHidden());
    QCOMPARE(window->height(), 230);

    // With a short text the layout needs less than the window's minimum width, but that minimum
    // remains.
    controller->showOnStart()->setText(QStringLiteral("!"));
    QTRY_VERIFY(window->layout()->totalMinimumSize().width() < 360);
    QTRY_COMPARE(window->minimumWidth(), 360);
    window->resize(10, 10);
    QCOMPARE(window->size(), QSize(360, 230));
}

void LayoutTest::bearsTheApplicationsIcon() {
    QPixmap picture(32, 32);
    picture.fill(Qt::magenta);
    const auto restored =
        qScopeGuard([before = QApplication::windowIcon()] { QApplication::setWindowIcon(before); });
    QApplication::setWindowIcon(picture);
    const auto controller = _fixture->shown(WindowFixture::items(1));
    const QIcon icon = controller->window()->windowHandle()->icon();
    QVERIFY(!icon.isNull());
    QCOMPARE(icon.cacheKey(), QApplication::windowIcon().cacheKey());
}

void LayoutTest::isNeverTooNarrowForItsTexts() {
    const auto controller = _fixture->makeController();
    OlvNewsWindow *window = controller->window();
    window->show();
    window->resize(10, 10);
    QAbstractButton *box = controller->showOnStart();
    QTRY_VERIFY(window->width() >= window->layout()->totalMinimumSize().width());
    QVERIFY(box->width() >= box->minimumSizeHint().width());
    QVERIFY(window->width() <= 400);

    box->setText(box->text() + QStringLiteral(" with many more words than before, and then some"));
    QTRY_VERIFY(box->width() >= box->minimumSizeHint().width());
    QVERIFY(window->width() > 400);
    QVERIFY(controller->nextItem()->geometry().right() < window->width());
}

void LayoutTest::fitsTheScreen() {
    const auto controller = _fixture->makeController();
    const QSize screen = QGuiApplication::primaryScreen()->availableSize();
    OlvNewsWindow *window = controller->window();
    QVERIFY(window->width() <= screen.width() * 9 / 10);
    QVERIFY(window->height() <= screen.height() * 9 / 10);
    QVERIFY(QGuiApplication::primaryScreen()->availableGeometry().contains(window->geometry()));
}

void LayoutTest::aLargeFontLeavesRoomForThePosition() {
    const auto restored =
        qScopeGuard([before = QApplication::font()] { QApplication::setFont(before); });
    QFont large = QApplication::font();
    large.setPointSize(large.pointSize() * 2);
    QApplication::setFont(large);
    const auto controller = _fixture->shown(WindowFixture::items(12));
    controller->onPreviousItem();
    QLabel *position = controller->itemIndicator();
    QCOMPARE(position->text(), QStringLiteral("12 / 12"));
    controller->window()->resize(10, 300);
    QTRY_COMPARE(controller->window()->width(), controller->window()->minimumWidth());
    QVERIFY(position->width() >= position->minimumSizeHint().width());
}

void LayoutTest::theKeyboardGoesWhereTheEyeGoes() {
    _fixture->serve(WindowFixture::items(2));
    const auto controller = _fixture->makeController();
    controller->showWindow();
    QTRY_COMPARE(controller->itemIndicator()->text(), QStringLiteral("1 / 2"));
    QTRY_VERIFY(controller->displayContentFrom()->isHidden());
    controller->onOptionsButton();
    QTRY_VERIFY(controller->displayContentFrom()->isVisible());
    const QList<QWidget *> order = {
        controller->optionsButton(),      controller->showOnStart(),
        controller->previousItem(),       controller->nextItem(),
        controller->displayContentType(), controller->displayContentFrom()};
    // The page gets the focus first, so that users can scroll it and screen readers read it at
    // once.
    QCOMPARE(QApplication::focusWidget(), controller->webView());
    controller->optionsButton()->setFocus();
    for (QWidget *expected : order) {
        QCOMPARE(QApplication::focusWidget(), expected);
        QTest::keyClick(controller->window()->windowHandle(), Qt::Key_Tab);
    }
    QVERIFY(controller->webView()->hasFocus());
    controller->onOptionsButton();
    QTRY_VERIFY(controller->displayContentFrom()->isHidden());
}

void LayoutTest::labelsLeadToTheirControls() {
    const auto controller = _fixture->makeController();
    QVERIFY(controller->window());
    QCOMPARE(controller->displayContentTypeLabel()->buddy(), controller->displayContentType());
    QCOMPARE(controller->displayContentFromLabel()->buddy(), controller->displayContentFrom());
    for (const QLabel *label :
         {controller->displayContentTypeLabel(), controller->displayContentFromLabel()})
        QVERIFY2(label->text().contains(QLatin1Char('&')), qPrintable(label->text()));
    QVERIFY(controller->showOnStart()->text().contains(QLatin1Char('&')));
}

PELORIN_WIDGET_TEST_MAIN(LayoutTest)
#include "LayoutTest.moc"
