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
    void aClicksTokenIsInTheEnvironmentWhileTheWindowIsShown_data();
    void aClicksTokenIsInTheEnvironmentWhileTheWindowIsShown();
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
    // The first show enlarges the window to 1440 / 2.5 by 900 / 2.5, frame included, and then folds
    // the options.
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

void WaylandTest::aClicksTokenIsInTheEnvironmentWhileTheWindowIsShown_data() {
    QTest::addColumn<QString>("token");
    QTest::addColumn<QByteArray>("before");
    QTest::addColumn<QByteArray>("during");
    const QByteArray hosts("the host's own");
    QTest::newRow("a token") << QStringLiteral("token-1") << QByteArray() << QByteArray("token-1");
    QTest::newRow("instead of another")
        << QStringLiteral("token-1") << hosts << QByteArray("token-1");
    QTest::newRow("none") << QString() << QByteArray() << QByteArray();
    QTest::newRow("none, another stays") << QString() << hosts << hosts;
}

void WaylandTest::aClicksTokenIsInTheEnvironmentWhileTheWindowIsShown() {
    QFETCH(const QString, token);
    QFETCH(const QByteArray, before);
    QFETCH(const QByteArray, during);
    static constexpr auto variable = "XDG_ACTIVATION_TOKEN";
    class Watcher : public QObject {
    public:
        QList<QByteArray> seen;
        bool eventFilter(QObject *, QEvent *event) override {
            if (event->type() == QEvent::Show)
                seen.append(qgetenv(variable));
            return false;
        }
    } watcher;
    WindowFixture fixture;
    const auto controller = fixture.unshown(WindowFixture::items(2));
    QVERIFY(controller->window());
    controller->window()->installEventFilter(&watcher);
    UserNotification clicked;
    clicked.activationToken = token;
    if (!before.isNull())
        qputenv(variable, before);
    controller->userNotificationCenterDidActivateNotification(clicked);
    const QByteArray after = qgetenv(variable);
    const bool wasSet = qEnvironmentVariableIsSet(variable);
    qunsetenv(variable);
    QCOMPARE(watcher.seen, QList<QByteArray>{during});
    QCOMPARE(after, before);
    QCOMPARE(wasSet, !before.isNull());
    controller->exit();
}

PELORIN_WIDGET_TEST_MAIN(WaylandTest)
#include "WaylandTest.moc"
