// A host that has shortcuts on the same keys as the news window. The test presses real keys, for
// which Qt looks for a matching shortcut before it sends the key to any widget.

#include "TestMain.h"
#include "WindowFixture.h"

#include <QApplication>
#include <QClipboard>
#include <QMimeData>
#include <QProcess>
#include <QShortcut>

using namespace pelorinnews;
using namespace pelorinnews::test;

class HostShortcutsTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void eachWindowHasItsOwnKeys();

private:
    static void press(const char *key) {
        QCOMPARE(QProcess::execute(QStringLiteral("xdotool"),
                                   {QStringLiteral("key"), QLatin1String(key)}),
                 0);
    }
};

void HostShortcutsTest::eachWindowHasItsOwnKeys() {
    WindowFixture fixture;
    const auto controller = fixture.unshown(WindowFixture::items(2));
    QWidget host;
    host.show();
    QStringList taken;
    for (const char *keys : {"Ctrl+W", "Ctrl+C", "Alt+Right", "Escape"}) {
        auto *shortcut = new QShortcut(QKeySequence(QLatin1String(keys)), &host);
        shortcut->setContext(Qt::ApplicationShortcut);
        connect(shortcut, &QShortcut::activated, this,
                [&taken, keys] { taken.append(QLatin1String(keys)); });
    }
    QGuiApplication::clipboard()->clear();
    controller->showWindow();
    QVERIFY(QTest::qWaitForWindowActive(controller->window(), testPatience));
    QTRY_COMPARE(controller->webView()->outerHTML(), QStringLiteral("<p>Body 1</p>"));
    press("ctrl+c");
    QTRY_VERIFY(QGuiApplication::clipboard()->mimeData()->hasFormat(QStringLiteral("text/rtf")));
    press("alt+Right");
    QTRY_COMPARE(controller->itemIndicator()->text(), QStringLiteral("2 / 2"));
    press("ctrl+w");
    QTRY_VERIFY(!controller->window()->isVisible());
    controller->showWindow();
    QVERIFY(QTest::qWaitForWindowActive(controller->window(), testPatience));
    press("Escape");
    QTRY_VERIFY(!controller->window()->isVisible());
    QCOMPARE(taken, QStringList());

    host.activateWindow();
    QVERIFY(QTest::qWaitForWindowActive(&host, testPatience));
    // A key press may get lost while the window manager moves the focus: then it is repeated.
    const auto isTaken = [&taken](const char *keys) {
        press(keys);
        return QTest::qWaitFor(
            [&] { return taken.contains(QLatin1String(keys), Qt::CaseInsensitive); },
            testPatience / 10);
    };
    for (const char *keys : {"ctrl+c", "ctrl+w", "alt+Right", "Escape"})
        QVERIFY2(isTaken(keys) || isTaken(keys), keys);
    taken.removeDuplicates();
    QCOMPARE(taken, QStringList({QStringLiteral("Ctrl+C"), QStringLiteral("Ctrl+W"),
                                 QStringLiteral("Alt+Right"), QStringLiteral("Escape")}));
    QVERIFY(host.isVisible());
}

PELORIN_WIDGET_TEST_MAIN(HostShortcutsTest)
#include "HostShortcutsTest.moc"
