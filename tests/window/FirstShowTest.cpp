// The first show of a news window in the process enlarges the window and folds its options. A
// process has only one first show, so this executable has only one test. It is built twice: the
// build with PELORIN_WITH_WEB_ENGINE finds the web renderer beside itself.

#include "TestMain.h"
#include "WindowFixture.h"
#include "platform/OlvLocalization.h"

#include <QApplication>
#include <QScreen>
#include <QTextBrowser>

using namespace pelorinnews;
using namespace pelorinnews::test;

namespace {

#ifdef PELORIN_WITH_WEB_ENGINE
constexpr bool withWebEngine = true;
#else
constexpr bool withWebEngine = false;
#endif

// The margins of the frame that the window manager puts around a window. They are known only once a
// window is shown, so this function shows one.
QMargins frameMargins() {
    QWidget probe;
    probe.resize(200, 100);
    probe.show();
    if (!QTest::qWaitForWindowActive(&probe, testPatience))
        qFatal("the window does not become active: no window manager?");
    const QRect inner = probe.geometry();
    const QRect outer = probe.frameGeometry();
    return {inner.left() - outer.left(), inner.top() - outer.top(), outer.right() - inner.right(),
            outer.bottom() - inner.bottom()};
}

// Records a window's history: its frame when it became active, and every size. Sees events before
// the window's controller does.
class Watcher : public QObject {
public:
    explicit Watcher(QWidget &widget) { widget.installEventFilter(this); }
    QRect frameAtFirst;
    QList<QSize> sizes;

protected:
    bool eventFilter(QObject *watched, QEvent *event) override {
        const auto *window = static_cast<QWidget *>(watched);
        if (event->type() == QEvent::WindowActivate && frameAtFirst.isNull())
            frameAtFirst = window->frameGeometry();
        if (event->type() == QEvent::Resize)
            sizes.append(window->size());
        return false;
    }
};

}  // namespace

class FirstShowTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void enlargesAndFoldsOnceForTheProcess();
};

void FirstShowTest::enlargesAndFoldsOnceForTheProcess() {
    QCOMPARE(QGuiApplication::primaryScreen()->size(), QSize(1440, 900));
    const QMargins frame = frameMargins();
    QVERIFY(frame.top() > 0);
    WindowFixture fixture;
    const auto controller = fixture.unshown(WindowFixture::items(2));
    OlvNewsWindow *window = controller->window();
    QVERIFY(window);
    QVERIFY(!controller->displayContentType()->isHidden());
    const bool isText = controller->webView()->findChild<QTextBrowser *>() != nullptr;
    QCOMPARE(isText, !withWebEngine);

    const auto client = [frame](int width, int height) {
        return QSize(width - frame.left() - frame.right(), height - frame.top() - frame.bottom());
    };
    window->resize(client(400, 300));
    QCOMPARE(window->size(), client(400, 300));
    window->move(50, 400);
    Watcher watcher(*window);
    controller->showWindow();
    QTRY_COMPARE(controller->itemIndicator()->text(), QStringLiteral("1 / 2"));
    // The window is first enlarged to 1440 / 2.5 by 900 / 2.5 and keeps its lower-left corner. Then
    // the folding makes it lower, and it keeps its top edge.
    const QRect before = watcher.frameAtFirst;
    QCOMPARE(before.size(), QSize(400, 300));
    QTRY_COMPARE(window->frameGeometry(),
                 QRect(before.left(), before.bottom() + 1 - 360, 576, 322));
    QVERIFY(watcher.sizes.contains(client(576, 360)));
    for (const QWidget *control : {static_cast<QWidget *>(controller->displayContentType()),
                                   static_cast<QWidget *>(controller->displayContentTypeLabel()),
                                   static_cast<QWidget *>(controller->displayContentFrom()),
                                   static_cast<QWidget *>(controller->displayContentFromLabel())})
        QVERIFY(control->isHidden());
    OlvLocalization texts;
    texts.setBundle(QStringLiteral(PELORIN_APP_DIR "/share/pelorin-news"));
    texts.setTable(QStringLiteral("Localizable"));
    QCOMPARE(controller->optionsLabel()->text(),
             texts.stringForKey(QStringLiteral("SettingsShowOptions")));

    // Wait for the end of the folding: its last steps are too small to change the window's height.
    const auto *area = window->findChild<QWidget *>(QStringLiteral("optionsArea"));
    QVERIFY(area);
    QTRY_VERIFY(area->isHidden());

    // Neither a second opening nor a second controller enlarges the window or folds the options
    // again.
    window->resize(420, 250);
    QTRY_COMPARE(window->size(), QSize(420, 250));
    window->performClose();
    QTRY_VERIFY(!window->isVisible());
    controller->showWindow();
    QVERIFY(QTest::qWaitForWindowActive(window, testPatience));
    QTest::qWait(400);
    QCOMPARE(window->size(), QSize(420, 250));

    const auto second = fixture.makeController();
    second->window()->resize(430, 290);
    second->showWindow();
    QVERIFY(QTest::qWaitForWindowActive(second->window(), testPatience));
    QTest::qWait(400);
    QCOMPARE(second->window()->size(), QSize(430, 290));
    QVERIFY(second->displayContentType()->isHidden());
    QCOMPARE(second->optionsLabel()->text(), controller->optionsLabel()->text());
}

PELORIN_WIDGET_TEST_MAIN(FirstShowTest)
#include "FirstShowTest.moc"
