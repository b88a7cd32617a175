// The first show enlarges the window to at least 1 / 2.5 of the screen in each direction. Tested
// here: a window that is large enough in both directions, in width only, or in neither on screens
// of odd sizes. A process has only one first show, so this program runs itself in a child process
// for each case.

#include "TestMain.h"
#include "WindowFixture.h"

#include <QApplication>
#include <QFile>
#include <QProcess>
#include <QScreen>

using namespace pelorinnews;
using namespace pelorinnews::test;

namespace {

constexpr auto casesVariable = "PELORIN_FIRST_SHOW";

}  // namespace

class FirstShowLargeTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void isLargeEnoughAfterwards_data();
    void isLargeEnoughAfterwards();
};

void FirstShowLargeTest::isLargeEnoughAfterwards_data() {
    QTest::addColumn<QSize>("screen");
    QTest::addColumn<QSize>("before");
    QTest::addColumn<QSize>("enough");
    const QSize square(800, 800);
    QTest::newRow("both ways") << square << QSize(700, 700) << QSize(320, 320);
    QTest::newRow("in width only") << square << QSize(700, 290) << QSize(320, 320);
    // The exact sizes, 546.4 by 307.2 and 1200.4 by 540.4, are rounded up: rounded down, the window
    // would be too small.
    QTest::newRow("neither way on 1366 by 768")
        << QSize(1366, 768) << QSize(400, 270) << QSize(547, 308);
    QTest::newRow("neither way on 3001 by 1351")
        << QSize(3001, 1351) << QSize(400, 270) << QSize(1201, 541);
}

void FirstShowLargeTest::isLargeEnoughAfterwards() {
    QFETCH(const QSize, screen);
    if (!qEnvironmentVariableIsSet(casesVariable)) {
        QProcess alone;
        QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
        environment.insert(QLatin1String(casesVariable), QStringLiteral("1"));
        const QTemporaryDir folder;
        QFile screens(folder.filePath(QStringLiteral("screens.json")));
        QVERIFY(screens.open(QFile::WriteOnly));
        screens.write(QStringLiteral("{\"screens\": [{\"name\": \"screen\", \"x\": 0, \"y\": 0, "
                                     "\"width\": %1, \"height\": %2}]}")
                          .arg(screen.width())
                          .arg(screen.height())
                          .toUtf8());
        screens.close();
        environment.insert(QStringLiteral("QT_QPA_PLATFORM"),
                           QStringLiteral("offscreen:configfile=") + screens.fileName());
        alone.setProcessEnvironment(environment);
        alone.setProcessChannelMode(QProcess::MergedChannels);
        alone.start(
            QCoreApplication::applicationFilePath(),
            {QStringLiteral("isLargeEnoughAfterwards:") + QLatin1String(QTest::currentDataTag())});
        QVERIFY(alone.waitForFinished(2 * testPatience));
        QVERIFY2(alone.exitStatus() == QProcess::NormalExit && alone.exitCode() == 0,
                 alone.readAll().constData());
        return;
    }
    QFETCH(const QSize, before);
    QFETCH(const QSize, enough);
    QCOMPARE(QGuiApplication::primaryScreen()->size(), screen);
    WindowFixture fixture;
    const auto controller = fixture.unshown(WindowFixture::items(2));
    OlvNewsWindow *window = controller->window();
    QVERIFY(window);
    const int top = screen.height() - before.height() - 40;
    window->setGeometry(QRect(QPoint(20, top), before));
    QCOMPARE(window->size(), before);
    controller->showWindow();
    QTRY_COMPARE(controller->itemIndicator()->text(), QStringLiteral("1 / 2"));
    const QSize frame = window->frameGeometry().size() - window->size();
    const QSize grown = (before + frame).expandedTo(enough);
    QTRY_COMPARE(window->frameGeometry().size(), grown - QSize(0, 38));
    QCOMPARE(window->geometry().left(), 20);
    QCOMPARE(window->geometry().bottom(), top + before.height() - 1 - 38);
}

PELORIN_WIDGET_TEST_MAIN(FirstShowLargeTest)
#include "FirstShowLargeTest.moc"
