// The first showing in the process, which sizes the window and folds its options away; a process
// has only one, so this executable has but one test of it.

#include "TestMain.h"
#include "WindowFixture.h"

#include <QApplication>
#include <QScreen>

using namespace pelorinnews;
using namespace pelorinnews::test;

class FirstShowTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void enlargesAndFoldsOnceForTheProcess();
};

void FirstShowTest::enlargesAndFoldsOnceForTheProcess() {
    WindowFixture fixture;
    fixture.serve(WindowFixture::items(2));
    fixture.prefer(QStringLiteral("newsShowOnStart"), false);
    const auto controller = fixture.makeController();
    OlvNewsWindow *window = controller->window();
    QVERIFY(window);
    QVERIFY(!controller->displayContentType()->isHidden());

    // Small enough to be enlarged both ways.
    const QSize screen = QGuiApplication::primaryScreen()->size();
    const QSize least(qRound(static_cast<float>(screen.width() / 2.5)),
                      qRound(static_cast<float>(screen.height() / 2.5)));
    window->setMinimumSize(100, 100);
    window->setGeometry(50, 400, least.width() - 60, least.height() - 40);
    const QRect before = window->geometry();
    controller->showWindow();
    QTRY_COMPARE(controller->itemIndicator()->text(), QStringLiteral("1 / 2"));
    // Larger with its lower-left corner kept, then shorter with its top edge kept.
    QTRY_COMPARE(window->frameGeometry().height(), least.height() - 38);
    QCOMPARE(window->frameGeometry().width(), least.width());
    QCOMPARE(window->geometry().left(), before.left());
    QCOMPARE(window->geometry().bottom(), before.bottom() - 38);
    for (const QWidget *control : {static_cast<QWidget *>(controller->displayContentType()),
                                   static_cast<QWidget *>(controller->displayContentTypeLabel()),
                                   static_cast<QWidget *>(controller->displayContentFrom()),
                                   static_cast<QWidget *>(controller->displayContentFromLabel())})
        QVERIFY(control->isHidden());

    // Neither a second opening nor a second controller does it again.
    window->performClose();
    window->resize(370, 250);
    controller->showWindow();
    QTRY_VERIFY(window->isVisible());
    QTest::qWait(400);
    QCOMPARE(window->size(), QSize(370, 250));

    const auto second = fixture.makeController();
    second->window()->setMinimumSize(100, 100);
    second->window()->resize(380, 290);
    second->showWindow();
    QTRY_VERIFY(second->window()->isVisible());
    QTest::qWait(400);
    QCOMPARE(second->window()->size(), QSize(380, 290));
    QVERIFY(second->displayContentType()->isHidden());
    QCOMPARE(second->optionsLabel()->text(), controller->optionsLabel()->text());
}

PELORIN_WIDGET_TEST_MAIN(FirstShowTest)
#include "FirstShowTest.moc"
