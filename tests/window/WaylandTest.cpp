// The window on Wayland, where no window can place itself.

#include "TestMain.h"
#include "WindowFixture.h"

using namespace pelorinnews;
using namespace pelorinnews::test;

class WaylandTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void foldsByItsHeightAlone();
};

void WaylandTest::initTestCase() {
    QCOMPARE(QGuiApplication::platformName(), QStringLiteral("wayland"));
}

void WaylandTest::foldsByItsHeightAlone() {
    WindowFixture fixture;
    const auto controller = fixture.unshown(WindowFixture::items(2));
    OlvNewsWindow *window = controller->window();
    QVERIFY(window);
    const auto *area = window->findChild<QWidget *>(QStringLiteral("optionsArea"));
    QVERIFY(area);
    window->resize(400, 300);
    controller->showWindow();
    QTRY_COMPARE(controller->itemIndicator()->text(), QStringLiteral("1 / 2"));
    // The first show enlarges to 1440 / 2.5 by 900 / 2.5, frame included, and folds.
    QTRY_VERIFY(area->isHidden());
    QTRY_COMPARE(window->frameGeometry().size(), QSize(576, 322));

    const QSize folded = window->size();
    const int page = controller->webView()->height();
    controller->onOptionsButton();
    QTRY_COMPARE(window->size(), folded + QSize(0, 38));
    QTRY_COMPARE(controller->optionsLabel()->text(), QStringLiteral("Hide options"));
    QVERIFY(area->isVisible());
    QCOMPARE(controller->webView()->height(), page);

    window->performClose();
    QTRY_VERIFY(!window->isVisible());
    controller->showWindow();
    QTRY_COMPARE(window->size(), folded + QSize(0, 38));
    controller->onOptionsButton();
    QTRY_VERIFY(area->isHidden());
    QTRY_COMPARE(window->size(), folded);
    QCOMPARE(controller->webView()->height(), page);
    controller->exit();
}

PELORIN_WIDGET_TEST_MAIN(WaylandTest)
#include "WaylandTest.moc"
