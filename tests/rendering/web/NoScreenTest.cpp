// A desktop without a monitor: its only screen has no size.

#include "TestMain.h"
#include "rendering/PageWidget.h"
#include "rendering/WebNewsRenderer.h"

#include <QFile>
#include <QScreen>
#include <QTemporaryDir>
#include <QTextBrowser>

using namespace pelorinnews;

namespace {

// Read when the application object is created.
const bool hasPlatform =
    qputenv("QT_QPA_PLATFORM", "offscreen:configfile=" PELORIN_TEST_DATA "/no-screen.json");

}  // namespace

class NoScreenTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void refusesAList();
};

void NoScreenTest::refusesAList() {
    QVERIFY(hasPlatform);
    QVERIFY(QGuiApplication::primaryScreen()->geometry().isEmpty());
    const QTemporaryDir folder;
    const QString program = folder.filePath(QStringLiteral("opens a list"));
    QVERIFY(QFile::link(QStringLiteral(PELORIN_HOSTILE_PROCESS), program));
    QWidget window;
    window.resize(300, 200);
    // At the first failure, the text renderer takes over.
    WebNewsRenderer renderer(&window, program, {.failures = 1, .ready = std::chrono::minutes(1)});
    renderer.widget()->setGeometry(window.rect());
    renderer.loadHtmlString(QStringLiteral("The page"), PageKind::Item);
    window.show();
    auto *page = window.findChild<PageWidget *>();
    QTest::mouseClick(page, Qt::LeftButton, {}, QPoint(50, 50));
    QTRY_COMPARE(page->cursor().shape(), Qt::WaitCursor);
    QVERIFY(QApplication::activePopupWidget() == nullptr);
    QVERIFY(window.findChild<QTextBrowser *>() == nullptr);
}

PELORIN_WIDGET_TEST_MAIN(NoScreenTest)
#include "NoScreenTest.moc"
