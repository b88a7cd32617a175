// The first showing of a window that is large enough in one direction; a process has only one first
// showing, so this executable has but this test.

#include "TestMain.h"
#include "WindowFixture.h"

#include <QApplication>
#include <QScreen>

using namespace pelorinnews;
using namespace pelorinnews::test;

class FirstShowLargeTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void keepsWhatIsLargeEnough();
};

void FirstShowLargeTest::keepsWhatIsLargeEnough() {
    WindowFixture fixture;
    fixture.serve(WindowFixture::items(2));
    fixture.prefer(QStringLiteral("newsShowOnStart"), false);
    const auto controller = fixture.makeController();
    OlvNewsWindow *window = controller->window();
    QVERIFY(window);
    const QSize screen = QGuiApplication::primaryScreen()->size();
    window->resize(screen.width() - 100, screen.height() - 100);
    window->move(20, 20);
    const QSize before = window->size();
    controller->showWindow();
    QTRY_COMPARE(controller->itemIndicator()->text(), QStringLiteral("1 / 2"));
    QTRY_COMPARE(window->height(), before.height() - 38);
    QCOMPARE(window->width(), before.width());
    QCOMPARE(window->frameGeometry().topLeft(), QPoint(20, 20));
}

PELORIN_WIDGET_TEST_MAIN(FirstShowLargeTest)
#include "FirstShowLargeTest.moc"
